// Hosts that bring an application of their own.
#include <QApplication>
#include <QPointer>
#include <QTimer>

#include "Host.h"
#include "larka/applicationSupportPath.h"

namespace {

class HostApplicationTest : public testing::Test {
 protected:
  HostApplicationTest() { qputenv("QT_QPA_PLATFORM", "offscreen"); }
  static QPointer<QObject> object(LARKA::ILarkaBrowser* browser) {
    return dynamic_cast<QObject*>(browser);
  }
  test::Host host;
  test::Recorder recorder;
  int none = 0;
};

TEST_F(HostApplicationTest, KeepsItsNameAndItsLoopAndMayEndFirst) {
  {
    QApplication application(none, nullptr);
    application.setApplicationName("TheHost");
    EXPECT_EQ(LARKA::applicationSupportPath("x").toStdString(), host.directory.file("TheHost/x"));
    EXPECT_TRUE(std::filesystem::is_directory(host.directory.file("TheHost")));
    host.manager->Initialize(0, nullptr);
    EXPECT_TRUE(QApplication::topLevelWidgets().isEmpty()) << "the view comes with a browser";
    LARKA::ILarkaBrowser* browser = host.createBrowser(&recorder);
    EXPECT_TRUE(host.load(browser, &recorder, "<body style='background:#654321'>"));
    QObject::connect(object(browser), &QObject::destroyed, &QApplication::quit);
    host.manager->DestroyBrowser(browser, false);
    application.exec();
  }
  host.manager = std::make_unique<LARKA::BrowserManager>();
  QCoreApplication application(none, nullptr);
  host.manager->Initialize(0, nullptr);
  EXPECT_EQ(host.manager->CreateBrowser(), nullptr) << "without widgets";
  host.manager->PumpEvents();
  host.manager->Shutdown(true);
}

// In a slot of its own loop the library's objects end in a pump, but neither the host's nor those
// of a page below.
TEST_F(HostApplicationTest, KeepsItsOwnObjectsWhenItPumpsFromOneOfTheirHandlers) {
  QApplication application(none, nullptr);
  host.manager->Initialize(0, nullptr);
  LARKA::ILarkaBrowser* running = host.createBrowser(&recorder);
  QPointer<QTimer> own = new QTimer;
  QObject::connect(own, &QTimer::timeout, [&] {
    LARKA::ILarkaBrowser* other = host.createBrowser(nullptr);
    const QPointer<QObject> ended = object(other);
    host.manager->DestroyBrowser(other, false);
    own->deleteLater();
    host.manager->PumpEvents();
    EXPECT_FALSE(own.isNull()) << "deleted underneath its own handler";
    EXPECT_TRUE(ended.isNull());
    running->ExecuteJavascript("alert(1)");
    application.quit();
  });
  own->start(0);
  recorder.onEvent = [&](const std::string& event) {
    if (event != "OnJavaScriptAlert 1") return;
    const QPointer<QObject> alive = object(running);
    host.manager->DestroyBrowser(running, false);
    host.manager->PumpEvents();
    EXPECT_FALSE(alive.isNull());
  };
  application.exec();
  EXPECT_EQ(recorder.count("OnJavaScriptAlert"), 1);
  host.manager->PumpEvents();
  host.manager->Shutdown(true);
}

}  // namespace
