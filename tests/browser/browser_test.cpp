// The smaller classes: the end of a load that QtWebKit forgets, a share in a cache, and what a host
// may use of its own accord.
#include "browser/LarkaBrowserQt.h"

#include <QMetaProperty>
#include <QNetworkDiskCache>
#include <QSignalSpy>

#include "Clock.h"
#include "Host.h"
#include "larka/LarkaSystemInfoJavaScriptObject.h"
#include "larka/RepaintCollector.h"
#include "larka/SystemInfoData.h"
#include "network/CacheWrapper.h"

namespace {

TEST(LoadWatchTest, EndsALoadOnceNothingHasGoneOnForAWhile) {
  int count = 0, ended = 0;
  QCoreApplication application(count, nullptr);
  test::Clock::stop();
  bool busy = true;
  LARKA::LoadWatch watch([&] { return busy; }, [&] { ++ended; });
  watch.begin();
  test::Clock::pass(4100);
  EXPECT_EQ(ended, 0) << "a request was running";
  busy = false;
  EXPECT_NEAR(test::Clock::passUntil([&] { return ended > 0; }), 3500, 510);
  EXPECT_FALSE(watch.end()) << "it ended twice";
  watch.begin();
  EXPECT_TRUE(watch.end());
  test::Clock::pass(4100);
  EXPECT_EQ(ended, 1);
}

TEST(CacheWrapperTest, ActsOnTheCacheThatItStandsForAndItsLimitWraps) {
  const test::TemporaryDirectory directory;
  QNetworkDiskCache cache;
  cache.setCacheDirectory(QString::fromStdString(directory.path()));
  LARKA::CacheWrapper wrapper(&cache);
  QNetworkCacheMetaData metaData;
  metaData.setUrl(QUrl("http://example.com/"));
  wrapper.insert(wrapper.prepare(metaData));
  EXPECT_TRUE(wrapper.cacheSize() > 0 && wrapper.cacheSize() == cache.cacheSize());
  metaData.setRawHeaders({{"X-New", "1"}});
  wrapper.updateMetaData(metaData);
  EXPECT_EQ(cache.metaData(metaData.url()).rawHeaders().value(0).first, "X-New");
  EXPECT_TRUE(wrapper.remove(metaData.url()));
  EXPECT_FALSE(cache.metaData(metaData.url()).isValid());
  for (const auto& [megabytes, bytes] : {std::pair(-1, 209715200LL), {2048, -2147483648LL}})
    EXPECT_EQ(LARKA::cacheLimit(megabytes), bytes);
}

TEST(SystemInfoTest, GivesTheRecordToScript) {
  for (const auto& [text, number] : {std::pair("720p", "720"),
                                     {"4294967297", "2147483647"},
                                     {"-99999999999999999999", "-2147483648"}}) {
    SystemInfoData info = {"1", "B\xe4r", "3.0", "V", text, text, "T", nullptr, "no"};
    const LarkaSystemInfoJavaScriptObject object(nullptr, &info);
    QString properties;
    for (int i = 1; i < object.metaObject()->propertyCount(); ++i) {
      const QMetaProperty property = object.metaObject()->property(i);
      properties += property.name() + ("=" + property.read(&object).toString()) + ' ';
    }
    EXPECT_EQ(properties, QString("serialnumber=1 productname=B\u00e4r firmwareversion=3.0 "
                                  "vendor=V resolution=%1 network=%1 techplatform=T "
                                  "secureSerialNumber= debug_free=no ")
                              .arg(number));
  }
}

TEST(RepaintCollectorTest, TellsOnlyWhatIsNew) {
  RepaintCollector collector(nullptr);
  QSignalSpy changed(&collector, SIGNAL(changed()));
  for (const QRect& rect : {QRect(0, 0, 10, 10), QRect(2, 2, 3, 3), QRect(), QRect(5, 5, 10, 10)})
    QMetaObject::invokeMethod(&collector, "addRect", Q_ARG(QRect, rect));
  EXPECT_EQ(changed.count(), 2);
}

TEST(BrowserTest, KeepsItsSlotsInTheirOrder) {
  const QMetaObject& meta = LARKA::LarkaBrowser::staticMetaObject;
  QByteArray slots_;
  for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
    slots_ += (meta.method(i).access() == QMetaMethod::Public ? "+" : " ") +
              meta.method(i).methodSignature();
  EXPECT_EQ(slots_,
            "+executeInLarka(QString)+executeMediaAction(QString)+tester()+notifyOnDirty(QRect)"
            "+invalidateRect(QRect)+addRect(QRect) contentsChanged()"
            " databaseQuotaExceeded(QWebFrame*,QString) downloadRequested(QNetworkRequest)"
            " frameCreated(QWebFrame*) geometryChangeRequested(QRect) linkClicked(QUrl)"
            " linkHovered(QString,QString,QString) loadFinished(bool) loadProgress(int)"
            " loadStarted() menuBarVisibilityChangeRequested(bool) microFocusChanged()"
            " printRequested(QWebFrame*) debugRepaintRequested(QRect)"
            " restoreFrameStateRequested(QWebFrame*)"
            " saveFrameStateRequested(QWebFrame*,QWebHistoryItem*) scrollRequested(int,int,QRect)"
            " selectionChanged() statusBarMessage(QString) statusBarVisibilityChangeRequested(bool)"
            " toolBarVisibilityChangeRequested(bool) unsupportedContent(QNetworkReply*)"
            " windowCloseRequested() renderToScreen() contentsSizeChanged(QSize) iconChanged()"
            " initialLayoutCompleted() javaScriptWindowObjectCleared() titleChanged(QString)"
            " urlChanged(QUrl) pluginCreated(QWebElement,void*) creatingRequest(QUrl)"
            " requestError() sslErrors() workaroundForPluginDrawingBug()"
            " repaintCollectorChanged()");
}

}  // namespace
