// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QRegion>
#include <QSharedPointer>
#include <QString>
#include <QTimer>
#include <QUrl>
#include <QWebElement>
#include <QWebPage>
#include <QWebSettings>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "browser/Listeners.h"
#include "browser/LoadWatch.h"
#include "browser/Navigation.h"
#include "host/Destruction.h"
#include "input/PageInput.h"
#include "larka/ILarkaBrowser.h"
#include "larka/extras.h"
#include "page/LoadFailure.h"
#include "page/PageHost.h"
#include "plugins/PluginList.h"

class LarkaSystemInfoJavaScriptObject;
class QImage;
class QNetworkAccessManager;
class QNetworkCookie;
class QNetworkCookieJar;
class QNetworkDiskCache;
class QNetworkReply;
class QNetworkRequest;
class QPaintDevice;
class QPixmap;
class QWebHistoryItem;

namespace LARKA {

class ILarkaCallbacks;
class LarkaWebView;
class MediaElements;
class NetworkAccessManager;
class PageMessages;
class PageColours;
class PageLists;
class PublishedLarkaObject;
class TextInput;
class WebPage;

/// The one implementation of ILarkaBrowser: owns a view with its page, and turns QtWebKit's signals
/// and the page's questions into calls of the host's listeners. Made and destroyed by the browser
/// manager.
class LarkaBrowser : public QObject, public ILarkaBrowser, public PageHost {
  Q_OBJECT

 public:
  /// Takes `manager` for its page's requests. The caller keeps it alive as long as the page.
  LarkaBrowser(QNetworkAccessManager* manager, QObject* parent);
  ~LarkaBrowser() override;

  /// The browser's item in the scene; null once the browser has been shut down.
  LarkaWebView* webView() const { return m_webView; }

  /// The listeners of larka/extras.h.
  Listeners<IExtraCallbacks>& extraListeners() { return m_extraListeners; }

  /// Writes into the page. There until the browser is shut down.
  TextInput* textInput() const { return m_textInput; }
  /// The open list of its page, and its question for a colour; null once it has been shut down.
  PageLists* lists() const;
  PageColours* colours() const;

  /// Whether its page is on the stack.
  const StackUse& pageUse() const { return m_pageUse; }

  /// Calls no listener any more.
  void abandon();

  /// Returns why the last load of the page failed.
  LoadFailure loadFailure() const;

  /// How the load ended whose OnLoadFinished was called last.
  const LoadFailure& lastFailure() const { return m_lastFailure; }

  /// Stops loads that take longer. 0 or less is no limit.
  void setLoadTimeLimit(int milliseconds) { m_loadTimeLimit = milliseconds; }

  /// Returns whether the page, or anything in it, waits for an answer from the network or a file.
  bool hasRunningRequests() const;

  /// Replaces now what is stale in the page image, which otherwise happens when the page has been
  /// at rest for a while. Returns false while a page is on the stack.
  bool refreshImage();

  /// EvaluateScript() for a browser that has a page.
  ScriptResult evaluateScript(const QString& script, const QString& frameName);

  /// MoveFocus() for a browser that has a page.
  bool moveFocus(Directions direction);

  /// PressFocused() and LeaveFullScreen() for a browser that has a page.
  bool pressFocused();
  bool leaveFullScreen();

  /// EnableMessages() for a browser that has a page.
  void enableMessages(bool enable);

  /// PostMessageToPage() for a browser that has a page.
  bool postMessage(const QString& json, const QString& frameName);

  /// SetCertificateChecks() for a browser that has a page.
  void setCertificateChecks(bool check);

  /// AcceptCertificate() for a browser that has a page.
  bool acceptCertificate();

  /// SetDocumentScript() for a browser that has a page.
  void setDocumentScript(const QString& script);

  /// SetMediaHandedOver() for a browser that has a page.
  void setMediaHandedOver(bool handedOver, const QStringList& types);

  /// SetStyleSheet() for a browser that has a page.
  void setStyleSheet(const QByteArray& rules);

