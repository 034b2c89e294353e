// SPDX-License-Identifier: MIT
//
// QtWebKit alone, used as a careful host would: a page without a scene or a widget. When it asks
// for a repaint or has loaded, the next turn of the event loop renders what it asked for into an
// image. Settings and hints are those of the library.
#include <QApplication>
#include <QFocusEvent>
#include <QImage>
#include <QKeyEvent>
#include <QPainter>
#include <QRegion>
#include <QTimer>
#include <QUrl>
#include <QWebFrame>
#include <QWebPage>

#include "side.h"

namespace {

class BarePage : public Page {
 public:
  BarePage() : m_image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied) {
    useTheLibrarysSettings();
    m_repaint.setSingleShot(true);
    m_repaint.setInterval(0);
    QObject::connect(&m_page, &QWebPage::repaintRequested, [this](const QRect& r) { add(r); });
    QObject::connect(&m_page, &QWebPage::scrollRequested, [this] { add(m_image.rect()); });
    QObject::connect(&m_page, &QWebPage::loadFinished, [this] {
      add(m_image.rect());  // makes QtWebKit lay the page out
      loadEnded();
    });
    QObject::connect(&m_repaint, &QTimer::timeout, [this] { repaint(); });
  }
  void load(const std::string& url) override {
    m_page.mainFrame()->load(QUrl::fromEncoded(url.c_str()));
  }
  // Without the null QtWebKit turns the script's value into a QVariant: an element with all that
  // can be reached from it takes a second.
  void script(const std::string& code) override {
    m_page.mainFrame()->evaluateJavaScript(QString::fromStdString(code + ";null"));
  }
  void type(char letter) override {
    for (const auto kind : {QEvent::KeyPress, QEvent::KeyRelease}) {
      QKeyEvent key(kind, letter - 'a' + Qt::Key_A, Qt::NoModifier, QString(QLatin1Char(letter)));
      m_page.event(&key);
    }
  }
  const unsigned char* image() override { return frames > 0 ? m_image.constBits() : nullptr; }

 private:
  void useTheLibrarysSettings() {
    m_page.setViewportSize(m_image.size());
    m_page.setPalette(QApplication::palette("QWebView"));
    QFocusEvent focusIn(QEvent::FocusIn, Qt::OtherFocusReason);
    m_page.event(&focusIn);
    QWebSettings* settings = m_page.settings();
    settings->setAttribute(QWebSettings::PluginsEnabled, true);
    settings->setAttribute(QWebSettings::LocalStorageEnabled, true);
    settings->setAttribute(QWebSettings::TiledBackingStoreEnabled, false);
    settings->setAttribute(QWebSettings::AcceleratedCompositingEnabled, false);
  }

  void add(const QRect& rect) {
    m_region += rect & m_image.rect();
    if (!m_region.isEmpty() && !m_repaint.isActive()) m_repaint.start();
  }

  void repaint() {
    const QRegion region = std::exchange(m_region, QRegion());
    QPainter painter(&m_image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing |
                           QPainter::SmoothPixmapTransform);
    m_page.mainFrame()->render(&painter, region);
    painter.end();
    framePainted();
  }

  QWebPage m_page;
  QImage m_image;
  QRegion m_region;
  QTimer m_repaint;
};

class BareSide : public Side {
 public:
  BareSide(int& argc, char** argv) : m_application(argc, argv) {}
  std::unique_ptr<Page> open() override { return std::make_unique<BarePage>(); }
  void pump() override { QCoreApplication::processEvents(); }
  void run() override { QCoreApplication::exec(); }
  void quit() override { QCoreApplication::quit(); }

 private:
  QApplication m_application;
};

}  // namespace

std::unique_ptr<Side> makeSide(int& argc, char** argv) {
  return std::make_unique<BareSide>(argc, argv);
}
