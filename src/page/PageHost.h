// SPDX-License-Identifier: MIT
#pragma once

#include <QWebPage>

class QUrl;

namespace LARKA {

/// What a WebPage asks its browser. Implemented by the browser, which asks the host's listeners.
class PageHost {
 public:
  virtual void acceptNavigationRequest(QWebPage::NavigationType type) = 0;
  virtual void javaScriptAlert(QWebFrame* frame, const QString& message) = 0;

  /// Returns whether the host agrees.
  virtual bool javaScriptConfirm(QWebFrame* frame, const QString& message) = 0;

  /// Returns whether the host has answered; `result` is the answer then.
  virtual bool javaScriptPrompt(QWebFrame* frame, const QString& message,
                                const QString& defaultValue, QString* result) = 0;
  virtual void javaScriptConsoleMessage(const QString& message, int lineNumber,
                                        const QString& sourceId) = 0;

  /// Returns the path of the file, or a null string if the host has chosen none.
  virtual QString chooseFile(QWebFrame* frame, const QString& suggestedFile) = 0;

  /// Called when script opens a window. Returns null: the page never gets one.
  virtual QWebPage* createWindow(bool modal, const QUrl& url) = 0;

 protected:
  ~PageHost() = default;
};

}  // namespace LARKA
