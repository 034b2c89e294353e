// The life of the library, its browsers and its timers.
#include <QRegularExpression>
#include <algorithm>

#include "Host.h"
#include "Operations.h"

namespace {

using LARKA::ILarkaBrowser;

class ManagerTest : public testing::Test {
 protected:
  void destroy(bool now) { host.manager->DestroyBrowser(browser, now); }

  test::Host host;
  test::Recorder recorder;
  ILarkaBrowser* browser = nullptr;
};

// On the standard error stream or, without the empty lines, to the host.
TEST_F(ManagerTest, WritesItsDiagnosticsInTheirFixedForm) {
  static std::string handed;
  const auto handler = [](const char* line, void* then) {
    handed += std::string(line) + "\n";
    (*static_cast<std::function<void()>*>(then))();
  };
  std::function<void()> nothing = [] {};
  // What a handler must not do. The browser is there until a line ends with " 4".
  std::function<void()> misuse = [&] {
    EXPECT_EQ(host.manager->CreateBrowser(), nullptr);
    if (browser && handed.find(" 4\n") == std::string::npos) {
      for (bool now : {true, false}) destroy(now);
      test::answersOf(browser, "Initialize Shutdown SetCacheParameters SaveBrowserImage");
    }
    host.manager->Shutdown(true);
    host.manager->RunEventLoop();
  };
  const struct {
    std::function<void()> prepare;
    bool hands, writes;
  } rows[] = {{[] {}, false, true},
              {[&] { LARKA::SetDiagnosticsHandler(handler, &nothing); }, true, false},
              {LARKA::SilenceDiagnostics, false, false},
              {[&] { LARKA::SetDiagnosticsHandler(handler, &misuse); }, true, true},
              {[] { LARKA::SetDiagnosticsHandler(nullptr, nullptr); }, false, true}};
  for (const auto& row : rows) {
    host.initialize();
    handed.clear();
    browser = nullptr;
    row.prepare();
    testing::internal::CaptureStderr();
    browser = host.manager->CreateBrowser();
    destroy(true);
    host.manager->DestroyBrowser(nullptr, false);
    host.manager->Shutdown(true);
    std::string written = testing::internal::GetCapturedStderr();
    std::ostringstream expected;
    expected << "\nsrc/BrowserManagerQt::CreateBrowser(138)\tcalled\n\n"
                "\nsrc/BrowserManagerQt::CreateBrowser(154)\tcreating LarkaBrowser\n\n"
             << "----destroying browser " << static_cast<void*>(browser) << " (immediate 1)\n"
             << "----browser quitting\n----destroying webview\n"
             << "----destroying browser " << static_cast<void*>(browser) << " 4\n"
             << "----destroying browser (nil) (immediate 0)\n"
                "browser manager shutdown (immediate 1)\n----browser manager quitting\n"
                "---destroying scene\n---destroying gfx view\n---quitting app\n";
    const auto isEmptyLine = [](char a, char b) { return a == '\n' && b == '\n'; };
    std::string lines = expected.str().substr(1), text = expected.str();
    lines.erase(std::unique(lines.begin(), lines.end(), isEmptyLine), lines.end());
    // From an engine process come its addresses, and no empty lines.
    if (test::hasEngineProcess()) {
      const QRegularExpression address("0x[0-9a-f]+");
      for (std::string* each : {&lines, &handed, &written})
        *each = QString::fromStdString(*each).replace(address, "browser").toStdString();
      text = lines;
    }
    EXPECT_EQ(handed, row.hands ? lines : "") << &row - rows;
    if (!row.hands || !row.writes) {  // else the lines of the handler's own calls
      EXPECT_EQ(written, row.writes ? text : "") << &row - rows;
    }
  }
}

// One life after the other, in one process: what is done, and what is destroyed meanwhile: browsers
// ("b"), their views ("w") and the manager ("m").
TEST_F(ManagerTest, DestroysEverythingOnceAndInItsTime) {
  const char page[] =
      "<script>function c(){document.cookie='a='+Math.random()}"
      "setInterval(c,1);onunload=c</script>";
  const auto stopInTimer = [](LARKA::ITimer* timer, void* manager) {
    static_cast<LARKA::BrowserManager*>(manager)->Shutdown(false);
    static_cast<LARKA::BrowserManager*>(manager)->DisposeTimer(timer);
  };
  std::map<std::string, std::function<void()>> words = {
      {"|", [] { fprintf(stderr, "|\n"); }},
      {"init", [&] { host.initialize(); }},
      {"load",
       [&] {
         EXPECT_TRUE(
             host.load(browser = host.createBrowser(&recorder, 9, 9, true), &recorder, page));
       }},
      {"none", [&] { EXPECT_EQ(host.manager->CreateBrowser(), nullptr); }},
      {"reload", [&] { browser->Reload(); }},
      {"end", [&] { browser->Shutdown(); }},
      {"empty", [&] { EXPECT_EQ(test::answersOf(browser), ""); }},
      {"now", [&] { destroy(true); }},
      {"during",
       [&] {
         recorder.onEvent = [&](const std::string&) {
           const auto once = std::exchange(recorder.onEvent, nullptr);
           for (const char* word : {"later", "pump", "|"}) words.at(word)();
         };
       }},
      {"later", [&] { destroy(false); }},
      {"pump", [&] { host.pumpFor(30); }},
      {"timer",
       [&] { host.manager->CreateTimer(stopInTimer, 30, true, host.manager.get())->Start(); }},
      {"run", [&] { host.manager->RunEventLoop(); }},
      {"stop", [&] { host.manager->Shutdown(true); }},
      {"stop-later", [&] { host.manager->Shutdown(false); }},
      {"drop", [&] { host.manager.reset(); }},
      {"renew", [&] { host.manager = std::make_unique<LARKA::BrowserManager>(); }},
  };
  const char* const rows[][2] = {
      {"none pump run stop-later stop pump init load now | pump", "mbw|"},
      {"load later | pump load end empty | pump now", "|bww|b"},
      {"stop-later | pump init timer | run | pump", "|m|m|"},
      {"renew init stop-later | drop", "|m"},
      {"renew init load drop | renew now init load now stop", "m|bwbwm"},
      {"renew init load stop none stop document.cookie=\"a=1\" pump | now", "m|bw"},
      {"renew init load later stop pump", "mbw"},
      {"renew init load during document.bgColor=1 pump pump pump pump", "|bw"},
      {"load during alert(1) pump", "|bw"},
      {"load during console.log(1) pump stop pump", "|bwm"},
      {"renew init load stop-later later pump", "mbw"},
      {"renew init load onunload=function(){larka.exec(1)} reload during end | pump stop", "w||bm"},
  };
  const std::map<std::string, std::string> letters = {{"|", "|"},
                                                      {"----browser quitting", "b"},
                                                      {"----destroying webview", "w"},
                                                      {"---quitting app", "m"}};
  for (const auto& [steps, destroyed] : rows) {
    testing::internal::CaptureStderr();
    std::istringstream script(steps);
    for (std::string word; script >> word;)
      words.count(word) ? words.at(word)() : void(browser->ExecuteJavascript(word.c_str()));
    std::istringstream written(testing::internal::GetCapturedStderr());
    std::string order;
    for (std::string line; std::getline(written, line);)
      if (letters.count(line)) order += letters.at(line);
    EXPECT_EQ(order, destroyed) << steps;
  }
}

// A manager that outlives Qt, and what is kept without a shutdown.
TEST(ManagerDeathTest, AProcessMayEndAtAnyTime) {
  test::TemporaryDirectory directory;
  const std::string own = directory.file("own jar");
  const auto live = [&] {
    static test::Host host;
    setenv("XDG_DATA_HOME", directory.path().c_str(), 1);
    host.initialize();
    host.createBrowser(nullptr)->InjectCookie("example.com", "shared", "1", 1000);
    ILarkaBrowser* browser = host.createBrowser(nullptr, 9, 9, false, nullptr, own.c_str());
    browser->InjectCookie("example.com", "own", "1", 1000);
    browser->InjectCookie("example.com", "session", "1", -1);
    exit(0);
  };
  EXPECT_EXIT(live(), testing::ExitedWithCode(0), "");
  EXPECT_EQ(system(("grep -rq shared=1 " + directory.path()).c_str()), 0);
  EXPECT_NE(test::readFile(own).find("own=1"), std::string::npos);
  EXPECT_EQ(test::readFile(own).find("session"), std::string::npos);
}

TEST_F(ManagerTest, TimersFireOnlyWhileTheyAreStarted) {
  host.initialize();
  int fired = 0, disposed = 0, once = 0;
  const auto count = [](LARKA::ITimer*, void* data) { ++*static_cast<int*>(data); };
  static test::Host* pumped = &host;
  const auto dispose = [](LARKA::ITimer* self, void* data) {
    ++*static_cast<int*>(data);
    pumped->manager->DisposeTimer(self);
    pumped->pumpFor(30);
    EXPECT_TRUE(self->IsSingleShot());
  };
  LARKA::ITimer* repeated = host.manager->CreateTimer(count, 5, false, &fired);
  LARKA::ITimer* single = host.manager->CreateTimer(dispose, 20, true, &disposed);
  LARKA::ITimer* another = host.manager->CreateTimer(count, 1, true, &once);
  host.pumpFor(30);
  EXPECT_EQ(fired + disposed, 0) << "before they are started";
  for (LARKA::ITimer* each : {repeated, single, another}) each->Start();
  repeated->SetInterval(1000000);  // counts from the next start
  ASSERT_TRUE(host.pumpUntil([&] { return fired >= 5 && disposed; }));
  repeated->Start();
  fired = 0;
  host.pumpFor(30);
  EXPECT_EQ(fired, 0) << "the new interval was not taken";
  repeated->SetInterval(5);
  repeated->Start();
  repeated->Stop();
  host.pumpFor(30);
  EXPECT_EQ(fired, 0) << "it was not stopped";
  EXPECT_TRUE(disposed == 1 && once == 1);
  repeated->Start();
  for (LARKA::ITimer* each : {repeated, another}) host.manager->DisposeTimer(each);
  host.pumpFor(30);
  EXPECT_EQ(fired, 0) << "it was not disposed of";
}

}  // namespace
