// SPDX-License-Identifier: MIT
//
// Compares three pictures of a page of the real world: the one that larka-shot made, the library's
// at rest, and one that QtWebKit renders in one go. Prints a verdict, with the bounds of the
// difference:
//
//   failed     there is no picture to compare
//   empty      QtWebKit renders nothing, and the other two are equal
//   blank      QtWebKit renders something, larka-shot or the library nothing
//   moving     the page never comes to rest
//   stale      the library differs from QtWebKit; one of the following comes after it
//   same       larka-shot and the library are equal
//   different  larka-shot differs from the library
//   random     so it does, but the page looks different when it is loaded again
//
//   larka-real-pages URL PICTURE

#include <fcntl.h>
#include <unistd.h>

#include <QImage>
#include <QPainter>
#include <QWebFrame>
#include <QWebPage>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>

#include "browser/LarkaBrowserQt.h"
#include "larka/larka.h"
#include "paint/larkawebview.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Longer than larka-shot waits, so that its picture is compared with the final one.
const milliseconds kLoadsWithin(10000);
const milliseconds kRestsAfter(1800);
const milliseconds kQuietFor(500);
const milliseconds kMovesFor(6000);
// Different intervals, so that they also catch a blinking caret.
const milliseconds kLookAgainAfter[] = {milliseconds(500), milliseconds(300)};
const int kMoreLoads = 3;

bool isBlank(const QImage& image) {
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      if (image.pixel(x, y) != image.pixel(0, 0)) return false;
  return true;
}

/// Returns the bounds of the pixels in which two images differ.
QRect difference(const QImage& a, const QImage& b) {
  if (a.size() != b.size()) return a.rect() | b.rect();
  QRect bounds;
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width(); ++x)
      if (a.pixel(x, y) != b.pixel(x, y)) bounds |= QRect(x, y, 1, 1);
  return bounds;
}

/// A page that the library shows and that has come to rest.
class Page : private LARKA::CallbacksAdapter {
 public:
  /// Loads the page, waits until it rests, and checks later whether it still does.
  Page(LARKA::BrowserManager* manager, const std::string& url)
      : m_manager(manager), m_browser(manager->CreateBrowser()) {
    m_browser->AddListener(this);
    m_browser->Initialize(1280, 720, nullptr, nullptr, false, nullptr);
    m_browser->Navigate(url.c_str());
    pumpUntil([this] { return m_loaded; }, kLoadsWithin);
    const Clock::time_point restsFrom = Clock::now() + kRestsAfter;
    const auto rests = [&] {
      return view()->hostImage() && Clock::now() > std::max(restsFrom, m_painted + kQuietFor);
    };
    m_moves = !pumpUntil(rests, kMovesFor);
    if (!view()->hostImage()) return;
    m_picture = view()->hostImage()->copy();
    m_fresh = render();
    for (const milliseconds later : kLookAgainAfter) {
      pumpUntil([] { return false; }, later);
      m_moves = m_moves || render() != m_fresh;
    }
  }
  ~Page() override {
    m_browser->RemoveListener(this);
    m_manager->DestroyBrowser(m_browser, true);
  }
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  bool failed() const { return m_fresh.isNull(); }
  bool moves() const { return m_moves; }
  /// Returns the library's image.
  const QImage& picture() const { return m_picture; }
  /// Returns what QtWebKit rendered at the same moment.
  const QImage& fresh() const { return m_fresh; }

 private:
  void OnLoadFinished(bool ok) override { m_loaded = m_loaded || ok; }
  void OnDirty(LARKA::ILarkaBrowser*) override { m_painted = Clock::now(); }

  LARKA::LarkaWebView* view() const {
    return static_cast<LARKA::LarkaBrowser*>(m_browser)->webView();
  }

  template <typename Condition>
  bool pumpUntil(Condition done, milliseconds limit) {
    const Clock::time_point end = Clock::now() + limit;
    for (; !done(); usleep(1000)) {
      if (Clock::now() > end) return false;
      m_manager->PumpEvents();
    }
    return true;
  }

  QImage render() const {
    QImage image(view()->hostImage()->size(), view()->hostImage()->format());
    image.fill(0);
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing |
                           QPainter::SmoothPixmapTransform);
    view()->page()->mainFrame()->render(&painter, image.rect());
    return image;
  }

  LARKA::BrowserManager* m_manager;
  LARKA::ILarkaBrowser* m_browser;
  bool m_loaded = false, m_moves = false;
  Clock::time_point m_painted;
  QImage m_picture, m_fresh;
};

void say(const char* verdict, const std::string& url, const QRect& bounds = QRect()) {
  printf("%s %s", verdict, url.c_str());
  if (!bounds.isNull())
    printf(" %dx%d at %d,%d", bounds.width(), bounds.height(), bounds.x(), bounds.y());
  printf("\n");
}

/// Returns whether the page looks different when it is loaded again.
bool isRandom(LARKA::BrowserManager* manager, const std::string& url, const Page& page) {
  for (int i = 0; i < kMoreLoads; ++i)
    if (Page(manager, url).fresh() != page.fresh()) return true;
  return false;
}

void compare(LARKA::BrowserManager* manager, const std::string& url, const QImage& shot) {
  const Page page(manager, url);
  if (page.failed() || shot.isNull()) return say("failed", url);
  if (isBlank(page.fresh()) && shot == page.picture()) return say("empty", url);
  if (!isBlank(page.fresh()) && (isBlank(shot) || isBlank(page.picture())))
    return say("blank", url);
  if (page.moves()) return say("moving", url);
  if (page.picture() != page.fresh()) say("stale", url, difference(page.picture(), page.fresh()));
  if (shot == page.picture()) return say("same", url);
  say(isRandom(manager, url, page) ? "random" : "different", url, difference(shot, page.picture()));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    fputs("usage: larka-real-pages URL PICTURE\n", stderr);
    return 2;
  }
  dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);  // the library's diagnostics
  char platform[] = "-platform", offscreen[] = "offscreen";
  char* arguments[] = {argv[0], platform, offscreen, nullptr};
  LARKA::BrowserManager manager;
  manager.Initialize(3, arguments);
  const QImage shot(QString::fromLocal8Bit(argv[2]));
  compare(&manager, argv[1], shot.convertToFormat(QImage::Format_ARGB32_Premultiplied));
  manager.Shutdown(true);
}
