// SPDX-License-Identifier: MIT
#include "BrowserManagerQt.h"

#include <unistd.h>

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QGraphicsScene>
#include <QNetworkAccessManager>
#include <QNetworkCookieJar>
#include <QNetworkDiskCache>
#include <QNetworkProxyFactory>
#include <QPixmapCache>
#include <QStandardPaths>
#include <QThread>
#include <QTimer>
#include <QWebPage>
#include <QWebSettings>
#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "browser/LarkaBrowserQt.h"
#include "cookies/CookieJar.h"
#include "cookies/CookieKeeper.h"
#include "elements/SelectPopup.h"
#include "host/Destruction.h"
#include "host/Diagnostics.h"
#include "host/HostEvents.h"
#include "host/LarkaBrowserTimerQt.h"
#include "larka/BrowserManager.h"
#include "larka/LarkaWidget.h"
#include "larka/applicationSupportPath.h"
#include "network/NetworkAccessManager.h"
#include "paint/HiddenView.h"
#include "paint/LarkaStyle.h"
#include "paint/larkawebview.h"
#include "remote/RemoteBrowser.h"
#include "remote/RemoteManager.h"

namespace LARKA {

namespace {

const char kSourcePath[] = "src/BrowserManagerQt";
const int kViewWidth = 1280;
const int kViewHeight = 720;
const int kPixmapCacheKilobytes = 51200;

std::atomic<bool> g_running{false};

// Set when the process ends while a manager is still there, such as a global one. Qt may be gone by
// then.
bool g_processEnding = false;

// A manager that could no longer be destroyed: reachable, so that leak checkers accept it.
BrowserManagerPrivate* volatile g_leftToTheProcess = nullptr;

// In a host's own application or event loop its objects are its own business: it may be pumping
// from one of its event handlers.
bool g_applicationIsOurs = false;

bool pumpsDestroyEverything() {
  return g_applicationIsOurs && QThread::currentThread()->loopLevel() == 0;
}

void destroyWhenEngineIsIdle(BrowserManagerPrivate* manager) {
  whenIdle(webKitUse(), nullptr,
           [manager = QPointer<BrowserManagerPrivate>(manager)] { delete manager; });
}

void pumpOnce(QEventLoop::ProcessEventsFlags flags) {
  if (g_processEnding)
    QCoreApplication::processEvents(flags);
  else
    pump(flags, pumpsDestroyEverything());
}

/// Keeps QtWebKit from optimising script on 32-bit x86, unless the host has decided about it: there
/// a page's key listener wasn't called any more after some 200 keys. To be called before the first
/// page.
void avoidFaultyOptimiser() {
#ifdef __i386__
  setenv("JSC_useDFGJIT", "false", 0);
#endif
}

/// Slows down an event loop that spins. QtWebKit's timers fire up to a millisecond early, and again
/// at every turn of the loop until they are due: half of what a small animation costs.
class TurnBrake {
 public:
  TurnBrake() { m_turn.start(); }

  /// Call it after each turn. Sleeps if the last turns did next to nothing.
  void turned() {
    const qint64 kNothingNanoseconds = 60000;
    const int kTurnsInARow = 3;
    const useconds_t kSleepMicroseconds = 150;
    m_emptyTurns = m_turn.nsecsElapsed() < kNothingNanoseconds ? m_emptyTurns + 1 : 0;
    if (m_emptyTurns >= kTurnsInARow) usleep(kSleepMicroseconds);
    m_turn.start();
  }

