// The smaller objects: style, frame counter, repaint collector, data directory, slots.
#include <QApplication>
#include <QGraphicsScene>
#include <QGraphicsView>
#include <QImage>
#include <QMetaMethod>
#include <QNetworkDiskCache>
#include <QNetworkProxyFactory>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPixmap>
#include <QPixmapCache>
#include <QProxyStyle>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTimer>
#include <QWebPage>
#include <QWebSettings>
#include <climits>

#include "BrowserManagerQt.h"
#include "FrameRate.h"
#include "Host.h"
#include "bridge/LarkaJavaScriptObject.h"
#include "browser/LarkaBrowserQt.h"
#include "browser/LoadWatch.h"
#include "host/LarkaBrowserTimerQt.h"
#include "input/DoubleClick.h"
#include "larka/LarkaWidget.h"
#include "larka/applicationSupportPath.h"
#include "network/CacheWrapper.h"
#include "network/NetworkAccessManager.h"
#include "paint/LarkaStyle.h"
#include "paint/larkawebview.h"

namespace {

using test::pixel;

class ObjectsTest : public test::BrowserTest {
 protected:
  LARKA::LarkaBrowser* larka() { return static_cast<LARKA::LarkaBrowser*>(browser); }
};

TEST_F(ObjectsTest, TheStyleHasThinScrollBarsAndIsOtherwiseItsBase) {
  auto* style = qobject_cast<LARKA::LarkaStyle*>(QApplication::style());
  ASSERT_NE(style, nullptr);
  EXPECT_EQ(style->pixelMetric(QStyle::PM_ScrollBarExtent), 10);
  for (QStyle::PixelMetric metric : {QStyle::PM_ButtonMargin, QStyle::PM_ScrollBarSliderMin,
                                     QStyle::PM_IndicatorWidth, QStyle::PM_DefaultFrameWidth})
    EXPECT_EQ(style->pixelMetric(metric), style->baseStyle()->pixelMetric(metric));
}

TEST_F(ObjectsTest, TheBrowsersSlotsKeepTheirOrder) {
  const char* const slots_[] = {"executeInLarka(QString)",
                                "executeMediaAction(QString)",
                                "tester()",
                                "notifyOnDirty(QRect)",
                                "invalidateRect(QRect)",
                                "addRect(QRect)",
                                "contentsChanged()",
                                "databaseQuotaExceeded(QWebFrame*,QString)",
                                "downloadRequested(QNetworkRequest)",
                                "frameCreated(QWebFrame*)",
                                "geometryChangeRequested(QRect)",
                                "linkClicked(QUrl)",
                                "linkHovered(QString,QString,QString)",
                                "loadFinished(bool)",
                                "loadProgress(int)",
                                "loadStarted()",
                                "menuBarVisibilityChangeRequested(bool)",
                                "microFocusChanged()",
                                "printRequested(QWebFrame*)",
                                "debugRepaintRequested(QRect)",
                                "restoreFrameStateRequested(QWebFrame*)",
                                "saveFrameStateRequested(QWebFrame*,QWebHistoryItem*)",
                                "scrollRequested(int,int,QRect)",
                                "selectionChanged()",
                                "statusBarMessage(QString)",
                                "statusBarVisibilityChangeRequested(bool)",
                                "toolBarVisibilityChangeRequested(bool)",
                                "unsupportedContent(QNetworkReply*)",
                                "windowCloseRequested()",
                                "renderToScreen()",
                                "contentsSizeChanged(QSize)",
                                "iconChanged()",
                                "initialLayoutCompleted()",
                                "javaScriptWindowObjectCleared()",
                                "titleChanged(QString)",
                                "urlChanged(QUrl)",
                                "pluginCreated(QWebElement,void*)",
                                "creatingRequest(QUrl)",
                                "requestError()",
                                "sslErrors()",
                                "workaroundForPluginDrawingBug()",
                                "repaintCollectorChanged()"};
  const QMetaObject& meta = LARKA::LarkaBrowser::staticMetaObject;
  ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 42);
  for (int i = 0; i < 42; ++i) {
    const QMetaMethod method = meta.method(meta.methodOffset() + i);
    EXPECT_STREQ(method.methodSignature().constData(), slots_[i]) << i;
    EXPECT_EQ(method.access(), i < 6 ? QMetaMethod::Public : QMetaMethod::Protected) << slots_[i];
  }

