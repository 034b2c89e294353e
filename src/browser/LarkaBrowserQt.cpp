// SPDX-License-Identifier: MIT
#include "browser/LarkaBrowserQt.h"

#include <QApplication>
#include <QDateTime>
#include <QDebug>
#include <QFile>
#include <QGraphicsScene>
#include <QImage>
#include <QNetworkAccessManager>
#include <QNetworkCookie>
#include <QNetworkDiskCache>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QPainter>
#include <QTimer>
#include <QTransform>
#include <QWebFrame>
#include <QWebHistory>
#include <algorithm>
#include <limits>
#include <memory>
#include <optional>

#include "FrameRate.h"
#include "bridge/LarkaJavaScriptObject.h"
#include "bridge/PageMessages.h"
#include "bridge/ScriptText.h"
#include "browser/PageColours.h"
#include "browser/PageLists.h"
#include "browser/ScriptEvaluation.h"
#include "browser/TextInput.h"
#include "cookies/CookieJar.h"
#include "elements/LarkaHTMLControlQt.h"
#include "elements/LarkaPluginWidgetQt.h"
#include "elements/MediaSource.h"
#include "host/Diagnostics.h"
#include "host/HostText.h"
#include "input/SpatialNavigation.h"
#include "inspector/InspectorBrowser.h"
#include "larka/ILarkaCallbacks.h"
#include "larka/KeyCodes.h"
#include "larka/LarkaSystemInfoJavaScriptObject.h"
#include "network/CacheWrapper.h"
#include "network/NetworkAccessManager.h"
#include "page/WebPage.h"
#include "page/WindowObjects.h"
#include "paint/FocusRing.h"
#include "paint/HiddenView.h"
#include "paint/UserStyleSheet.h"
#include "paint/larkawebview.h"
#include "plugins/MediaElements.h"
#include "plugins/MediaScript.h"
#include "plugins/PluginFactory.h"
#include "storage/PageStorage.h"

