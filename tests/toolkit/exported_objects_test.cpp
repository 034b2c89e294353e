// The other classes of the toolkit's kind that the shared library exports.
#include <gtest/gtest.h>

#include <QMetaMethod>
#include <QMetaProperty>
#include <QSignalSpy>

#include "larka/LarkaSystemInfoJavaScriptObject.h"
#include "larka/RepaintCollector.h"
#include "larka/SystemInfoData.h"

namespace {

const char* const kProperties[] = {"serialnumber", "productname",        "firmwareversion",
                                   "vendor",       "resolution",         "network",
                                   "techplatform", "secureSerialNumber", "debug_free"};

TEST(SystemInfoTest, GivesTheRecordToScript) {
  SystemInfoData info = {"1", "B\xe4r", "3.0", "V", "720p", "x", "T", nullptr, "no"};
  QObject parent;
  LarkaSystemInfoJavaScriptObject object(&parent, &info);
  const char16_t* const kValues[] = {u"1", u"B\u00e4r", u"3.0", u"V", u"720",
                                     u"0", u"T",        u"",    u"no"};
  const QMetaObject* meta = object.metaObject();
  ASSERT_EQ(meta->propertyCount() - meta->propertyOffset(), 9);
  for (int i = 0; i < 9; ++i) {
    const QMetaProperty property = meta->property(meta->propertyOffset() + i);
    EXPECT_STREQ(property.name(), kProperties[i]);
    EXPECT_TRUE(property.isReadable() && property.isScriptable() && property.isStored() &&
                property.isDesignable() && !property.isWritable());
    EXPECT_EQ(property.read(&object).toString(), QString::fromUtf16(kValues[i])) << kProperties[i];
  }
  EXPECT_TRUE(object.secureSerialNumber().isNull());
  testing::internal::CaptureStderr();
  QMetaObject::invokeMethod(&object, "printDebug",
                            Q_ARG(QString, QString::fromUtf16(u"\u00e9\u20ac")));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "src/LarkaSystemInfoJavaScriptObject.cpp::printDebug(31) DEBUG:\t\u00e9\u20ac\n");
}

TEST(SystemInfoTest, NumbersStayWithin32Bits) {
  const std::pair<const char*, const char*> rows[] = {{"-7", "-7"},
                                                      {"4294967297", "2147483647"},
                                                      {"-4294967297", "-2147483648"},
                                                      {"99999999999999999999", "2147483647"},
                                                      {nullptr, "0"}};
  for (const auto& [text, expected] : rows) {
    SystemInfoData info = {"", "", "", "", text, text, "", "", ""};
    const LarkaSystemInfoJavaScriptObject object(nullptr, &info);
    EXPECT_EQ(object.resolution(), expected);
    EXPECT_EQ(object.network(), expected);
  }
}

TEST(SystemInfoTest, WithoutARecordSaysSoAndIsEmpty) {
  testing::internal::CaptureStderr();
  const LarkaSystemInfoJavaScriptObject object(nullptr, nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "src/LarkaSystemInfoJavaScriptObject.cpp::LarkaSystemInfoJavaScriptObject(12): error "
            "infoData = NULL!!!\n");
  EXPECT_TRUE(object.vendor().isNull());
}

TEST(RepaintCollectorTest, TellsOnlyWhatIsNew) {
  QObject parent;
  RepaintCollector collector(&parent);
  QSignalSpy changed(&collector, SIGNAL(changed()));
  for (const auto& [rect, count] : {std::pair(QRect(0, 0, 10, 10), 1),
                                    {QRect(2, 2, 3, 3), 1},
                                    {QRect(), 1},
                                    {QRect(5, 5, 10, 10), 2}}) {
    QMetaObject::invokeMethod(&collector, "addRect", Q_ARG(QRect, rect));
    EXPECT_EQ(changed.count(), count);
  }
}

}  // namespace