 private:
  QElapsedTimer m_turn;
  int m_emptyTurns = 0;
};

}  // namespace

QString applicationSupportPath(const QString& name) {
  QString directory = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
  if (directory.isEmpty())
    directory = QDir::homePath() + QStringLiteral("/.") + QCoreApplication::applicationName();
  if (!QDir(directory).exists()) QDir().mkpath(directory);
  return directory + QLatin1Char('/') + name;
}

BrowserManagerPrivate::BrowserManagerPrivate() = default;

BrowserManagerPrivate::~BrowserManagerPrivate() {
  if (remote) {
    remote->end();
    return;
  }
  diagnose("----browser manager quitting\n");
  diagnose("---destroying scene\n");
  releaseLivingBrowsers();
  delete scene;
  diagnose("---destroying gfx view\n");
  delete view;
  diagnose("---quitting app\n");
}

// Otherwise the scene would delete their views, and their requests would go on using the shared
// jar.
void BrowserManagerPrivate::releaseLivingBrowsers() {
  if (scene) {
    for (QGraphicsItem* item : scene->items())
      if (qobject_cast<LarkaWebView*>(item->toGraphicsObject())) scene->removeItem(item);
  }
  for (const QPointer<QNetworkAccessManager>& manager : jarUsers)
    if (manager && manager->cookieJar() == cookieJar)
      manager->setCookieJar(new QNetworkCookieJar(manager));
}

void BrowserManagerPrivate::shareCookieJar(QNetworkAccessManager* manager) {
  manager->setCookieJar(cookieJar);
  // The network manager became its owner; it must not die with the first browser.
  cookieJar->setParent(this);
  diskCache->setParent(this);
  jarUsers.removeAll(QPointer<QNetworkAccessManager>());
  jarUsers.append(manager);
}

void BrowserManagerPrivate::createView() {
  if (viewCreated) return;
  viewCreated = true;
  scene = new QGraphicsScene;
  view = new HiddenView(scene);
  view->setOptimizationFlags(QGraphicsView::DontSavePainterState | QGraphicsView::IndirectPainting);
  view->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  view->setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing |
                       QPainter::SmoothPixmapTransform);
  view->setViewport(new LarkaWidget);
  view->setViewportUpdateMode(QGraphicsView::BoundingRectViewportUpdate);
  view->setWindowFlags(Qt::FramelessWindowHint);
  view->setStyleSheet(QStringLiteral("background: transparent"));
  view->showMinimized();
  view->setAttribute(Qt::WA_DontShowOnScreen, true);
  view->setFrameShape(QFrame::NoFrame);
  view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  view->resize(kViewWidth, kViewHeight);
  spareTheView();
}

// Nobody sees the view, and nothing is painted into it. So it draws no background, and the scene
// keeps no index of its few items, which would cost more than it saves. A host's application must
// not end because this seems to be its last window.
void BrowserManagerPrivate::spareTheView() {
  for (QWidget* widget : {static_cast<QWidget*>(view), view->viewport()}) {
    widget->setAttribute(Qt::WA_OpaquePaintEvent);
    widget->setAttribute(Qt::WA_NoSystemBackground);
  }
  view->setAttribute(Qt::WA_QuitOnClose, false);
  view->viewport()->setAutoFillBackground(false);
  scene->setItemIndexMethod(QGraphicsScene::NoIndex);
}

BrowserManager::BrowserManager() : d(new BrowserManagerPrivate) {}

// Without Qt's application the view and the scene can't be destroyed: the process is ending, or the
// host's application has deleted the widgets.
BrowserManager::~BrowserManager() {
  if (d && d->remote) {
    delete d;
    return;
  }
  if (d) g_running = false;
  const bool toolkitGone = g_processEnding || !QCoreApplication::instance();
  if (d && d->view && toolkitGone) {
    g_leftToTheProcess = d;
    return;
  }
  destroyWhenEngineIsIdle(d);
  if (!g_processEnding) carryOutDestructions(pumpsDestroyEverything());
}

void BrowserManager::Initialize(int argc, char** argv) {
  while (argc > 0 && !argv[argc - 1]) --argc;  // taken out for another manager
  const bool asksForProcess = RemoteManager::takeArgument("--engine-process", &argc, argv);
  if (RemoteManager::takeArgument("--keep-cookies", &argc, argv)) CookieKeeper::use();
  if (asksForProcess && d && !d->application && !d->remote)
    d->remote = std::make_shared<RemoteManager>(this);
  if (d && d->remote) return d->remote->initialize(argc, argv);
  g_running = true;
  if (!d) d = new BrowserManagerPrivate;
  avoidFaultyOptimiser();
  static const int registered = std::atexit([] {
    g_processEnding = true;
    CookieJar::endAll();
  });
  Q_UNUSED(registered)
  if (QCoreApplication::instance()) {
    d->application = qobject_cast<QApplication*>(QCoreApplication::instance());
  } else {
    static int applicationArgc = argc;
    d->application = new QApplication(applicationArgc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("LarkaBrowser"));
    d->applicationCreatedHere = true;
    g_applicationIsOurs = true;
    d->createView();
  }
  if (d->application) QApplication::setStyle(new LarkaStyle);
  SelectPopup::install();
  QNetworkProxyFactory::setUseSystemConfiguration(true);
  if (!d->cookieJar)
    d->cookieJar =
        new CookieJar(applicationSupportPath(QStringLiteral("cookies")), d, CookieJar::kWhenUsed);
  if (!d->diskCache) d->diskCache = new QNetworkDiskCache(d);
  d->diskCache->setCacheDirectory(applicationSupportPath(QStringLiteral("cache")));
  QPixmapCache::setCacheLimit(kPixmapCacheKilobytes);
}