namespace LARKA {

namespace {

const int kPagesInCache = 5;
const int kFrameIntervalMilliseconds = 33;
const int kMostPlayers = 256;  // a page may have any number of elements

QNetworkProxy::ProxyType toolkitProxyType(ProxyType type) {
  switch (static_cast<unsigned>(type)) {
    case PROXY_SOCKS5:
      return QNetworkProxy::Socks5Proxy;
    case PROXY_HTTP:
      return QNetworkProxy::HttpProxy;
    default:
      return QNetworkProxy::DefaultProxy;
  }
}

/// The negative of a number; of the lowest one, itself.
int negated(int number) { return static_cast<int>(0u - static_cast<unsigned>(number)); }

/// Keeps the event loop turning while there are browsers: it is connected to nothing. They share
/// it, because fifty of them would wake the process for nothing 1,500 times a second.
std::shared_ptr<QTimer> sharedFrameTick() {
  static std::weak_ptr<QTimer> shared;
  std::shared_ptr<QTimer> tick = shared.lock();
  if (!tick) {
    shared = tick = std::make_shared<QTimer>();
    tick->start(kFrameIntervalMilliseconds);
  }
  return tick;
}

// No page of QtWebKit's is longer, and with more its sums would overflow.
const qint64 kLongestScroll = 1 << 25;

int inReach(qint64 pixels) {
  return static_cast<int>(std::max(-kLongestScroll, std::min(pixels, kLongestScroll)));
}

QPoint scaled(const QPoint& point, double factor) {
  return QTransform::fromScale(factor, factor).map(point);
}

}  // namespace

LarkaBrowser::LarkaBrowser(QNetworkAccessManager* manager, QObject* parent)
    : QObject(parent),
      m_loadWatch([this] { return isBusyLoading(); }, [this] { endLoad(true); }),
      m_media(new MediaElements(this)) {
  QWebSettings::setMaximumPagesInCache(kPagesInCache);
  connect(manager, SIGNAL(creatingRequest(QUrl)), this, SLOT(creatingRequest(QUrl)));
  connect(manager, SIGNAL(onRequestError()), this, SLOT(requestError()));
  connect(manager, SIGNAL(onSslErrors()), this, SLOT(sslErrors()));
  connect(m_media, &MediaElements::requested, this, &LarkaBrowser::requestMedia);
  connect(m_media, &MediaElements::removed, this, &LarkaBrowser::closeGoneMedia);
  m_webView = new LarkaWebView;
  installPage(manager);
  m_frameClock.start();
  m_loadTimer.setSingleShot(true);
  m_loadTimer.setTimerType(Qt::PreciseTimer);
  connect(&m_loadTimer, &QTimer::timeout, this, &LarkaBrowser::stopLateLoad);
}

LarkaBrowser::~LarkaBrowser() {
  diagnose("----browser quitting\n");
  LarkaBrowser::Shutdown();
}

bool LarkaBrowser::event(QEvent* event) {
  return postponesDestruction(event, this, m_listenerCalls) || QObject::event(event);
}

// As the view's child the page is deleted with it.
void LarkaBrowser::installPage(QNetworkAccessManager* manager) {
  auto* page = new WebPage(this);
  m_webView->setPage(page);
  page->setParent(m_webView);
  page->setNetworkAccessManager(manager);
  m_webView->preparePage();
  m_webView->keepPageFocused();
  m_textInput = new TextInput(this, page);
  auto* style = new UserStyleSheet(page);
  new FocusRing(style, page);
  m_lists = new PageLists(m_webView, m_pageUse, this, &m_extraListeners);
  m_colours = new PageColours(m_webView, m_pageUse, this, &m_extraListeners);
  style->set(UserStyleSheet::HostRules, m_hostRules);
}

// Dialogs that QtWebKit would open for a person are refused there.
void LarkaBrowser::setDialogParent() {
  const QGraphicsScene* scene = m_webView->scene();
  auto* view = scene ? qobject_cast<HiddenView*>(scene->views().value(0)) : nullptr;
  if (!view) return;
  const QSize size = page()->viewportSize();
  page()->setView(
      view->makeDialogParent(page(), m_pageUse, [colours = m_colours](const QColor& present) {
        if (colours) colours->ask(present);
      }));
  page()->setViewportSize(size);
}

void LarkaBrowser::Initialize(int width, int height, const char* cookiePath,
                              const char* localStoragePath, bool createScriptObject,
                              SystemInfoData*) {
  if (!m_webView || m_frameTick) return;
  const WebKitCall call(m_pageUse);
  if (createScriptObject) makeScriptObject();
  if (cookiePath)
    page()->networkAccessManager()->setCookieJar(
        new CookieJar(QFile::decodeName(cookiePath), nullptr));
  const QString storage = PageStorage::instance()->prepare(QFile::decodeName(localStoragePath));
  useLocalStorage(storage);
  setDialogParent();
  Resize(width, height);
  SetAttribute(QWebSettings::JavascriptEnabled, true);
  SetAttribute(QWebSettings::PluginsEnabled, true);
  SetAttribute(QWebSettings::DnsPrefetchEnabled, true);
  SetAttribute(QWebSettings::OfflineStorageDatabaseEnabled, true);
  SetAttribute(QWebSettings::OfflineWebApplicationCacheEnabled, true);
  SetAttribute(QWebSettings::LocalContentCanAccessRemoteUrls, true);
  SetAttribute(QWebSettings::LocalStorageEnabled, true);
  SetAttribute(QWebSettings::TiledBackingStoreEnabled, false);
  SetAttribute(QWebSettings::AcceleratedCompositingEnabled, false);
  connectPage();
  PageStorage::instance()->addPage(page(), storage);

  m_frameTick = sharedFrameTick();
  awaitDocuments(mainFrame());
}

void LarkaBrowser::makeScriptObject() {
  m_scriptObject = new PublishedLarkaObject(this);
  connect(m_scriptObject, &LarkaJavaScriptObject::executeInLarka, this,
          &LarkaBrowser::executeInLarka);
  connect(m_scriptObject, &LarkaJavaScriptObject::executeMediaAction, this,
          &LarkaBrowser::executeMediaAction);
}

// A page takes the directory of its local storage from the global settings, once, when it is
// constructed; setting it on a page's own settings has no effect. So the browser makes a new page.
void LarkaBrowser::useLocalStorage(const QString& directory) {
  if (!directory.isEmpty()) {
    WebPage* oldPage = page();
    QNetworkAccessManager* manager = oldPage->networkAccessManager();
    QWebSettings* global = QWebSettings::globalSettings();
    const QString globalDirectory = global->localStoragePath();

    global->setLocalStoragePath(directory);
    manager->setParent(nullptr);
    const QString userAgent = oldPage->userAgent();
    installPage(manager);  // deletes the old page
    manager->setParent(page());
    page()->setUserAgent(userAgent);
    global->setLocalStoragePath(globalDirectory);
  }
  m_webView->settings()->setLocalStoragePath(directory);
}

void LarkaBrowser::connectPage() {
  connect(m_webView, SIGNAL(loadStarted()), this, SLOT(loadStarted()));
  connect(m_webView, SIGNAL(loadProgress(int)), this, SLOT(loadProgress(int)));
  connect(m_webView, SIGNAL(loadFinished(bool)), this, SLOT(loadFinished(bool)));
  connect(page(), SIGNAL(linkHovered(QString, QString, QString)), this,
          SLOT(linkHovered(QString, QString, QString)));
  connect(m_webView, SIGNAL(titleChanged(QString)), this, SLOT(titleChanged(QString)));
  connect(m_webView, SIGNAL(urlChanged(QUrl)), this, SLOT(urlChanged(QUrl)));
  connect(mainFrame(), SIGNAL(javaScriptWindowObjectCleared()), this,
          SLOT(javaScriptWindowObjectCleared()));
  connect(page()->plugins(), &PluginFactory::pluginCreated, this, &LarkaBrowser::announcePlugin);
  connect(page(), SIGNAL(frameCreated(QWebFrame*)), this, SLOT(frameCreated(QWebFrame*)));
  connect(page(), SIGNAL(repaintRequested(QRect)), this, SLOT(addRect(QRect)));
  connect(page(), SIGNAL(scrollRequested(int, int, QRect)), this,
          SLOT(scrollRequested(int, int, QRect)));
  connect(m_webView, SIGNAL(dirty(QRect)), this, SLOT(notifyOnDirty(QRect)));
}

void LarkaBrowser::frameCreated(QWebFrame* frame) {
  connect(frame, SIGNAL(javaScriptWindowObjectCleared()), this,
          SLOT(javaScriptWindowObjectCleared()));
  awaitDocuments(frame);
}

// m_webView is cleared first: what the page still reports while it is being destroyed must not
// reach a view half destroyed.
void LarkaBrowser::Shutdown() {
  delete m_lists;
  delete m_colours;
  whenIdle(m_pageUse, nullptr, [webView = std::exchange(m_webView, nullptr)] {
    const OnStack unloadsThePage(webKitUse());
    delete webView;
  });
}

void LarkaBrowser::abandon() {
  m_listeners.abandon();
  m_extraListeners.abandon();
}

void LarkaBrowser::SetAttribute(QWebSettings::WebAttribute attribute, bool on) {
  m_webView->settings()->setAttribute(attribute, on);
}

WebPage* LarkaBrowser::page() const { return static_cast<WebPage*>(m_webView->page()); }

QWebFrame* LarkaBrowser::mainFrame() const { return page()->mainFrame(); }

PageLists* LarkaBrowser::lists() const { return m_lists; }

PageColours* LarkaBrowser::colours() const { return m_colours; }

// Listeners.

void LarkaBrowser::AddListener(ILarkaCallbacks* listener) { m_listeners.add(listener); }

void LarkaBrowser::RemoveListener(ILarkaCallbacks* listener) { m_listeners.remove(listener); }

// Page events.

// A child frame that loads doesn't end the plug-ins of the others. QtWebKit may have forgotten to
// end the load before, as when a page went to a place in itself while it was loading.
void LarkaBrowser::loadStarted() {
  if (m_loadWatch.end()) endLoad(!m_pageLoads);
  m_pageLoads = !m_webView || page()->mainFrameNavigates();
  m_loadWatch.begin();
  if (m_pageLoads) {
    ++m_loads;
    m_pageArrived = false;
  }
  if (m_webView && m_pageLoads) {
    page()->plugins()->forget();
    page()->setFailure(LoadFailure());
    if (m_loadTimeLimit > 0) m_loadTimer.start(m_loadTimeLimit);
  }
  postHostEvent(this, m_pageUse, [this, leavesPage = m_pageLoads] {
    if (leavesPage) m_plugins.leavePage();
    m_listeners.notify([](ILarkaCallbacks* listener) { listener->OnLoadStarted(); });
  });
}

bool LarkaBrowser::isBusyLoading() const {
  // While a page waits for the host, the loads of all pages rest.
  if (!m_webView || !webKitUse().isIdle()) return true;
  if (m_pageLoads && !m_pageArrived) return true;
  return hasRunningRequests();
}

bool LarkaBrowser::hasRunningRequests() const {
  if (!m_webView) return false;
  return networkManager()->hasRunningReplies();
}

LoadFailure LarkaBrowser::loadFailure() const {
  return m_webView ? page()->failure() : LoadFailure();
}

void LarkaBrowser::loadProgress(int percent) {
  m_listeners.post([=](ILarkaCallbacks* listener) { listener->OnLoadProgress(percent); });
}

// A child frame that fails, such as an advertisement, doesn't fail its page. A load that LoadWatch
// has ended may end again.
void LarkaBrowser::loadFinished(bool ok) {
  if (m_loadWatch.end()) endLoad(ok || !m_pageLoads);
}

// Hosts list the plug-ins in OnLoadFinished, so these are announced first.
void LarkaBrowser::endLoad(bool ok) {
  if (m_pageLoads) m_loadTimer.stop();
  LoadFailure failure;
  if (!ok) failure = loadFailure();
  if (!ok && failure.kind == LoadFailure::kNone)
    failure = {LoadFailure::kAborted, QUrl(), 0, QStringLiteral("stopped")};
  if (failure.kind == LoadFailure::kCertificate) addCertificateTo(&failure);
  postHostEvent(this, m_pageUse, [=, self = QPointer<LarkaBrowser>(this), load = m_loads] {
    m_lastFailure = failure;
    if (m_webView) page()->plugins()->announce();
    if (self) announceMedia();
    if (self) closeGoneMedia();
    if (!self) return;
    m_plugins.forgetGone();
    const bool outer = std::exchange(m_endOfReplacedLoad, load != m_loads);
    m_listeners.notify([=](ILarkaCallbacks* listener) { listener->OnLoadFinished(ok); });
    if (self) m_endOfReplacedLoad = outer;
  });
}

void LarkaBrowser::stopLateLoad() {
  if (!m_webView || !m_loadWatch.isLoading()) return;
  page()->setFailure(
      {LoadFailure::kTimedOut, mainFrame()->requestedUrl(), 0, QStringLiteral("timed out")});
  Stop();
}

void LarkaBrowser::titleChanged(const QString& title) {
  m_listeners.post([text = toHost(title)](ILarkaCallbacks* listener) {
    listener->OnTitleChanged(text.c_str());
  });
}

void LarkaBrowser::urlChanged(const QUrl& url) {
  m_pageArrived = true;
  m_listeners.post(
      [text = toHost(url)](ILarkaCallbacks* listener) { listener->OnUrlChanged(text.c_str()); });
}

void LarkaBrowser::statusBarMessage(const QString& message) {
  const std::string text = toHost(message);
  m_listeners.notify(
      [&](ILarkaCallbacks* listener) { listener->OnStatusBarMessage(text.c_str()); });
}

void LarkaBrowser::printRequested(QWebFrame*) {
  m_listeners.notify([](ILarkaCallbacks* listener) { listener->OnPrintRequested(); });
}

void LarkaBrowser::linkHovered(const QString& link, const QString&, const QString&) {
  const bool hovering = !link.isEmpty();
  m_listeners.post([=](ILarkaCallbacks* listener) { listener->OnLinkHovered(hovering); });
}

void LarkaBrowser::geometryChangeRequested(const QRect& geometry) {
  m_listeners.notify([&](ILarkaCallbacks* listener) {
    listener->OnGeometryChangeRequested(geometry.width(), geometry.height());
  });
}

void LarkaBrowser::downloadRequested(const QNetworkRequest&) {
  m_listeners.notifyUntil(
      [](ILarkaCallbacks* listener) { return !listener->OnDownloadRequested(); });
}

void LarkaBrowser::creatingRequest(const QUrl& url) {
  if (m_diskCache && m_diskCache->cacheDirectory().isEmpty()) {
    QString quoted;
    QDebug(&quoted).nospace() << url.toString();
    warn(QStringLiteral(
        "LarkaBrowser::creatingRequest() cannot use cache because cache directory is empty"));
    warn(QStringLiteral("   when trying to load  ") + quoted);
  }
  m_listeners.post([text = toHost(url)](ILarkaCallbacks* listener) {
    listener->OnCreatingRequest(text.c_str());
  });
}

void LarkaBrowser::requestError() {
  m_listeners.notify([](ILarkaCallbacks* listener) { listener->OnRequestError(); });
}

void LarkaBrowser::sslErrors() {
  m_listeners.post([](ILarkaCallbacks* listener) { listener->OnRequestError(); });
}

// Page script and the host.

void LarkaBrowser::javaScriptWindowObjectCleared() {
  auto* frame = qobject_cast<QWebFrame*>(sender());
  if (!frame) return;
  correctWindowObject(frame, m_webView ? m_webView->size().toSize() : QSize());
  if (m_systemInfoObject)
    frame->addToJavaScriptWindowObject(QStringLiteral("systeminfoobject"), m_systemInfoObject);
  if (m_scriptObject) m_scriptObject->publish(frame);
  if (m_messages) m_messages->publish(frame);
  if (m_awaitsDocuments) return;
  prepareMedia(frame);
  if (!m_documentScript.isEmpty())
    frame->evaluateJavaScript(m_documentScript + QLatin1String("\n;void 0"));
}

void LarkaBrowser::setDocumentScript(const QString& script) {
  m_documentScript = script;
  if (!m_frameTick) return;
  const WebKitCall call(m_pageUse);
  awaitDocuments(mainFrame());
}

// The document that is there doesn't get the script. A new frame has an empty one, whose window it
// passes on.
void LarkaBrowser::awaitDocuments(QWebFrame* frame) {
  if (m_documentScript.isEmpty() && !m_messages && !m_media->isHandedOver()) return;
  m_awaitsDocuments = true;
  createWindowObjects(frame);
  m_awaitsDocuments = false;
}

void LarkaBrowser::enableMessages(bool enable) {
  const WebKitCall call(m_pageUse);
  if (enable == (m_messages != nullptr)) return;
  delete std::exchange(m_messages, nullptr);
  if (!enable) return;
  if (m_frameTick) createWindowObjects(mainFrame());  // without it: these documents don't get it
  m_messages = new PageMessages(this);
  connect(m_messages, &PageMessages::received, this, &LarkaBrowser::messageReceived);
}

// Many small ones are delivered at once as all events are, large ones here.
void LarkaBrowser::messageReceived(const QString& json, const QUrl& address) {
  const qint64 kMostWaiting = 16 << 20;
  const auto size = static_cast<qint64>(json.size());
  m_waitingMessages += size;
  postHostEvent(this, m_pageUse, [=] { m_waitingMessages -= size; });
  m_extraListeners.post([this, text = toHost(withoutHalfPairs(json)),
                         from = toHost(address)](IExtraCallbacks* listener) {
    listener->OnMessage(this, text.c_str(), from.c_str());
  });
  if (m_waitingMessages > kMostWaiting) const ScriptWait deliversThem(m_pageUse);
}

bool LarkaBrowser::postMessage(const QString& json, const QString& frameName) {
  const WebKitCall call(m_pageUse);
  QWebFrame* frame = m_messages ? frameNamed(frameName) : nullptr;
  return frame && PageMessages::send(frame, json);
}

QWebFrame* LarkaBrowser::frameNamed(const QString& name) const {
  return name.isEmpty() ? mainFrame() : findFrame(mainFrame(), name);
}

void LarkaBrowser::executeInLarka(const QString& script) {
  const std::string command = toHost(script);
  m_listeners.ask([&](ILarkaCallbacks* listener) {
    listener->OnExecuteInLarka(command.c_str());
    return false;
  });
}

// The command is UTF-8; the answer is read as Latin-1, up to its first NUL. Pages rely on both.
QString LarkaBrowser::executeMediaAction(const QString& script) {
  const std::string command = toHost(script);
  std::string reply;
  m_listeners.ask([&](ILarkaCallbacks* listener) {
    reply = listener->OnExecuteInLarka(command.c_str());
    return false;
  });
  return QString::fromLatin1(reply.c_str());
}

// Plug-ins.

void LarkaBrowser::announcePlugin(const QWebElement& element, void* handle) {
  if (m_plugins.updateHandle(element, handle)) return;
  m_plugins.forgetGone();
  pluginCreated(element, handle);
}

void LarkaBrowser::pluginCreated(const QWebElement& element, void* handle) {
  const auto showFullScreen = [browser = QPointer<LarkaBrowser>(this)](const QWebElement& shown,
                                                                       bool render) {
    if (!browser) return;
    browser->showFullscreen(shown, render);
    browser->invalidate();
  };
  auto* record = new LarkaPluginWidgetPrivate(element, showFullScreen, handle);
  LarkaPluginWidget plugin(record, true);
  record->isPlayer = !handle;
  if (!handle) record->handle = record;
  record->mediaTypes = m_media->types();
  m_plugins.add(plugin);
  m_listeners.notify([&](ILarkaCallbacks* listener) { listener->OnPluginCreated(&plugin); });
}

std::vector<LarkaPluginWidget> LarkaBrowser::GetPluginWidgets() { return m_plugins.all(); }

// Players of `video` and `audio`.

void LarkaBrowser::setMediaHandedOver(bool handedOver, const QStringList& types) {
  m_media->handOver(handedOver, types);
  if (!m_frameTick) return;
  const WebKitCall call(m_pageUse);
  awaitDocuments(mainFrame());
}

void LarkaBrowser::prepareMedia(QWebFrame* frame) {
  if (m_webView && frame == mainFrame() && m_media->beginPage()) {
    SetAttribute(QWebSettings::MediaEnabled, !m_media->isActive());
    UserStyleSheet::of(page())->set(UserStyleSheet::MediaRules,
                                    m_media->isActive() ? kMediaRules : "");
  }
  m_media->prepare(frame);
  if (m_plugins.players() > 0) postHostEvent(this, m_pageUse, [this] { closeGoneMedia(); });
}

// What the script of the documents doesn't reach: those whose sandbox forbids script.
void LarkaBrowser::announceMedia() {
  if (!m_webView || !m_media->isActive()) return;
  const QPointer<LarkaBrowser> self(this);
  for (const QWebElement& element : MediaElements::elementsOf(mainFrame()))
    if (self && isMedia(element)) requestMedia(element, 0, 0);
}

// The script may speak first, and for elements that are in no document.
void LarkaBrowser::requestMedia(const QWebElement& element, int action, double value) {
  const QPointer<LarkaBrowser> self(this);
  if (WebElement::ifOnPage(element).isNull()) return;
  const bool full = m_plugins.players() >= kMostPlayers;
  if (full && action == 0) return;
  const bool isNew = !m_plugins.find(element);
  if (isNew && (full || action == MEDIA_CLOSE)) return;
  if (isNew) pluginCreated(element, nullptr);
  const LarkaPluginWidget* found = self ? m_plugins.find(element) : nullptr;
  if (!found) return;
  LarkaPluginWidget player(*found);
  if (action == MEDIA_CLOSE) m_plugins.remove(element);
  const bool opens = isNew && !mediaSourceOf(element, m_media->types()).address.isEmpty();
  if (opens) notifyOnMediaRequest(player, MEDIA_OPEN, 0);
  if (self && action != 0 && !(opens && action == MEDIA_OPEN))
    notifyOnMediaRequest(player, action, value);
}

void LarkaBrowser::closeGoneMedia() {
  const QPointer<LarkaBrowser> self(this);
  for (const LarkaPluginWidget& player : m_plugins.takeGonePlayers())
    if (self) notifyOnMediaRequest(player, MEDIA_CLOSE, 0);
}

void LarkaBrowser::notifyOnMediaRequest(LarkaPluginWidget player, int action, double value) {
  m_extraListeners.notify([&](IExtraCallbacks* listener) {
    listener->OnMediaRequest(this, &player, static_cast<MediaAction>(action), value);
  });
}

// What the page asks.

void LarkaBrowser::acceptNavigationRequest(QWebPage::NavigationType type) {
  if (type == QWebPage::NavigationTypeOther) return;
  m_listeners.post([](ILarkaCallbacks* listener) { listener->OnAcceptNavigationRequest(); });
}

void LarkaBrowser::javaScriptAlert(QWebFrame*, const QString& msg) {
  const std::string text = toHost(msg);
  m_listeners.ask([&](ILarkaCallbacks* listener) {
    listener->OnJavaScriptAlert(text.c_str());
    return false;
  });
}

bool LarkaBrowser::javaScriptConfirm(QWebFrame*, const QString& msg) {
  const std::string text = toHost(msg);
  std::optional<OnStack> leaveQuestion;
  if (m_webView && page()->isAboutToNavigate()) leaveQuestion.emplace(leaveQuestionUse());
  bool confirmed = false;
  m_listeners.ask([&](ILarkaCallbacks* listener) {
    confirmed = listener->OnJavaScriptConfirm(text.c_str());
    return confirmed;
  });
  return confirmed;
}

bool LarkaBrowser::javaScriptPrompt(QWebFrame*, const QString& msg, const QString& defaultValue,
                                    QString* result) {
  const std::string text = toHost(msg);
  const std::string defaultText = toHost(defaultValue);
  bool handled = false;
  m_listeners.ask([&](ILarkaCallbacks* listener) {
    handled = false;
    const std::string answer =
        listener->OnJavaScriptPrompt(text.c_str(), defaultText.c_str(), &handled);
    if (handled) *result = fromListener(answer);
    return handled;
  });
  return handled;
}

void LarkaBrowser::javaScriptConsoleMessage(const QString& message, int lineNumber,
                                            const QString& sourceID) {
  m_listeners.post(
      [=, text = toHost(message), source = toHost(sourceID)](ILarkaCallbacks* listener) {
        listener->OnJavaScriptConsoleMessage(text.c_str(), lineNumber, source.c_str());
      });
}

QString LarkaBrowser::chooseFile(QWebFrame*, const QString& suggestedFile) {
  const std::string suggested = toHost(suggestedFile);
  QString chosen;
  m_listeners.ask([&](ILarkaCallbacks* listener) {
    chosen = fromListener(listener->OnChooseFile(suggested.c_str()));
    return !chosen.isNull();
  });
  return chosen;
}

QWebPage* LarkaBrowser::createWindow(bool modal, const QUrl& url) {
  m_listeners.post([=, text = toHost(url)](ILarkaCallbacks* listener) {
    listener->OnCreateWindow(modal, text.c_str());
  });
  return nullptr;
}

// Network.

void LarkaBrowser::SetProxy(const char* host, int port, ProxyType type, const char* user,
                            const char* password) {
  if (!m_webView) return;
  page()->networkAccessManager()->setProxy(QNetworkProxy(toolkitProxyType(type), fromHost(host),
                                                         static_cast<quint16>(port), fromHost(user),
                                                         fromHost(password)));
}

void LarkaBrowser::SetUserAgent(const char* userAgent) {
  if (m_webView) page()->setUserAgent(fromHost(userAgent));
}

// Always one of this library's: BrowserManager::CreateBrowser makes it.
NetworkAccessManager* LarkaBrowser::networkManager() const {
  return static_cast<NetworkAccessManager*>(page()->networkAccessManager());
}

void LarkaBrowser::setCertificateChecks(bool check) {
  networkManager()->setCertificateChecks(check);
}

void LarkaBrowser::addCertificateTo(LoadFailure* failure) const {
  if (!m_webView) return;
  const BadCertificate bad = networkManager()->certificates().refused(failure->url);
  if (bad.errors == 0) return;
  failure->text = bad.text();
  failure->certificateErrors = bad.errors;
  failure->certificate = bad.digest;
}

bool LarkaBrowser::acceptCertificate() {
  if (m_lastFailure.certificate.isEmpty()) return false;
  networkManager()->certificates().accept(m_lastFailure.url, m_lastFailure.certificate);
  return true;
}

// The disk cache.

void LarkaBrowser::SetCacheParameters(const char* directory, int sizeInMegabytes) {
  if (!m_webView) return;
  keepCacheForRunningReplies();
  m_diskCache = diskCacheOf(fromHost(directory));
  m_diskCache->setMaximumCacheSize(cacheLimit(sizeInMegabytes));
  page()->networkAccessManager()->setCache(new CacheWrapper(m_diskCache.data()));
}

// The replies may be writing into the cache.
void LarkaBrowser::keepCacheForRunningReplies() {
  if (!m_diskCache) return;
  for (QNetworkReply* reply : page()->networkAccessManager()->findChildren<QNetworkReply*>())
    connect(reply, &QObject::destroyed, [cache = m_diskCache] {});
}

void LarkaBrowser::ClearCache() {
  // A page on the stack may just be leaving the memory caches.
  whenIdle(webKitUse(), nullptr, [] { QWebSettings::clearMemoryCaches(); });
  QAbstractNetworkCache* cache = m_webView ? page()->networkAccessManager()->cache() : nullptr;
  if (cache) cache->clear();
}

// Cookies.

QNetworkCookieJar* LarkaBrowser::cookieJar() const {
  return m_webView ? page()->networkAccessManager()->cookieJar() : nullptr;
}

QList<QNetworkCookie> LarkaBrowser::pageCookies() const {
  const QNetworkCookieJar* jar = cookieJar();
  return jar ? jar->cookiesForUrl(mainFrame()->url()) : QList<QNetworkCookie>();
}

int LarkaBrowser::InjectCookie(const char* domain, const char* name, const char* value,
                               int lifetimeSeconds) {
  QNetworkCookieJar* jar = cookieJar();
  if (!jar) return 0;
  QNetworkCookie cookie(name, value);
  if (lifetimeSeconds >= 0)
    cookie.setExpirationDate(QDateTime::currentDateTimeUtc().addSecs(lifetimeSeconds));
  QString host = fromHost(domain);
  if (host.startsWith(QLatin1Char('.'))) host.remove(0, 1);
  jar->setCookiesFromUrl({cookie}, QUrl::fromUserInput(host));
  return 0;
}

void LarkaBrowser::ClearAllCookies() {
  if (auto* jar = qobject_cast<CookieJar*>(cookieJar())) jar->clear();
}

std::string LarkaBrowser::ReadCookie(const char* name) {
  for (const QNetworkCookie& cookie : pageCookies())
    if (cookie.name() == QByteArray(name)) return cookie.value().toStdString();
  return std::string();
}

std::vector<std::pair<std::string, std::string>> LarkaBrowser::ReadCookies() {
  std::vector<std::pair<std::string, std::string>> cookies;
  for (const QNetworkCookie& cookie : pageCookies())
    cookies.emplace_back(cookie.name().constData(), cookie.value().toStdString());
  return cookies;
}

// Nothing is deleted, which hosts rely on: the cookies are stored again as they are.
bool LarkaBrowser::ClearCookie(const char* name) {
  const QList<QNetworkCookie> cookies = pageCookies();
  const auto isNamed = [wanted = QByteArray(name)](const QNetworkCookie& cookie) {
    return cookie.name() == wanted;
  };
  if (!std::any_of(cookies.begin(), cookies.end(), isNamed)) return false;
  cookieJar()->setCookiesFromUrl(cookies, mainFrame()->url());
  return true;
}

// Navigation and history.

void LarkaBrowser::navigate(std::function<void(LarkaWebView*)> operation) {
  m_navigation.carryOut([this, operation = std::move(operation)] {
    if (m_webView) operation(m_webView);
  });
}

// A host that tries again whenever a load fails means that load, not the one that has replaced it.
// If trying again ended the new load, it would go on for ever.
void LarkaBrowser::Navigate(const char* url) {
  const QUrl address = QUrl::fromEncoded(url);
  if (m_endOfReplacedLoad && address == m_requested) return;
  m_requested = address;
  navigate([address](LarkaWebView* webView) { webView->Navigate(address); });
}

void LarkaBrowser::Reload() {
  if (m_endOfReplacedLoad) return;
  navigate([](LarkaWebView* webView) { webView->reload(); });
}

void LarkaBrowser::Back() {
  navigate([](LarkaWebView* webView) { webView->back(); });
}

void LarkaBrowser::Forward() {
  navigate([](LarkaWebView* webView) { webView->forward(); });
}

void LarkaBrowser::Stop() {
  navigate([](LarkaWebView* webView) { webView->stop(); });
}

int LarkaBrowser::GetHistoryLength() {
  const QWebHistory* history = m_webView ? m_webView->history() : nullptr;
  return history ? history->count() : 0;
}

std::string LarkaBrowser::historyLocation(int offset) const {
  const QWebHistory* history = m_webView ? m_webView->history() : nullptr;
  if (!history) return std::string();
  const bool exists = offset < 0 ? history->canGoBack() : history->canGoForward();
  if (!exists) return std::string();
  return toHost(history->itemAt(history->currentItemIndex() + offset).url());
}

std::string LarkaBrowser::GetPrevLocation() { return historyLocation(-1); }

std::string LarkaBrowser::GetNextLocation() { return historyLocation(1); }

std::string LarkaBrowser::GetCurrentLocation() {
  return m_webView ? toHost(m_webView->url()) : std::string();
}

std::string LarkaBrowser::GetTitle() {
  return m_webView ? toHost(m_webView->title()) : std::string();
}

// Only single quotes are escaped; hosts rely on that. A script without a result gives an empty
// text, and no error on the console.
std::string LarkaBrowser::ExecuteJavascript(const char* script) {
  if (!m_webView) return std::string();
  const WebKitCall call(m_pageUse);
  QString escaped = fromHost(script);
  escaped.replace(QLatin1Char('\''), QLatin1String("\\'"));
  const QString code =
      QLatin1String(
          "(function(result) {"
          "  return result === void 0 || result === null ? void 0 : result.toString();"
          "})(eval('") +
      escaped + QLatin1String("'));");
  return toHost(mainFrame()->evaluateJavaScript(code).toString());
}

ScriptResult LarkaBrowser::evaluateScript(const QString& script, const QString& frameName) {
  const WebKitCall call(m_pageUse);
  QWebFrame* frame = frameNamed(frameName);
  if (frame) return evaluate(frame, script);
  ScriptResult result;
  result.message = toHost("No frame has the name " + frameName);
  return result;
}

std::string LarkaBrowser::GetMetaTagValue(const char* name) {
  if (!m_webView) return std::string();
  const QWebElement head = mainFrame()->findFirstElement(QStringLiteral("head"));
  const QString value = fromHost(name);
  QWebElement meta = head.findFirst(QStringLiteral("meta[name=\"%1\"]").arg(value));
  if (meta.isNull()) meta = head.findFirst(QStringLiteral("meta[http-equiv=\"%1\"]").arg(value));
  return toHost(meta.attribute(QStringLiteral("content")));
}

// Zoom and scrolling.

// With other factors QtWebKit would lay the page out in no space, or in an endless one.
void LarkaBrowser::SetZoomLevel(double percent) {
  using Factor = std::numeric_limits<float>;  // QtWebKit's type
  const double factor = percent / 100;
  if (!m_webView || !(factor >= Factor::min() && factor <= Factor::max())) return;
  const WebKitCall call(m_pageUse);
  m_webView->setZoomFactor(factor);
}

double LarkaBrowser::GetZoomLevel() { return m_webView ? m_webView->zoomFactor() * 100 : 0.0; }

void LarkaBrowser::Scroll(Directions direction, int amount) {
  switch (direction) {
    case DIRECTION_DOWN:
      return Scroll(0, amount);
    case DIRECTION_UP:
      return scrollBy(0, -qint64(amount));
    case DIRECTION_RIGHT:
      return Scroll(amount, 0);
    case DIRECTION_LEFT:
      return scrollBy(-qint64(amount), 0);
    default:
      return Scroll(0, 0);
  }
}

void LarkaBrowser::Scroll(int dx, int dy) { scrollBy(dx, dy); }

void LarkaBrowser::scrollBy(qint64 dx, qint64 dy) {
  if (!m_webView) return;
  const WebKitCall call(m_pageUse);
  mainFrame()->scroll(inReach(dx), inReach(dy));
}

void LarkaBrowser::ScrollToPoint(int x, int y) {
  if (!m_webView) return;
  const WebKitCall call(m_pageUse);
  const QPoint point(inReach(x), inReach(y));
  const double zoom = m_webView->zoomFactor();
  const QPointF target =
      zoom == 1.0 ? point : QTransform::fromScale(zoom, zoom).map(QPointF(point));
  mainFrame()->setScrollPosition(
      QPoint(inReach(qRound64(target.x())), inReach(qRound64(target.y()))));
}

void LarkaBrowser::GetViewPort(int* x, int* y, int* width, int* height) {
  QSize size(0, 0);
  QPoint position(0, 0);
  if (m_webView) {
    size = page()->viewportSize();
    position = mainFrame()->scrollPosition();
    const double zoom = m_webView->zoomFactor();
    if (zoom != 1.0) position = scaled(position, 1 / zoom);
  }
  if (x) *x = position.x();
  if (y) *y = position.y();
  if (width) *width = size.width();
  if (height) *height = size.height();
}

void LarkaBrowser::GetFrameContentSize(int& width, int& height) {
  const QSize size = m_webView ? page()->currentFrame()->contentsSize() : QSize(0, 0);
  width = size.width();
  height = size.height();
}

int LarkaBrowser::GetWidth() { return m_webView ? static_cast<int>(m_webView->size().width()) : 0; }

int LarkaBrowser::GetHeight() {
  return m_webView ? static_cast<int>(m_webView->size().height()) : 0;
}

// Input.

// A browser that was taken out of the scene, to be destroyed or at its manager's end, gets no
// input.
void LarkaBrowser::send(QEvent&& event) {
  if (!m_webView || !m_webView->scene()) return;
  const WebKitCall call(m_pageUse);
  if (!m_lists->takes(&event)) page()->event(&event);
}

void LarkaBrowser::MouseMove(int x, int y, int) { send(m_input.move(QPoint(x, y))); }

void LarkaBrowser::MouseDown(int x, int y, int) { send(m_input.press(QPoint(x, y))); }

void LarkaBrowser::MouseUp(int x, int y, int) { send(m_input.release(QPoint(x, y))); }

// The hit test comes first: listeners get the control that was there before the click. A click for
// an open list is none for the page.
void LarkaBrowser::MouseClick(int x, int y, int reserved) {
  const bool isForList = m_lists && m_lists->isShown();
  LarkaHTMLControl control = HitTest(x, y);
  const QPointer<LarkaBrowser> self(this);
  MouseDown(x, y, reserved);
  if (self) MouseUp(x, y, reserved);
  if (!self || isForList) return;
  const WebKitCall deliversIt(m_pageUse);
  m_listeners.post(
      [control](ILarkaCallbacks* listener) mutable { listener->OnMouseClick(control); });
}

void LarkaBrowser::MouseWheel(Directions direction, int amount, int) {
  const bool horizontal = direction == DIRECTION_RIGHT || direction == DIRECTION_LEFT;
  const bool backwards = direction == DIRECTION_DOWN || direction == DIRECTION_RIGHT;
  send(m_input.wheel(backwards ? negated(amount) : amount,
                     horizontal ? Qt::Horizontal : Qt::Vertical));
}

void LarkaBrowser::MouseWheel(int dx, int dy, int) {
  const QPointer<LarkaBrowser> self(this);
  send(m_input.wheel(dy, Qt::Vertical));
  if (self) send(m_input.wheel(dx, Qt::Horizontal));
}

// As on a keyboard, Escape ends the full screen of an element; the page gets no key then.
void LarkaBrowser::KeyDown(int key, int modifiers) {
  const QPointer<LarkaBrowser> self(this);
  const bool endsFullScreen = key == KEYCODE_ESCAPE && m_webView && !m_lists->isShown();
  if (endsFullScreen && leaveFullScreen()) return;
  if (self) send(m_input.key(QEvent::KeyPress, key, modifiers));
}

void LarkaBrowser::KeyUp(int key, int modifiers) {
  send(m_input.key(QEvent::KeyRelease, key, modifiers));
}

// Controls.

// Where nothing is hit, as while a page begins to arrive, QtWebKit leaves the pointer to the
// element uninitialised: the result can't be read, copied or destroyed then. Only its frame says
// so.
LarkaHTMLControl LarkaBrowser::HitTest(int x, int y) {
  if (!m_webView || mainFrame()->documentElement().isNull()) return LarkaHTMLControl();
  auto* hit = new QWebHitTestResult(mainFrame()->hitTestContent(QPoint(x, y)));
  if (!hit->frame()) return LarkaHTMLControl();
  const std::unique_ptr<QWebHitTestResult> owned(hit);
  return LarkaHTMLControl(new LarkaHTMLControlPrivate(*hit), true);
}

// The type attribute is ignored: hosts filter by LarkaHTMLControl::GetControlType.
std::vector<LarkaHTMLControl*> LarkaBrowser::GetControls(ControlType type) {
  std::vector<LarkaHTMLControl*> controls;
  std::string tag, inputType;
  if (!m_webView || !LarkaHTMLControl::ConvertLarkaTypeToQTagAndType(type, tag, inputType))
    return controls;
  const QWebElementCollection elements =
      page()->currentFrame()->findAllElements(QString::fromStdString(tag));
  for (const QWebElement& element : elements)
    controls.push_back(new LarkaHTMLControl(new LarkaHTMLControlPrivate(element), true));
  return controls;
}

// Focus.

bool LarkaBrowser::FocusNext() { return stepFocus(true); }

bool LarkaBrowser::FocusPrev() { return stepFocus(false); }

bool LarkaBrowser::stepFocus(bool next) {
  if (!m_webView) return false;
  const WebKitCall call(m_pageUse);
  return page()->focusNextPrevChild(next);
}

bool LarkaBrowser::moveFocus(Directions direction) {
  const WebKitCall call(m_pageUse);
  if (!m_lists->isShown()) return LARKA::moveFocus(page(), direction);
  if (direction == DIRECTION_DOWN) press(KEYCODE_DOWN);
  if (direction == DIRECTION_UP) press(KEYCODE_UP);
  return true;
}

bool LarkaBrowser::pressFocused() {
  const WebKitCall call(m_pageUse);
  const QWebElement focused = page()->currentFrame()->findFirstElement(QStringLiteral(":focus"));
  if (focused.isNull()) return false;
  const QString type = focused.attribute(QStringLiteral("type")).toLower();
  const bool isSwitch = focused.tagName().toLower() == QLatin1String("input") &&
                        (type == QLatin1String("checkbox") || type == QLatin1String("radio"));
  press(isSwitch ? KEYCODE_SPACE : KEYCODE_RETURN);
  return true;
}

bool LarkaBrowser::leaveFullScreen() {
  const WebKitCall call(m_pageUse);
  return page()->leaveFullScreen();
}

void LarkaBrowser::press(int key) {
  const QPointer<LarkaBrowser> self(this);
  KeyDown(key, 0);
  if (self) KeyUp(key, 0);
}

// The page image.

void LarkaBrowser::Resize(int width, int height) {
  if (!m_webView) return;
  const WebKitCall call(m_pageUse);
  m_webView->resize(QSizeF(width, height));
  if (m_webView) letPageAnimate(!m_webView->size().isEmpty());
  if (m_webView && m_frameTick) correctScreenSize(mainFrame(), m_webView->size().toSize());
}

void LarkaBrowser::setStyleSheet(const QByteArray& rules) {
  const WebKitCall call(m_pageUse);
  m_hostRules = rules;
  UserStyleSheet::of(page())->set(UserStyleSheet::HostRules, rules);
}

// Without a size nobody sees the page, and it needn't cost anything. QtWebKit then slows its timers
// down and stops its animation frames, but not the animations of style sheets.
void LarkaBrowser::letPageAnimate(bool animates) {
  const char kStill[] = "*,*:before,*:after{-webkit-animation-play-state:paused!important}";
  UserStyleSheet::of(page())->set(UserStyleSheet::StillnessRules, animates ? "" : kStill);
  page()->setVisibilityState(animates ? QWebPage::VisibilityStateVisible
                                      : QWebPage::VisibilityStateHidden);
}

void LarkaBrowser::SetGlobalSurface(char*) {
  warn(QStringLiteral("LarkaBrowser::SetGlobalSurface not supported when rendering to screen"));
}

void* LarkaBrowser::GetBrowserNativeHandle() {
  warn(QStringLiteral(
      "LarkaBrowser::GetBrowserNativeHandle when rendering to screen - unimplemented"));
  return nullptr;
}

int LarkaBrowser::GetBrowserStride() {
  const QImage* image = m_webView ? m_webView->hostImage() : nullptr;
  return image ? image->bytesPerLine() : 0;
}

unsigned char* LarkaBrowser::GetBrowserImage() {
  QImage* image = m_webView ? m_webView->hostImage() : nullptr;
  return image ? image->bits() : nullptr;
}

void LarkaBrowser::SaveBrowserImage(const char* path, int width, int height) {
  if (!m_webView) return;
  const WebKitCall call(m_pageUse);
  QImage image(page()->viewportSize(), QImage::Format_ARGB32);
  image.fill(Qt::white);
  {
    QPainter painter(&image);
    page()->currentFrame()->render(&painter);
  }
  const QImage thumbnail =
      image.scaled(width, height, Qt::KeepAspectRatio, Qt::SmoothTransformation);
  if (!thumbnail.save(QFile::decodeName(path), "jpg")) diagnose("Thumbnail save failure\n");
}

bool LarkaBrowser::refreshImage() {
  if (!m_webView || !webKitUse().isIdle()) return false;
  m_webView->mend();
  return true;
}

void LarkaBrowser::addRect(const QRect& rect) {
  if (m_webView) m_webView->AddRect(rect);
}

void LarkaBrowser::scrollRequested(int dx, int dy, const QRect& rect) {
  if (m_webView) m_webView->scrollBy(QPoint(dx, dy), rect);
}

void LarkaBrowser::repaintRequested(const QRect& rect) { notifyOnDirty(rect); }

void LarkaBrowser::notifyOnDirty(const QRect& rect) {
  if (!m_webView) return;
  // The event loop is turning anyway. The timer starts again, so that an animation isn't woken for
  // it.
  if (m_frameTick) m_frameTick->start();
  m_webView->countNotice();
  const QPointer<LarkaBrowser> self(this);
  m_listeners.notify([&](ILarkaCallbacks* listener) {
    listener->OnDirty(this);
    if (self) notifyOnPluginDirty(listener, rect);
  });
  if (self && m_webView) m_textInput->painted(m_webView->changedParts());
}

void LarkaBrowser::notifyOnPluginDirty(ILarkaCallbacks* listener, const QRect& rect) {
  const QPointer<LarkaBrowser> self(this);
  const std::vector<LarkaPluginWidget> plugins = m_plugins.all();
  for (LarkaPluginWidget plugin : plugins) {
    if (!self || !m_listeners.contains(listener)) return;  // it may be gone, having removed itself
    if (LarkaPluginWidgetPrivate::of(plugin)->paintedRect().intersects(rect))
      listener->OnPluginDirty(&plugin);
  }
}

void LarkaBrowser::renderToScreen() {
  if (m_webView) m_webView->BlitToScreen();
}

void LarkaBrowser::showFullscreen(const QWebElement& element, bool render) {
  m_fullScreenElement = element;
  if (m_lists) m_lists->close();
  if (m_webView) m_webView->SetFullScreenElement(element, render);
}

double LarkaBrowser::calculateFps() {
  const qint64 elapsed = m_frameClock.restart();
  m_smoothedFrameTime = 0.9 * m_smoothedFrameTime + (elapsed / 1000.0) * 0.1;
  return 1.0 / m_smoothedFrameTime;
}

void LarkaBrowser::tester() {
  static FrameRate frameRate("test-timer", 2, [](const char* line) { diagnose("%s", line); });
  frameRate.Frame();
}

// Kept for the contract: these do nothing.

void LarkaBrowser::Focus() {}
void LarkaBrowser::Invalidate() {}
void LarkaBrowser::SetConfig(const char*, const char*) {}
void LarkaBrowser::SetConfig(const char*, int) {}
void LarkaBrowser::SetConfig(const char*, bool) {}

// The inspector is the browser's child.
ILarkaBrowser* LarkaBrowser::LaunchInspector(bool show) {
  if (!m_webView) return nullptr;
  const WebKitCall call(m_pageUse);
  return new InspectorBrowser(page(), show, this);
}

}  // namespace LARKA
