// The smaller classes: the end of a load that QtWebKit forgets, and what a host may use by itself.
#include "browser/LarkaBrowserQt.h"

#include <QKeyEvent>
#include <QtTest>
#include <QtWebKitWidgets>

#include "Clock.h"
#include "Host.h"
#include "Operations.h"
#include "inspector/InspectorBrowser.h"
#include "larka/LarkaSystemInfoJavaScriptObject.h"
#include "larka/RepaintCollector.h"
#include "network/CacheWrapper.h"
#include "network/CertificatePolicy.h"
#include "paint/larkawebview.h"

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

TEST(CertificatePolicyTest, RemembersWhatEachServerIsRefusedFor) {
  const std::tuple<QSslError::SslError, int, const char*> rows[] = {
      {QSslError::CertificateNotYetValid, LARKA::CERTIFICATE_NOT_YET_VALID, "is not valid yet"},
      {QSslError::CertificateRevoked, LARKA::CERTIFICATE_REVOKED, "was revoked"},
      {QSslError::UnableToGetLocalIssuerCertificate, LARKA::CERTIFICATE_UNKNOWN_ISSUER,
       "has an unknown issuer"},
      {QSslError::CertificateSignatureFailed, LARKA::CERTIFICATE_OTHER, "is not valid"}};
  LARKA::CertificatePolicy policy;
  policy.setChecks(true);
  const QUrl server("https://a.example"), same("https://a.example:443/x"),
      other("https://a.example:8443");
  for (const auto& [error, kind, text] : rows) {
    EXPECT_FALSE(policy.allows(server, QSslCertificate(), {QSslError(error)}));
    EXPECT_EQ(policy.refused(same).errors, kind);
    EXPECT_EQ(policy.refused(same).text().toStdString(), std::string("its certificate ") + text);
  }
  policy.accept(server, {});
  EXPECT_TRUE(policy.allows(same, QSslCertificate(), {QSslError(QSslError::CertificateRevoked)}));
  EXPECT_FALSE(policy.allows(other, QSslCertificate(), {QSslError(QSslError::CertificateRevoked)}));
}

TEST(HostTest, HasSomeClassesForItself) {
  QString values;
  SystemInfoData data = {"1",           "B\xe4r", "3",     "V\xe4", "4294967297p",
                         "-9999999999", "T",      nullptr, "n"};
  for (SystemInfoData* each : {&data, static_cast<SystemInfoData*>(nullptr)}) {
    const LarkaSystemInfoJavaScriptObject object(nullptr, each);
    for (int i = 1; i < 10; ++i)
      values += object.metaObject()->property(i).read(&object).toString() + ' ';
  }
  EXPECT_EQ(values, "1 Bär 3 Vä 2147483647 -2147483648 T  n     0 0    ");
  RepaintCollector collector(nullptr);
  QSignalSpy changed(&collector, SIGNAL(changed()));
  for (const int x : {0, 2, 9, 0}) collector.addRect(QRect(x, x, 5, 5 - x % 9));
  EXPECT_EQ(changed.count(), 3);
  EXPECT_EQ(LARKA::cacheLimit(-1), 209715200);
  std::string tag, type;
  LARKA::LarkaHTMLControl::ConvertLarkaTypeToQTagAndType(LARKA::CONTROL_RADIO, tag, type);
  EXPECT_EQ(tag + type, "inputradio");
}

class BrowserTest : public test::BrowserTest {
 protected:
  LARKA::LarkaBrowser* larka() { return static_cast<LARKA::LarkaBrowser*>(browser); }
};

TEST_F(BrowserTest, HasSlotsForHostsInTheirOrder) {
  const QMetaObject* meta = larka()->metaObject();
  QByteArray slots_;
  for (int i = meta->methodOffset(); i < meta->methodCount(); ++i)
    slots_ += (meta->method(i).access() == QMetaMethod::Public ? "+" : " ") +
              meta->method(i).methodSignature();
  EXPECT_EQ(qChecksum(slots_.data(), slots_.size()), 57763) << slots_.data();

  browser->AddListener(&recorder);
  QMetaObject::invokeMethod(larka(), "statusBarMessage", Q_ARG(QString, "x"));
  QMetaObject::invokeMethod(larka(), "printRequested", Q_ARG(QWebFrame*, nullptr));
  QMetaObject::invokeMethod(larka(), "geometryChangeRequested", Q_ARG(QRect, QRect(5, 6, 70, 80)));
  QMetaObject::invokeMethod(larka(), "downloadRequested", Q_ARG(QNetworkRequest, {}));
  QMetaObject::invokeMethod(larka(), "requestError");
  for (const char* event : {"OnStatusBarMessage x", "OnPrintRequested", "OnDownloadRequested",
                            "OnGeometryChangeRequested 70x80", "OnRequestError"})
    EXPECT_EQ(recorder.count(event), 2) << event;

  recorder.onEvent = [this](const std::string&) { script("console.log(1)"); };
  script("console.log(0)");
  host.manager->PumpEvents();  // ends, though each event causes another one
  recorder.onEvent = nullptr;
}

// QtWebKit forgets to end a load now and then, as when a page is reloaded while it arrives.
TEST_F(BrowserTest, ALoadEndsBeforeTheNextBeginsAndOnlyOnce) {
  for (const char* slot : {"loadStarted", "loadStarted"}) QMetaObject::invokeMethod(larka(), slot);
  for (bool ok : {true, false}) QMetaObject::invokeMethod(larka(), "loadFinished", Q_ARG(bool, ok));
  script("1");  // events are delivered before it returns
  const std::vector<std::string> expected = {"OnLoadStarted", "OnLoadFinished false",
                                             "OnLoadStarted", "OnLoadFinished true"};
  EXPECT_EQ(recorder.events, expected);
}

TEST_F(BrowserTest, ItsInspectorShowsThePageUntilItIsClosed) {
  const QWebPage* page = larka()->webView()->page();
  const auto extras = QWebSettings::DeveloperExtrasEnabled;
  auto* first = static_cast<LARKA::InspectorBrowser*>(browser->LaunchInspector(true));
  const QPointer<QWebInspector> widget = first->inspector();
  first->Resize(900, 500);
  EXPECT_TRUE(widget->page() == page && widget->size() == QSize(900, 500) && widget->isVisible());
  EXPECT_FALSE(widget->testAttribute(Qt::WA_QuitOnClose));
  EXPECT_EQ(test::answersOf(first, "Shutdown Resize"), "GetZoomLevel ");
  EXPECT_EQ(first->GetZoomLevel(), 1.0);
  LARKA::ILarkaBrowser* second = browser->LaunchInspector(false);
  const QPointer<LARKA::InspectorBrowser> object = static_cast<LARKA::InspectorBrowser*>(second);
  EXPECT_FALSE(object->inspector()->isVisible());
  first->Shutdown();
  EXPECT_TRUE(!widget && page->settings()->testAttribute(extras)) << "the other has taken it over";
  host.manager->DestroyBrowser(second, true);
  EXPECT_FALSE(page->settings()->testAttribute(extras));
  host.manager->DestroyBrowser(std::exchange(browser, nullptr), true);
  EXPECT_TRUE(object.isNull());
}

}  // namespace