void BrowserManager::Shutdown(bool immediate) {
  if (d && d->remote) return d->remote->shutDown(immediate);
  if (!diagnosticsUse().isIdle()) return;
  diagnose("browser manager shutdown (immediate %d)\n", immediate);
  whenIdle(webKitUse(), nullptr, [] { QWebSettings::clearMemoryCaches(); });
  if (immediate)
    destroyWhenEngineIsIdle(d);
  else if (d)
    destroyLater(d);
  d = nullptr;
  g_running = false;
  if (QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance())
    dispatcher->wakeUp();
}

ILarkaBrowser* BrowserManager::CreateBrowser() {
  if (d && d->remote) return d->remote->createBrowser();
  if (!d || !d->application || !d->cookieJar) return nullptr;
  if (!diagnosticsUse().isIdle()) return nullptr;
  d->createView();

  diagnose("\n%s::%s(%d)\tcalled\n\n", kSourcePath, "CreateBrowser", 138);
  fflush(stderr);
  auto* manager = new NetworkAccessManager(nullptr);
  d->shareCookieJar(manager);
  diagnose("\n%s::%s(%d)\tcreating LarkaBrowser\n\n", kSourcePath, "CreateBrowser", 154);
  fflush(stderr);
  auto* browser = new LarkaBrowser(manager, nullptr);
  manager->setParent(browser->webView()->page());
  d->scene->addItem(browser->webView());
  browser->webView()->setFocus(Qt::OtherFocusReason);
  return browser;
}

void BrowserManager::DestroyBrowser(ILarkaBrowser* browser, bool immediate) {
  if (auto* remote = remoteBrowser(browser))
    return RemoteManager::destroyBrowser(remote, immediate);
  const void* address = browser;
  diagnose("----destroying browser %p (immediate %d)\n", address, immediate);
  if (!browser) return;
  auto* larkaBrowser = dynamic_cast<LarkaBrowser*>(browser);
  if (!larkaBrowser) {  // an inspector, which belongs to its browser
    browser->Shutdown();
    return;
  }
  LarkaWebView* webView = larkaBrowser->webView();
  if (webView && webView->scene()) webView->scene()->removeItem(webView);
  // The diagnostics handler may be called by the browser's destructor.
  if (immediate && diagnosticsUse().isIdle()) {
    larkaBrowser->abandon();
    whenIdle(larkaBrowser->pageUse(), larkaBrowser, [larkaBrowser] { delete larkaBrowser; });
  } else {
    destroyLater(larkaBrowser);
  }
  diagnose("----destroying browser %p 4\n", address);
}

ITimer* BrowserManager::CreateTimer(TimerCallback callback, int intervalMilliseconds,
                                    bool singleShot, void* userData) {
  if (d && d->remote)
    return d->remote->createTimer(callback, intervalMilliseconds, singleShot, userData);
  return new BrowserTimerQT(callback, intervalMilliseconds, singleShot, userData);
}

void BrowserManager::DisposeTimer(ITimer* timer) {
  if (d && d->remote && d->remote->disposeTimer(timer)) return;
  if (timer) QTimer::singleShot(0, static_cast<BrowserTimerQT*>(timer), SLOT(Dispose()));
}

void BrowserManager::PumpEvents() {
  if (d && d->remote) return d->remote->pumpEvents();
  if (leaveQuestionUse().isIdle()) pumpOnce(QEventLoop::AllEvents);
}

// Any event ends the wait, so that animations run at their full rate. Shutdown ends it too.
void BrowserManager::RunEventLoop() {
  if (d && d->remote) return d->remote->runEventLoop();
  if (!diagnosticsUse().isIdle()) return;
  if (d && d->view) d->view->setVisible(true);
  TurnBrake brake;
  while (g_running) {
    pumpOnce(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    brake.turned();
  }
}

}  // namespace LARKA
