#pragma once

#include <QString>
#include <QWebFullScreenRequest>
#include <QWebPage>

namespace LARKA {

class PageHost;
class PluginFactory;

/// The page of one browser. Turns the page's questions and notices into calls of the browser, which
/// asks its listeners; nothing here ever waits for a person at a dialog.
class WebPage : public QWebPage {
  Q_OBJECT

 public:
  explicit WebPage(PageHost* browser);

  /// The user agent of every request; a null string stands for QtWebKit's own.
  void setUserAgent(const QString& userAgent) { m_userAgent = userAgent; }
  QString userAgent() const { return m_userAgent; }

  /// The plug-ins of this page.
  PluginFactory* plugins() const { return m_plugins; }

  /// Ends the full screen of an element that script asked for. False when there is none.
  bool leaveFullScreen();

  /// Whether a load is just beginning: a page that confirms something now asks whether to be left.
  bool isAboutToNavigate() const { return m_isAboutToNavigate; }

  /// Whether it was the main frame that was last asked to go elsewhere. Right when the page begins
  /// to load, this tells a load of the page from that of a child frame.
  bool mainFrameNavigates() const { return m_mainFrameNavigates; }

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
  QString m_userAgent;
};

}  // namespace LARKA
