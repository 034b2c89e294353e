// LarkaBrowserQt.h: the browser behind the host's interface.
#pragma once

#include <QElapsedTimer>
#include <QEvent>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QRegion>
#include <QSharedPointer>
#include <QString>
#include <QUrl>
#include <QWeakPointer>
#include <QWebElement>
#include <QWebPage>
#include <QWebSettings>
#include <functional>
#include <utility>
#include <vector>

#include "browser/LoadWatch.h"
#include "host/HostCalls.h"
#include "host/HostEvents.h"
#include "input/DoubleClick.h"
#include "larka/ILarkaBrowser.h"

class LarkaSystemInfoJavaScriptObject;
class LarkaWebView;
class QImage;
class QNetworkAccessManager;
class QNetworkCookie;
class QNetworkCookieJar;
class QNetworkDiskCache;
class QNetworkReply;
class QNetworkRequest;
class QPaintDevice;
class QPixmap;
class QTimer;
class PublishedLarkaObject;
class QWebHistoryItem;

namespace LARKA {

class ILarkaCallbacks;
class WebPage;

/// The one browser: owns a view with its page, keeps the host's listeners, and turns the engine's
/// signals and the page's questions into calls of them. Made and destroyed by the browser manager.
class LarkaBrowser : public QObject, public ILarkaBrowser {
  Q_OBJECT

 public:
  /// Takes `manager` for its page's requests. The caller keeps it alive as long as the page.
  LarkaBrowser(QNetworkAccessManager* manager, QObject* parent);
  ~LarkaBrowser() override;

  /// The browser's item in the scene; null once the browser has been shut down.
  LarkaWebView* webView() const { return m_webView; }

  /// Whether its page is on the stack.
  const EngineUse& engineUse() const { return m_engineUse; }

  /// Calls no listener any more.
  void abandon();

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

  // What the page asks; see WebPage.
  void acceptNavigationRequest(QWebPage::NavigationType type);
  void javaScriptAlert(QWebFrame* frame, const QString& msg);
  bool javaScriptConfirm(QWebFrame* frame, const QString& msg);
  bool javaScriptPrompt(QWebFrame* frame, const QString& msg, const QString& defaultValue,
                        QString* result);
  void javaScriptConsoleMessage(const QString& message, int lineNumber, const QString& sourceID);
  QString chooseFile(QWebFrame* frame, const QString& suggestedFile);
  QWebPage* createWindow(bool modal, const QUrl& url);

  void SetAttribute(QWebSettings::WebAttribute attribute, bool on);
  void showFullscreen(const QWebElement& element, bool render);
  void repaintRequested(const QRect& rect);

  /// Frames a second, smoothed over the calls of this function.
  double calculateFps();

  // Hooks that do nothing and stay callable.
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
  /// Calls `call` with each listener, in the order of registration, until it returns true. The
  /// listeners are those registered at the start.
  template <typename Call>
  void notifyUntil(Call call);

  /// Calls `call` with each listener, in the order of registration.
  template <typename Call>
  void notify(Call call);

  /// notify() once QtWebKit is off the stack; see HostEvents.h.
  template <typename Call>
  void post(Call call);

  /// notifyUntil() while page script waits for it.
  template <typename Call>
  void ask(Call call);

  /// Calls `operation` with the view, to begin or end a load.
  void navigate(std::function<void(LarkaWebView*)> operation);

  void scrollBy(qint64 dx, qint64 dy);
  bool stepFocus(bool next);
  void sendToPage(QEvent* event);
  void sendMouse(QEvent::Type type, const QPoint& position, Qt::MouseButton button,
                 Qt::MouseButtons buttons);
  void sendWheel(int delta, Qt::Orientation orientation);
  void sendKey(QEvent::Type type, int key, int modifiers);

  void makeScriptObject();
  void installPage(QNetworkAccessManager* manager);
  void setDialogParent();
  void useLocalStorage(const QString& directory);
  void connectPage();
  void keepCacheForRunningReplies();
  QNetworkCookieJar* cookieJar() const;
  QList<QNetworkCookie> pageCookies() const;
  std::string historyLocation(int offset) const;
  void endLoad(bool ok);
  bool isBusyLoading() const;
  void announcePlugin(const QWebElement& element, void* handle);
  void forgetPlugins();
  void notifyOnPluginDirty(ILarkaCallbacks* listener, const QRect& rect);
  WebPage* page() const;
  QWebFrame* mainFrame() const;

  // The disk cache of each directory that a browser uses, or used.
  static QMap<QString, QWeakPointer<QNetworkDiskCache>> s_allCaches;

  LarkaWebView* m_webView = nullptr;
  QTimer* m_frameTimer = nullptr;
  QList<ILarkaCallbacks*> m_listeners;
  bool m_abandoned = false;
  bool m_pageLoads = false;    // whether the load under way is that of the page, or a frame's
  bool m_pageArrived = false;  // whether anything of it has
  std::function<void(LarkaWebView*)> m_waitingNavigation;
  QUrl m_requested;  // of the last Navigate
  int m_loads = 0;   // of the page, begun so far
  LoadWatch m_loadWatch;
  bool m_endOfReplacedLoad = false;  // while listeners hear of it
  std::vector<LarkaPluginWidget> m_pluginWidgets;
  QPoint m_pointer;  // of the last MouseMove
  Qt::MouseButtons m_heldButtons = Qt::NoButton;
  DoubleClick m_doubleClick;
  QElapsedTimer m_clock;  // of double clicks
  QWebElement m_fullScreenElement;
  QSharedPointer<QNetworkDiskCache> m_diskCache;  // null until SetCacheParameters
  QElapsedTimer m_frameClock;
  double m_smoothedFrameTime = 0.0;                              // seconds
  PublishedLarkaObject* m_scriptObject = nullptr;                // null unless asked for
  QPointer<LarkaSystemInfoJavaScriptObject> m_systemInfoObject;  // nothing sets it
  HostCalls m_hostCalls;
  EngineUse m_engineUse;
};

}  // namespace LARKA
