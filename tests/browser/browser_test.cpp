// The smaller classes: the end of a load that QtWebKit forgets, a share in a cache, and what a host
// may use of its own accord.
#include <QMetaProperty>
#include <QNetworkDiskCache>
#include <QRect>
#include <QSignalSpy>

#include "Clock.h"
#include "Host.h"
#include "browser/LoadWatch.h"
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
  test::Clock::pass(9500);
  EXPECT_EQ(ended, 0) << "a request was running";
  busy = false;
  EXPECT_NEAR(test::Clock::passUntil([&] { return ended > 0; }), 3500, 510);
  EXPECT_FALSE(watch.end()) << "it ended twice";
  watch.begin();
  EXPECT_TRUE(watch.end());
  test::Clock::pass(9000);
  EXPECT_EQ(ended, 1);
}

TEST(CacheWrapperTest, ActsOnTheCacheThatItStandsForAndItsLimitWraps) {
  const test::TemporaryDirectory directory;
  QNetworkDiskCache cache;
  cache.setCacheDirectory(QString::fromStdString(directory.path()));
  LARKA::CacheWrapper wrapper(&cache);
  QNetworkCacheMetaData metaData;
  metaData.setUrl(QUrl("http://example.com/"));
  QIODevice* device = wrapper.prepare(metaData);
  device->write("content");
  wrapper.insert(device);
  EXPECT_TRUE(wrapper.cacheSize() > 0 && wrapper.cacheSize() == cache.cacheSize());
  metaData.setRawHeaders({{"X-New", "1"}});
  wrapper.updateMetaData(metaData);
  EXPECT_EQ(cache.metaData(metaData.url()).rawHeaders().value(0).first, "X-New");
  EXPECT_TRUE(wrapper.remove(metaData.url()));
  EXPECT_FALSE(cache.metaData(metaData.url()).isValid());
  for (const auto& [megabytes, bytes] :
       {std::pair(-1, 209715200LL), {50, 52428800LL}, {0, 0LL}, {2048, -2147483648LL}})
    EXPECT_EQ(LARKA::cacheLimit(megabytes), bytes);
}

TEST(SystemInfoTest, GivesTheRecordToScript) {
  for (const auto& [text, number] : {std::pair("720p", "720"),
                                     {nullptr, "0"},
                                     {"4294967297", "2147483647"},
                                     {"-99999999999999999999", "-2147483648"}}) {
    SystemInfoData info = {"1", "B\xe4r", "3.0", "V", text, text, "T", nullptr, "no"};
    const LarkaSystemInfoJavaScriptObject object(nullptr, &info), none(nullptr, nullptr);
    QString properties;
    for (int i = 1; i < object.metaObject()->propertyCount(); ++i) {
      const QMetaProperty property = object.metaObject()->property(i);
      properties += property.name() + ("=" + property.read(&object).toString()) + ' ';
      EXPECT_TRUE(property.isScriptable() && !property.isWritable());
    }
    EXPECT_EQ(properties, QString("serialnumber=1 productname=B\u00e4r firmwareversion=3.0 "
                                  "vendor=V resolution=%1 network=%1 techplatform=T "
                                  "secureSerialNumber= debug_free=no ")
                              .arg(number));
    EXPECT_TRUE(none.vendor().isNull());
  }
}

TEST(RepaintCollectorTest, TellsOnlyWhatIsNew) {
  RepaintCollector collector(nullptr);
  QSignalSpy changed(&collector, SIGNAL(changed()));
  for (const QRect& rect : {QRect(0, 0, 10, 10), QRect(2, 2, 3, 3), QRect(), QRect(5, 5, 10, 10)})
    QMetaObject::invokeMethod(&collector, "addRect", Q_ARG(QRect, rect));
  EXPECT_EQ(changed.count(), 2);
}

}  // namespace