  // Those of the other objects of the toolkit's kind.
  const struct {
    const QMetaObject* meta;
    std::vector<const char*> methods;
  } kOthers[] = {
      {&LARKA::LarkaJavaScriptObject::staticMetaObject,
       {"executeInLarka(QString)", "executeMediaAction(QString)", "exec(QString)",
        "exec2(QString)"}},
      {&LARKA::LarkaWebView::staticMetaObject,
       {"dirty(QRect)", "AnimationFinished()", "LoadProgress(int)", "Update()"}},
      {&BrowserTimerQT::staticMetaObject, {"Fired()", "Dispose()"}},
  };
  for (const auto& other : kOthers)
    for (size_t i = 0; i < other.methods.size(); ++i)
      EXPECT_STREQ(other.meta->method(other.meta->methodOffset() + static_cast<int>(i))
                       .methodSignature()
                       .constData(),
                   other.methods[i]);
  EXPECT_TRUE(LARKA::LarkaJavaScriptObject(nullptr).exec2(QStringLiteral("x")).isNull());
}

TEST_F(ObjectsTest, ADoubleClickIsQuickAndAtOnePlace) {
  const int near = QApplication::startDragDistance() - 1, far = near + 1;
  const int interval = QApplication::doubleClickInterval();
  const struct {
    const char* name;
    int press, release, move, secondPress, time;
    bool isDouble;
  } rows[] = {{"in time and near", 0, near, near, near, interval, true},
              {"late", 0, 0, 0, 0, interval + 1, false},
              {"elsewhere", 0, 0, 0, far, 0, false},
              {"moved away meanwhile", 0, 0, far, 0, 0, false},
              {"dragged away", 0, far, 0, 0, 0, false},
              {"at the other end", INT_MIN, INT_MIN, INT_MIN, INT_MAX, 0, false}};
  LARKA::DoubleClick click;
  for (const auto& row : rows) {
    const int start = 1000 * static_cast<int>(&row - rows);
    const QPoint second(row.secondPress, 0);
    EXPECT_EQ(click.press(QPoint(row.press, 0), start), QEvent::MouseButtonPress) << row.name;
    click.release(QPoint(row.release, 0));
    click.move(QPoint(row.move, 0));
    EXPECT_EQ(click.press(second, start + row.time) == QEvent::MouseButtonDblClick, row.isDouble)
        << row.name;
    EXPECT_EQ(click.press(second, start + row.time), QEvent::MouseButtonPress) << "not released";
    click.release(second);
    EXPECT_EQ(click.press(second, start + row.time), QEvent::MouseButtonDblClick) << row.name;
    click.release(second);
    EXPECT_EQ(click.press(second, start + row.time), QEvent::MouseButtonPress) << "the third";
    click.release(second);
  }
}

// Hooks that do nothing and stay callable.
TEST_F(ObjectsTest, TheEmptySlotsDoNothing) {
  ASSERT_TRUE(load("<p>"));
  recorder.events.clear();
  const QMetaObject& meta = LARKA::LarkaBrowser::staticMetaObject;
  const int kEmpty[] = {4, 6, 7, 11, 16, 17, 19, 20, 21, 23, 25, 26, 27, 28, 30, 31, 32, 40, 41};
  QImage image;
  QPixmap pixmap;
  QRegion region;
  for (int slot : kEmpty) {
    QRect rect(1, 2, 3, 4);
    void* none = nullptr;
    QString text;
    QUrl url;
    bool on = true;
    QSize size;
    void* arguments[3] = {nullptr, nullptr, &none};
    const QByteArray signature = meta.method(meta.methodOffset() + slot).methodSignature();
    if (signature.contains("(QRect")) arguments[1] = &rect;
    if (signature.contains("*")) arguments[1] = &none;
    if (signature.contains(",QString")) arguments[2] = &text;
    if (signature.contains("(QUrl")) arguments[1] = &url;
    if (signature.contains("(bool")) arguments[1] = &on;
    if (signature.contains("(QSize")) arguments[1] = &size;
    larka()->qt_metacall(QMetaObject::InvokeMetaMethod, meta.methodOffset() + slot, arguments);
  }
  larka()->render(nullptr, QRect());
  larka()->scroll(image, 1, 2, QRect(), &region);
  larka()->scroll(pixmap, 1, 2, QRect(), &region);
  host.pumpFor(100);
  EXPECT_TRUE(recorder.events.empty());
  larka()->repaintRequested(QRect(1, 2, 3, 4));
  EXPECT_EQ(recorder.count("OnDirty"), 1) << "this one tells at once";
}

