// WindowProbe.h: learns where a new window would go.
#pragma once

#include <QUrl>
#include <QWebPage>
#include <functional>

namespace LARKA {

/// The page of a window that a page asks for, until its address is known. The engine tells the
/// address to the window's page as its first navigation, before the opener goes on. The page then
/// deletes itself, and to the opener it is as if there had never been one.
///
/// An address that is script itself ("javascript:"), or that the engine keeps the opener from, is
/// neither told nor loaded. The page then lives until the event loop turns, and the script has a
/// window in which nothing works.
class WindowProbe : public QWebPage {
  Q_OBJECT

 public:
  /// Calls `found` once with the address, which is empty where there is none, and is gone.
  explicit WindowProbe(std::function<void(const QUrl&)> found);

  bool supportsExtension(Extension) const override { return false; }

 protected:
  bool acceptNavigationRequest(QWebFrame* frame, const QNetworkRequest& request,
                               NavigationType type) override;
  QWebPage* createWindow(WebWindowType) override { return nullptr; }
  QString chooseFile(QWebFrame*, const QString&) override { return QString(); }
  void javaScriptAlert(QWebFrame*, const QString&) override {}
  bool javaScriptConfirm(QWebFrame*, const QString&) override { return false; }
  bool javaScriptPrompt(QWebFrame*, const QString&, const QString&, QString*) override {
    return false;
  }

 private:
  void finish(const QUrl& url);

  std::function<void(const QUrl&)> m_found;
};

}  // namespace LARKA
