// The smaller objects: style, frame counter, repaint collector, data directory, slots.
#include <QApplication>
#include <QGraphicsView>
#include <QMetaMethod>
#include <QPixmapCache>
#include <QProxyStyle>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTimer>
#include <QWebPage>
#include <QWebSettings>

#include "BrowserManagerQt.h"
#include "FrameRate.h"
#include "Host.h"
#include "LarkaBrowserQt.h"
#include "LarkaStyle.h"
#include "larka/LarkaWidget.h"
#include "larka/applicationSupportPath.h"
#include "larkawebview.h"

namespace {

using test::pixel;

class ObjectsTest : public test::BrowserTest {
 protected:
  LARKA::LarkaBrowser* larka() { return static_cast<LARKA::LarkaBrowser*>(browser); }
};

TEST_F(ObjectsTest, TheStyleHasThinScrollBarsAndIsOtherwiseItsBase) {
  auto* style = qobject_cast<LarkaStyle*>(QApplication::style());
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
  QMetaObject::invokeMethod(larka(), "linkHovered", Q_ARG(QString, "x"), Q_ARG(QString, ""),
                            Q_ARG(QString, ""));
  QMetaObject::invokeMethod(larka(), "linkHovered", Q_ARG(QString, ""), Q_ARG(QString, "t"),
                            Q_ARG(QString, "t"));
  const std::vector<std::string> expected = {"OnStatusBarMessage Zeit: \xc3\xbc",
                                             "OnPrintRequested",
                                             "OnGeometryChangeRequested 70x80",
                                             "OnDownloadRequested",
                                             "OnRequestError",
                                             "OnRequestError",
                                             "OnLinkHovered true",
                                             "OnLinkHovered false"};
  EXPECT_EQ(recorder.events, expected);
  EXPECT_EQ(second.count("OnDownloadRequested"), 0) << "the first had refused";
  EXPECT_EQ(second.events.size(), expected.size() - 1);
}

TEST(FrameRateTest, ReportsAfterMoreThanItsInterval) {
  testing::internal::CaptureStderr();
  FrameRate silent("silent", 0), loud("loud", 1);
  const time_t started = time(nullptr);
  while (time(nullptr) - started < 3) {
    silent.Frame();
    loud.Frame();
    usleep(20000);
  }
  const QString written = QString::fromStdString(testing::internal::GetCapturedStderr());
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
  EXPECT_NE(qobject_cast<LarkaStyle*>(QApplication::style()), nullptr);
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
  own->start(0);
  while (!pumped) QCoreApplication::processEvents();
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