TEST_F(ObjectsTest, ThePagesAreSetUp) {
  QWebSettings* settings = larka()->webView()->settings();
  const std::pair<int, bool> kAttributes[] = {{1, true},  {3, true},   {15, true},
                                              {11, true}, {12, true},  {14, true},
                                              {13, true}, {20, false}, {17, false}};
  for (const auto& [attribute, on] : kAttributes)
    EXPECT_EQ(settings->testAttribute(static_cast<QWebSettings::WebAttribute>(attribute)), on)
        << attribute;
  larka()->SetAttribute(QWebSettings::JavascriptEnabled, false);
  EXPECT_TRUE(QWebSettings::globalSettings()->testAttribute(QWebSettings::JavascriptEnabled));
  ASSERT_TRUE(load("<title>a</title><script>document.title='b'</script>"));
  EXPECT_EQ(browser->GetTitle(), "a");
  EXPECT_EQ(QWebSettings::maximumPagesInCache(), 5);
  EXPECT_TRUE(QNetworkProxyFactory::usesSystemConfiguration());
  EXPECT_EQ(larka()->findChild<QTimer*>()->interval(), 33);
  EXPECT_EQ(QCoreApplication::applicationName(), QStringLiteral("LarkaBrowser"));
  auto* view = qobject_cast<QGraphicsView*>(larka()->webView()->scene()->views().value(0));
  EXPECT_NE(dynamic_cast<LARKA::LarkaWidget*>(view->viewport()), nullptr);

  auto* timer = static_cast<BrowserTimerQT*>(
      host.manager->CreateTimer([](LARKA::ITimer*, void*) {}, 1, true, this));
  EXPECT_EQ(timer->GetUserData(), this);
  host.manager->DisposeTimer(timer);
  host.pumpFor(20);

  double framesASecond = 0;
  for (int i = 0; i < 60; ++i) {
    framesASecond = larka()->calculateFps();
    usleep(10000);
  }
  EXPECT_GT(framesASecond, 20);
  EXPECT_LT(framesASecond, 110);
}

TEST(CacheWrapperTest, ActsOnTheCacheThatItStandsFor) {
  const test::TemporaryDirectory directory;
  QNetworkDiskCache cache;
  cache.setCacheDirectory(QString::fromStdString(directory.path()));
  LARKA::CacheWrapper wrapper(&cache);
  QNetworkCacheMetaData metaData;
  metaData.setUrl(QUrl(QStringLiteral("http://example.com/")));
  metaData.setSaveToDisk(true);
  QIODevice* device = wrapper.prepare(metaData);
  device->write("content");
  wrapper.insert(device);
  EXPECT_GT(wrapper.cacheSize(), 0);
  EXPECT_EQ(wrapper.cacheSize(), cache.cacheSize());
  metaData.setRawHeaders({{"X-New", "1"}});
  wrapper.updateMetaData(metaData);
  EXPECT_EQ(cache.metaData(metaData.url()).rawHeaders().value(0).first, "X-New");
  EXPECT_TRUE(wrapper.remove(metaData.url()));
  EXPECT_FALSE(cache.metaData(metaData.url()).isValid());
  const std::pair<int, qint64> limits[] = {
      {-1, 209715200}, {50, 52428800}, {0, 0}, {2048, -2147483648LL}};
  for (const auto& [megabytes, bytes] : limits) EXPECT_EQ(LARKA::cacheLimit(megabytes), bytes);
}

TEST(LoadWatchTest, EndsALoadOnceNothingHasGoneOnForAWhile) {
  static int count = 1;
  static char program[] = "test";
  static char* arguments[] = {program, nullptr};
  QCoreApplication application(count, arguments);
  bool busy = true;
  int ended = 0;
  LARKA::LoadWatch watch([&] { return busy; }, [&] { ++ended; }, 40);
  const auto turnFor = [](int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
  };
  watch.begin();
  turnFor(120);
  EXPECT_EQ(ended, 0) << "a request was running";
  busy = false;
  turnFor(200);
  EXPECT_EQ(ended, 1);
  EXPECT_FALSE(watch.end()) << "it ended twice";
  watch.begin();
  EXPECT_TRUE(watch.end());
  turnFor(120);
  EXPECT_EQ(ended, 1);
}

