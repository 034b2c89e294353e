// SPDX-License-Identifier: MIT
#pragma once

#include <QUrl>
#include <QWebPage>
#include <functional>

namespace LARKA {

/// Finds out the URL of a window that page script opens. QtWebKit gives the new window a page and
/// makes it navigate to the URL before the opener goes on. This page then deletes itself, and to
/// the opener the window never existed.
///
/// A `javascript:` URL, or one that QtWebKit blocks, causes no navigation. The page then lives
/// until the event loop turns, and script has a window in which nothing works.
class WindowProbe : public QWebPage {
  Q_OBJECT

 public:
  /// Calls `found` once with the URL, which is empty if there is none, after deleting itself.
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