  void Initialize(int width, int height, const char* cookiePath, const char* localStoragePath,
                  bool createScriptObject, SystemInfoData* systemInfo) override;
  void Shutdown() override;
  void AddListener(ILarkaCallbacks* listener) override;
  void RemoveListener(ILarkaCallbacks* listener) override;
  void SetProxy(const char* host, int port, ProxyType type, const char* user,
                const char* password) override;
  void SetGlobalSurface(char* pixels) override;
  void SetUserAgent(const char* userAgent) override;
  void Resize(int width, int height) override;
  void SetCacheParameters(const char* directory, int sizeInMegabytes) override;
  void ClearCache() override;
  int InjectCookie(const char* domain, const char* name, const char* value,
                   int lifetimeSeconds) override;
  bool ClearCookie(const char* name) override;
  void ClearAllCookies() override;
  std::string ReadCookie(const char* name) override;
  std::vector<std::pair<std::string, std::string>> ReadCookies() override;
  void Navigate(const char* url) override;
  void MouseMove(int x, int y, int reserved) override;
  void MouseDown(int x, int y, int reserved) override;
  void MouseUp(int x, int y, int reserved) override;
  void MouseClick(int x, int y, int reserved) override;
  void MouseWheel(Directions direction, int amount, int reserved) override;
  void MouseWheel(int dx, int dy, int reserved) override;
  void KeyDown(int key, int modifiers) override;
  void KeyUp(int key, int modifiers) override;
  void Scroll(Directions direction, int amount) override;
  void Scroll(int dx, int dy) override;
  void Reload() override;
  bool FocusNext() override;
  bool FocusPrev() override;
  int GetHistoryLength() override;
  std::string GetPrevLocation() override;
  std::string GetNextLocation() override;
  void Back() override;
  void Forward() override;
  void Stop() override;
  void Focus() override;
  void Invalidate() override;
  std::string ExecuteJavascript(const char* script) override;
  std::string GetCurrentLocation() override;
  std::string GetTitle() override;
  void SetZoomLevel(double percent) override;
  double GetZoomLevel() override;
  void ScrollToPoint(int x, int y) override;
  void GetViewPort(int* x, int* y, int* width, int* height) override;
  std::string GetMetaTagValue(const char* name) override;
  int GetBrowserStride() override;
  unsigned char* GetBrowserImage() override;
  void SaveBrowserImage(const char* path, int width, int height) override;
  void* GetBrowserNativeHandle() override;
  std::vector<LarkaPluginWidget> GetPluginWidgets() override;
  LarkaHTMLControl HitTest(int x, int y) override;
  std::vector<LarkaHTMLControl*> GetControls(ControlType type) override;
  ILarkaBrowser* LaunchInspector(bool show) override;
  void SetConfig(const char* key, const char* value) override;
  void SetConfig(const char* key, int value) override;
  void SetConfig(const char* key, bool value) override;
  int GetWidth() override;
  int GetHeight() override;
  void GetFrameContentSize(int& width, int& height) override;

  void acceptNavigationRequest(QWebPage::NavigationType type) override;
  void javaScriptAlert(QWebFrame* frame, const QString& msg) override;
  bool javaScriptConfirm(QWebFrame* frame, const QString& msg) override;
  bool javaScriptPrompt(QWebFrame* frame, const QString& msg, const QString& defaultValue,
                        QString* result) override;
  void javaScriptConsoleMessage(const QString& message, int lineNumber,
                                const QString& sourceID) override;
  QString chooseFile(QWebFrame* frame, const QString& suggestedFile) override;
  QWebPage* createWindow(bool modal, const QUrl& url) override;

  void SetAttribute(QWebSettings::WebAttribute attribute, bool on);
  void showFullscreen(const QWebElement& element, bool render);
  void repaintRequested(const QRect& rect);

  /// Frames a second, smoothed over the calls of this function.
  double calculateFps();

  // The slots stand in the order of the contract. Those with an empty body, and the four functions
  // before them, are kept for the contract alone: nothing calls them.
  void render(QPaintDevice*, const QRect&) {}
  void invalidate() {}
  void scroll(QImage&, int, int, const QRect&, QRegion*) {}
  void scroll(QPixmap&, int, int, const QRect&, QRegion*) {}

 public slots:
  void executeInLarka(const QString& script);
  QString executeMediaAction(const QString& script);
  void tester();
  void notifyOnDirty(const QRect& rect);
  void invalidateRect(const QRect&) {}
  void addRect(const QRect& rect);