TEST(NetworkAccessManagerTest, TheSlotsForMaintainersWriteWhatArrives) {
  static int count = 3;
  static char program[] = "test", option[] = "-platform", offscreen[] = "offscreen";
  static char* arguments[] = {program, option, offscreen, nullptr};
  QApplication application(count, arguments);
  LARKA::NetworkAccessManager manager(nullptr);
  QNetworkReply* reply =
      manager.get(QNetworkRequest(QUrl(QStringLiteral("data:text/plain,12345"))));
  EXPECT_EQ(reply->readBufferSize(), 20971520);
  QObject::connect(reply, SIGNAL(downloadProgress(qint64, qint64)), &manager,
                   SLOT(onReplyProgress(qint64, qint64)));
  QObject::connect(reply, SIGNAL(finished()), &manager, SLOT(onReplyDone()));
  testing::internal::CaptureStderr();
  QSignalSpy finished(reply, SIGNAL(finished()));
  finished.wait(5000);
  const QString written = QString::fromStdString(testing::internal::GetCapturedStderr());
  for (const char* line :
       {"load progress data:text/plain,12345 \\(bytes loaded/total\\) 5/5 \\(at "
        "\\d\\d:\\d\\d:\\d\\d\\)\n",
        "finished loading data:text/plain,12345 \\(at \\d\\d:\\d\\d:\\d\\d\\)\n"})
    EXPECT_TRUE(QRegularExpression(QString::fromLatin1(line)).match(written).hasMatch())
        << written.toStdString();
}

// These reach listeners only when something invokes the slots; the library connects none of them.
TEST_F(ObjectsTest, SlotsThatNothingIsConnectedToReachTheListeners) {
  test::Recorder second;
  browser->AddListener(&second);
  recorder.events.clear();
  recorder.allowsDownload = false;
  QMetaObject::invokeMethod(larka(), "statusBarMessage",
                            Q_ARG(QString, QString::fromUtf8("Zeit: ü")));
  QMetaObject::invokeMethod(larka(), "printRequested", Q_ARG(QWebFrame*, nullptr));
  QMetaObject::invokeMethod(larka(), "geometryChangeRequested", Q_ARG(QRect, QRect(5, 6, 70, 80)));
  QMetaObject::invokeMethod(larka(), "downloadRequested",
                            Q_ARG(QNetworkRequest, QNetworkRequest()));
  QMetaObject::invokeMethod(larka(), "requestError");
  QMetaObject::invokeMethod(larka(), "sslErrors");
  QMetaObject::invokeMethod(larka()->webView()->page()->networkAccessManager(), "onRequestError");
  QMetaObject::invokeMethod(larka(), "linkHovered", Q_ARG(QString, "x"), Q_ARG(QString, ""),
                            Q_ARG(QString, ""));
  QMetaObject::invokeMethod(larka(), "linkHovered", Q_ARG(QString, ""), Q_ARG(QString, "t"),
                            Q_ARG(QString, "t"));
  host.manager->PumpEvents();  // the last ones come from inside QtWebKit
  const std::vector<std::string> expected = {"OnStatusBarMessage Zeit: \xc3\xbc",
                                             "OnPrintRequested",
                                             "OnGeometryChangeRequested 70x80",
                                             "OnDownloadRequested",
                                             "OnRequestError",
                                             "OnRequestError",
                                             "OnRequestError",
                                             "OnLinkHovered true",
                                             "OnLinkHovered false"};
  EXPECT_EQ(recorder.events, expected);
  EXPECT_EQ(second.count("OnDownloadRequested"), 0) << "the first had refused";
  EXPECT_EQ(second.events.size(), expected.size() - 1);
}

TEST_F(ObjectsTest, FramesAreReportedAfterMoreThanTheInterval) {
  QMetaObject::invokeMethod(larka(), "tester");
  testing::internal::CaptureStderr();
  LARKA::FrameRate silent("silent", 0), loud("loud", 1);
  const time_t started = time(nullptr);
  while (time(nullptr) - started < 3) {
    silent.Frame();
    loud.Frame();
    usleep(20000);
  }
  QMetaObject::invokeMethod(larka(), "tester");
  const QString written = QString::fromStdString(testing::internal::GetCapturedStderr());
  EXPECT_TRUE(written.contains(QStringLiteral("-----> test-timer() FPS: ")));
  EXPECT_TRUE(QRegularExpression(QStringLiteral("^-----> loud\\(\\) FPS: \\d+\\.\\d\\d\n"))
                  .match(written)
                  .hasMatch())
      << written.toStdString();
  EXPECT_EQ(written.count(QStringLiteral("silent")), 0);
}

class HostApplicationTest : public testing::Test {
 protected:
  static int viewCount() {
    int count = 0;
    for (QWidget* widget : QApplication::topLevelWidgets())
      count += qobject_cast<QGraphicsView*>(widget) != nullptr;
    return count;
  }
  test::Host host;
  int argc = 3;
  char program[5] = "host", option[10] = "-platform", offscreen[10] = "offscreen";
  char* argv[4] = {program, option, offscreen, nullptr};
};

