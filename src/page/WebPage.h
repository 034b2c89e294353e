// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>
#include <QWebFullScreenRequest>
#include <QWebPage>

#include "page/LoadFailure.h"

namespace LARKA {

class PageHost;
class PluginFactory;

/// The page of one browser. It passes QtWebKit's questions and notices to the browser, which asks
/// the host's listeners. No dialog is ever shown.
class WebPage : public QWebPage {
  Q_OBJECT

 public:
  explicit WebPage(PageHost* browser);

  /// Sets the user agent of every request; a null string stands for QtWebKit's own.
  void setUserAgent(const QString& userAgent) { m_userAgent = userAgent; }
  QString userAgent() const { return m_userAgent; }

  /// The plug-ins of this page.
  PluginFactory* plugins() const { return m_plugins; }

  /// Ends the full screen that script asked for. Returns false if there is none.
  bool leaveFullScreen();

  /// Returns whether a load is just beginning: a page that confirms something now asks whether it
  /// may be left.
  bool isAboutToNavigate() const { return m_isAboutToNavigate; }

  /// Returns whether the last navigation was that of the main frame. Right when a load begins, this
  /// distinguishes a load of the page from that of a child frame.
  bool mainFrameNavigates() const { return m_mainFrameNavigates; }

  /// Returns why the last load of the page failed.
  const LoadFailure& failure() const { return m_failure; }

  /// Called when the page begins to load.
  void setFailure(const LoadFailure& failure) { m_failure = failure; }

  bool extension(Extension extension, const ExtensionOption* option,
                 ExtensionReturn* output) override;
  bool supportsExtension(Extension extension) const override;

 public slots:
  /// Ends a script that runs too long, when QtWebKit asks. By itself it would ask a person, in a
  /// dialog that nobody can see.
  bool shouldInterruptJavaScript() override;

 protected:
  QWebPage* createWindow(WebWindowType type) override;
  bool acceptNavigationRequest(QWebFrame* frame, const QNetworkRequest& request,
                               NavigationType type) override;
  QString chooseFile(QWebFrame* frame, const QString& suggestedFile) override;
  void javaScriptAlert(QWebFrame* frame, const QString& msg) override;
  bool javaScriptConfirm(QWebFrame* frame, const QString& msg) override;
  bool javaScriptPrompt(QWebFrame* frame, const QString& msg, const QString& defaultValue,
                        QString* result) override;
  void javaScriptConsoleMessage(const QString& message, int lineNumber,
                                const QString& sourceID) override;
  QString userAgentForUrl(const QUrl& url) const override;

 private:
  void answerFullScreenRequest(QWebFullScreenRequest request);
  void refuseFeature(QWebFrame* frame, Feature feature);

  PageHost* m_browser;
  PluginFactory* m_plugins;
  bool m_mainFrameNavigates = true;
  bool m_isAboutToNavigate = false;
  bool m_showsFullScreenElement = false;
  LoadFailure m_failure;
  QString m_userAgent;
  // The first to go: while QWebPage is destroyed, script of the page runs once more, and a listener
  // that it calls may pump. Nothing must reach this object then.
  QObject m_whole;
};

}  // namespace LARKA