 protected slots:
  void contentsChanged() {}
  void databaseQuotaExceeded(QWebFrame*, const QString&) {}
  void downloadRequested(const QNetworkRequest& request);
  void frameCreated(QWebFrame* frame);
  void geometryChangeRequested(const QRect& geometry);
  void linkClicked(const QUrl&) {}
  void linkHovered(const QString& link, const QString& title, const QString& textContent);
  void loadFinished(bool ok);
  void loadProgress(int percent);
  void loadStarted();
  void menuBarVisibilityChangeRequested(bool) {}
  void microFocusChanged() {}
  void printRequested(QWebFrame* frame);
  void debugRepaintRequested(const QRect&) {}
  void restoreFrameStateRequested(QWebFrame*) {}
  void saveFrameStateRequested(QWebFrame*, QWebHistoryItem*) {}
  void scrollRequested(int dx, int dy, const QRect& rectToScroll);
  void selectionChanged() {}
  void statusBarMessage(const QString& text);
  void statusBarVisibilityChangeRequested(bool) {}
  void toolBarVisibilityChangeRequested(bool) {}
  void unsupportedContent(QNetworkReply*) {}
  void windowCloseRequested() {}
  void renderToScreen();
  void contentsSizeChanged(const QSize&) {}
  void iconChanged() {}
  void initialLayoutCompleted() {}
  void javaScriptWindowObjectCleared();
  void titleChanged(const QString& title);
  void urlChanged(const QUrl& url);
  void pluginCreated(const QWebElement& element, void* handle);
  void creatingRequest(const QUrl& url);
  void requestError();
  void sslErrors();
  void workaroundForPluginDrawingBug() {}
  void repaintCollectorChanged() {}

 protected:
  bool event(QEvent* event) override;

 private:
  /// Calls `operation` with the view, to begin or end a load.
  void navigate(std::function<void(LarkaWebView*)> operation);

  void letPageAnimate(bool animates);
  void scrollBy(qint64 dx, qint64 dy);
  bool stepFocus(bool next);
  void send(QEvent&& event);
  void press(int key);

  void makeScriptObject();
  void messageReceived(const QString& json, const QUrl& address);
  QWebFrame* frameNamed(const QString& name) const;
  void awaitDocuments(QWebFrame* frame);
  void installPage(QNetworkAccessManager* manager);
  void setDialogParent();
  void useLocalStorage(const QString& directory);
  void connectPage();
  void keepCacheForRunningReplies();
  QNetworkCookieJar* cookieJar() const;
  NetworkAccessManager* networkManager() const;
  void addCertificateTo(LoadFailure* failure) const;
  QList<QNetworkCookie> pageCookies() const;
  std::string historyLocation(int offset) const;
  void endLoad(bool ok);
  void stopLateLoad();
  bool isBusyLoading() const;
  void announcePlugin(const QWebElement& element, void* handle);
  void prepareMedia(QWebFrame* frame);
  void announceMedia();
  void requestMedia(const QWebElement& element, int action, double value);
  void closeGoneMedia();
  void notifyOnMediaRequest(LarkaPluginWidget player, int action, double value);
  void notifyOnPluginDirty(ILarkaCallbacks* listener, const QRect& rect);
  WebPage* page() const;
  QWebFrame* mainFrame() const;

  LarkaWebView* m_webView = nullptr;
  std::shared_ptr<QTimer> m_frameTick;  // null until Initialize
  StackUse m_pageUse = StackUse::partOf(webKitUse());
  StackUse m_listenerCalls = StackUse::partOf(hostCodeUse());
  Listeners<ILarkaCallbacks> m_listeners{this, m_pageUse, m_listenerCalls};
  Listeners<IExtraCallbacks> m_extraListeners{this, m_pageUse, m_listenerCalls};
  Navigation m_navigation{this, m_pageUse};
  bool m_pageLoads = false;    // whether the load under way is that of the page, or a frame's
  bool m_pageArrived = false;  // whether anything of it has
  QUrl m_requested;            // of the last Navigate
  int m_loads = 0;             // of the page, begun so far
  LoadWatch m_loadWatch;
  LoadFailure m_lastFailure;
  int m_loadTimeLimit = 0;  // milliseconds; 0 or less for none
  QTimer m_loadTimer;
  bool m_endOfReplacedLoad = false;  // while its OnLoadFinished is called
  QPointer<PageLists> m_lists;
  QPointer<PageColours> m_colours;
  PluginList m_plugins;
  MediaElements* m_media;
  PageInput m_input;
  TextInput* m_textInput = nullptr;  // the page's; there as long as m_webView
  QWebElement m_fullScreenElement;
  QSharedPointer<QNetworkDiskCache> m_diskCache;  // null until SetCacheParameters
  QString m_documentScript;
  bool m_awaitsDocuments = false;
  QByteArray m_hostRules;
  QElapsedTimer m_frameClock;
  double m_smoothedFrameTime = 0.0;                              // seconds
  PageMessages* m_messages = nullptr;                            // null unless enabled
  qint64 m_waitingMessages = 0;                                  // their bytes
  PublishedLarkaObject* m_scriptObject = nullptr;                // null unless asked for
  QPointer<LarkaSystemInfoJavaScriptObject> m_systemInfoObject;  // nothing sets it
};

}  // namespace LARKA