TEST_F(HostApplicationTest, KeepsItsApplicationAndGetsItsViewWithTheFirstBrowser) {
  QApplication application(argc, argv);
  application.setApplicationName(QStringLiteral("TheHost"));
  host.manager->Initialize(0, nullptr);
  EXPECT_EQ(viewCount(), 0);
  EXPECT_EQ(application.applicationName(), QStringLiteral("TheHost"));
  EXPECT_NE(qobject_cast<LARKA::LarkaStyle*>(QApplication::style()), nullptr);
  EXPECT_EQ(QPixmapCache::cacheLimit(), 51200);
  const QString path = LARKA::applicationSupportPath(QStringLiteral("cookies"));
  EXPECT_TRUE(path.endsWith(QStringLiteral("/TheHost/cookies"))) << path.toStdString();
  EXPECT_TRUE(std::filesystem::is_directory(path.section('/', 0, -2).toStdString()));
  EXPECT_FALSE(std::filesystem::exists(path.toStdString()));

  test::Recorder recorder;
  LARKA::ILarkaBrowser* first = host.createBrowser(&recorder);
  LARKA::ILarkaBrowser* second = host.createBrowser(nullptr);
  EXPECT_EQ(viewCount(), 1);
  EXPECT_TRUE(host.load(first, &recorder, "<body style='background:#654321'>"));
  EXPECT_EQ(pixel(first, 600, 300), 0xff654321u);

  // A host that runs the toolkit's loop instead of pumping.
  QTimer::singleShot(0, [&] { host.manager->DestroyBrowser(first, false); });
  host.manager->DestroyBrowser(second, false);
  QPointer<QObject> alive = static_cast<LARKA::LarkaBrowser*>(second);
  QTimer::singleShot(50, &application, &QApplication::quit);
  application.exec();
  EXPECT_TRUE(alive.isNull());
  host.manager->Shutdown(true);
  host.manager.reset();
}

TEST_F(HostApplicationTest, KeepsItsOwnObjectsWhenItPumpsFromOneOfTheirHandlers) {
  QApplication application(argc, argv);
  host.manager->Initialize(0, nullptr);
  QPointer<QTimer> own = new QTimer;
  bool pumped = false;
  QObject::connect(own, &QTimer::timeout, [&] {
    own->deleteLater();
    host.manager->PumpEvents();
    EXPECT_FALSE(own.isNull()) << "deleted underneath its own handler";
    pumped = true;
  });
  own->setSingleShot(true);
  own->start(0);
  while (!pumped) QCoreApplication::processEvents();

  // In a slot of its own loop the library's objects end in a pump, but not those of a page below.
  test::Recorder recorder;
  LARKA::ILarkaBrowser *running = host.createBrowser(&recorder), *other = nullptr;
  QTimer::singleShot(0, &application, [&] {
    QPointer<QObject> ended = static_cast<LARKA::LarkaBrowser*>(host.createBrowser(nullptr));
    host.manager->DestroyBrowser(static_cast<LARKA::LarkaBrowser*>(ended.data()), false);
    host.manager->PumpEvents();
    EXPECT_TRUE(ended.isNull());
    running->ExecuteJavascript("alert(1)");
    application.quit();
  });
  recorder.onEvent = [&](const std::string& event) {
    if (event != "OnJavaScriptAlert 1") return;
    other = host.createBrowser(nullptr);
    host.manager->DestroyBrowser(other, false);
    host.manager->DestroyBrowser(running, false);
    host.manager->PumpEvents();
  };
  application.exec();
  EXPECT_EQ(recorder.count("OnJavaScriptAlert"), 1);
  host.manager->PumpEvents();
  host.manager->Shutdown(true);
}

TEST_F(HostApplicationTest, MayEndItsApplicationBeforeTheManager) {
  {
    QApplication application(argc, argv);
    host.manager->Initialize(0, nullptr);
    host.manager->DestroyBrowser(host.createBrowser(nullptr), true);
  }
  host.manager.reset();
}

TEST_F(HostApplicationTest, WithoutWidgetsGetsNoBrowserAndNoCrash) {
  QCoreApplication application(argc, argv);
  host.manager->Initialize(0, nullptr);
  EXPECT_EQ(host.manager->CreateBrowser(), nullptr);
  host.manager->PumpEvents();
  host.manager->Shutdown(true);
}

}  // namespace
