// SPDX-License-Identifier: MIT
#include "page/WebPage.h"

#include <QPointer>
#include <QWebFrame>

#include "page/PageHost.h"
#include "page/WindowProbe.h"
#include "plugins/PluginFactory.h"

namespace LARKA {

namespace {

const char kErrorPage[] =
    "<html><head><title>Failed loading page</title></head><body></body></html>";

}  // namespace

WebPage::WebPage(PageHost* browser) : m_browser(browser), m_plugins(new PluginFactory(this)) {
  setPluginFactory(m_plugins);
  connect(this, &QWebPage::featurePermissionRequested, &m_whole,
          [this](QWebFrame* frame, Feature feature) { refuseFeature(frame, feature); });
  connect(this, &QWebPage::loadStarted, &m_whole, [this] { m_isAboutToNavigate = false; });
  connect(this, &QWebPage::fullScreenRequested, &m_whole,
          [this](const QWebFullScreenRequest& request) { answerFullScreenRequest(request); });
}

// The element fills the view, and with it the page image.
void WebPage::answerFullScreenRequest(QWebFullScreenRequest request) {
  m_showsFullScreenElement = request.toggleOn();
  request.accept();
}

// Without notice: the page with the element may have been left.
bool WebPage::leaveFullScreen() {
  if (!m_showsFullScreenElement) return false;
  const QString isShown = QStringLiteral("!!document.webkitFullscreenElement");
  m_showsFullScreenElement = mainFrame()->evaluateJavaScript(isShown).toBool();
  if (!m_showsFullScreenElement) return false;
  mainFrame()->evaluateJavaScript(QStringLiteral(
      "delete document.webkitCancelFullScreen; document.webkitCancelFullScreen(); void 0"));
  return true;
}

// Nobody can be asked about geolocation or notifications.
void WebPage::refuseFeature(QWebFrame* frame, Feature feature) {
  setFeaturePermission(frame, feature, PermissionDeniedByUser);
}

bool WebPage::supportsExtension(Extension extension) const {
  return extension == ErrorPageExtension;
}

// Without a URL the error page could not be reloaded. A child frame gets no error page: QtWebKit
// would add it to the history, and Back would never get past it.
bool WebPage::extension(Extension, const ExtensionOption* option, ExtensionReturn* output) {
  const auto* failed = static_cast<const ErrorPageExtensionOption*>(option);
  if (failed && failed->frame != mainFrame()) return false;
  if (failed) m_failure = failureOf(*failed);
  if (!output) return true;
  auto* errorPage = static_cast<ErrorPageExtensionReturn*>(output);
  errorPage->content = kErrorPage;
  if (failed) errorPage->baseUrl = failed->url;
  return true;
}

bool WebPage::shouldInterruptJavaScript() { return true; }

// QtWebKit doesn't pass the URL.
QWebPage* WebPage::createWindow(WebWindowType type) {
  const bool modal = type == WebModalDialog;
  return new WindowProbe([this, whole = QPointer<QObject>(&m_whole), modal](const QUrl& url) {
    if (whole) m_browser->createWindow(modal, url);
  });
}

bool WebPage::acceptNavigationRequest(QWebFrame* frame, const QNetworkRequest& request,
                                      NavigationType type) {
  m_mainFrameNavigates = frame == mainFrame();
  m_isAboutToNavigate = true;
  QMetaObject::invokeMethod(
      &m_whole, [this] { m_isAboutToNavigate = false; }, Qt::QueuedConnection);
  m_browser->acceptNavigationRequest(type);
  return QWebPage::acceptNavigationRequest(frame, request, type);
}

QString WebPage::chooseFile(QWebFrame* frame, const QString& suggestedFile) {
  return m_browser->chooseFile(frame, suggestedFile);
}

void WebPage::javaScriptAlert(QWebFrame* frame, const QString& msg) {
  m_browser->javaScriptAlert(frame, msg);
}

bool WebPage::javaScriptConfirm(QWebFrame* frame, const QString& msg) {
  return m_browser->javaScriptConfirm(frame, msg);
}

bool WebPage::javaScriptPrompt(QWebFrame* frame, const QString& msg, const QString& defaultValue,
                               QString* result) {
  return m_browser->javaScriptPrompt(frame, msg, defaultValue, result);
}

void WebPage::javaScriptConsoleMessage(const QString& message, int lineNumber,
                                       const QString& sourceID) {
  m_browser->javaScriptConsoleMessage(message, lineNumber, sourceID);
}

QString WebPage::userAgentForUrl(const QUrl& url) const {
  return m_userAgent.isNull() ? QWebPage::userAgentForUrl(url) : m_userAgent;
}

}  // namespace LARKA
