// The life of the library, its browsers and its timers.
#include "Host.h"
#include "HttpServer.h"
#include "Operations.h"

namespace {

using LARKA::ILarkaBrowser;
using test::Recorder;

std::string diagnosticsOf(const std::function<void()>& action) {
  testing::internal::CaptureStderr();
  action();
  return testing::internal::GetCapturedStderr();
}

class ManagerTest : public testing::Test {
 protected:
  void pump(int times = 1) {
    for (int i = 0; i < times; ++i) host.manager->PumpEvents();
  }
  ILarkaBrowser* create() { return browser = host.createBrowser(&recorder); }
  void destroy(ILarkaBrowser* which, bool now) { host.manager->DestroyBrowser(which, now); }

  test::Host host;
  Recorder recorder;
  ILarkaBrowser* browser = nullptr;
};

TEST_F(ManagerTest, WritesItsDiagnosticsInTheirFixedForm) {
  host.initialize();
  std::string written = diagnosticsOf([&] {
    browser = host.manager->CreateBrowser();
    destroy(browser, true);
    destroy(nullptr, false);
    host.manager->Shutdown(true);
  });
  char address[32];
  snprintf(address, sizeof(address), "%p", static_cast<void*>(browser));
  for (size_t at; (at = written.find(address)) != std::string::npos;)
    written.replace(at, strlen(address), "BROWSER");
  EXPECT_EQ(written, R"(
src/BrowserManagerQt::CreateBrowser(138)	called


src/BrowserManagerQt::CreateBrowser(154)	creating LarkaBrowser

----destroying browser BROWSER (immediate 1)
----browser quitting
----destroying webview
----destroying browser BROWSER 4
----destroying browser (nil) (immediate 0)
browser manager shutdown (immediate 1)
----browser manager quitting
---destroying scene
---destroying gfx view
---quitting app
)");
}

// One life after the other, in one process: what is done, and what is destroyed meanwhile: browsers
// ("b"), their views ("w") and the manager ("m").
TEST_F(ManagerTest, DestroysEverythingOnceAndInItsTime) {
  const char title[] = "data:text/html,<title>x</title>";
  // Destroys the browser in an event, which pumps.
  const auto in = [&](const char* event, const std::function<void()>& cause) {
    Recorder listener;
    bool done = false;
    browser = host.createBrowser(&listener);
    listener.onEvent = [&](const std::string& heard) {
      if (done || heard != event) return;
      done = true;
      destroy(browser, false);
      pump(5);
      EXPECT_EQ(browser->GetWidth(), 640);
      fprintf(stderr, "|\n");
    };
    cause();
    EXPECT_TRUE(host.pumpUntil([&] { return done; }));
    pump(5);
  };
  std::map<std::string, std::function<void()>> words = {
      {"|", [] { fprintf(stderr, "|\n"); }},
      {"init", [&] { host.initialize(); }},
      {"load", [&] { EXPECT_TRUE(host.visit(create(), &recorder, title)); }},
      {"cookies",
       [&] {
         const char page[] =
             "<script>function c(){document.cookie='a='+Math.random()}"
             "setInterval(c,1);onunload=c</script>";
         EXPECT_TRUE(host.load(create(), &recorder, page));
       }},
      {"fetch", [&] { create()->Navigate(test::HttpServer().url("/").c_str()); }},
      {"none", [&] { EXPECT_EQ(host.manager->CreateBrowser(), nullptr); }},
      {"end",
       [&] {
         browser->Shutdown();
         EXPECT_EQ(test::answersOf(browser), "");
       }},
      {"script", [&] { browser->ExecuteJavascript("document.cookie=\"a=1\""); }},
      {"now", [&] { destroy(browser, true); }},
      {"later", [&] { destroy(browser, false); }},
      {"pump", [&] { pump(); }},
      {"wait", [&] { host.pumpFor(30); }},
      {"run", [&] { host.manager->RunEventLoop(); }},
      {"stop-in-timer",
       [&] {
         const auto stop = [](LARKA::ITimer* timer, void* manager) {
           static_cast<LARKA::BrowserManager*>(manager)->Shutdown(false);
           static_cast<LARKA::BrowserManager*>(manager)->DisposeTimer(timer);
         };
         host.manager->CreateTimer(stop, 30, true, host.manager.get())->Start();
       }},
      {"stop", [&] { host.manager->Shutdown(true); }},
      {"stop-later", [&] { host.manager->Shutdown(false); }},
      {"drop", [&] { host.manager.reset(); }},
      {"renew", [&] { host.manager = std::make_unique<LARKA::BrowserManager>(); }},
      {"in-alert",
       [&] { in("OnJavaScriptAlert 1", [&] { browser->ExecuteJavascript("alert(1)"); }); }},
      {"in-start", [&] { in("OnLoadStarted", [&] { browser->Navigate(title); }); }},
      {"in-paint", [&] { in("OnDirty", [&] { browser->Navigate(title); }); }},
  };
  const struct {
    const char *steps, *destroyed;
  } rows[] = {
      {"none pump run stop-later stop pump init load now | pump", "mbw|"},
      {"load later | pump", "|bw"},
      {"load end | pump now", "w|b"},
      {"in-alert | in-start | in-paint", "|bw||bw||bw"},
      {"stop-later | pump init stop-in-timer | run | pump", "|m|m|"},
      {"renew init stop-later | drop", "|m"},
      {"renew init load drop | renew now init load now stop", "m|bwbwm"},
      {"renew init load stop none stop script pump | now", "m|bw"},
      {"renew init fetch stop | later pump", "m|bw"},
      {"renew init cookies later stop wait", "mbw"},
      {"renew init cookies stop-later later wait", "mbw"},
  };
  for (const auto& [steps, destroyed] : rows) {
    std::istringstream written(diagnosticsOf([&] {
      std::istringstream script(steps);
      for (std::string word; script >> word;) words.at(word)();
    }));
    std::string order;
    for (std::string line; std::getline(written, line);)
      order += line == "|"                        ? "|"
               : line == "----browser quitting"   ? "b"
               : line == "----destroying webview" ? "w"
               : line == "---quitting app"        ? "m"
                                                  : "";
    EXPECT_EQ(order, destroyed) << steps;
  }
}

// A manager that outlives Qt, and what is kept without a shutdown.
TEST(ManagerDeathTest, AProcessMayEndAtAnyTime) {
  test::TemporaryDirectory directory;
  const std::string own = directory.file("own jar");
  EXPECT_EXIT(
      {
        static test::Host host;
        setenv("XDG_DATA_HOME", directory.path().c_str(), 1);
        host.initialize();
        host.createBrowser(nullptr)->InjectCookie("example.com", "shared", "1", 1000);
        ILarkaBrowser* browser = host.createBrowser(nullptr, 9, 9, false, nullptr, own.c_str());
        browser->InjectCookie("example.com", "own", "1", 1000);
        browser->InjectCookie("example.com", "session", "1", -1);
        exit(0);
      },
      testing::ExitedWithCode(0), "");
  std::string shared;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory.path()))
    if (entry.path().filename() == "cookies") shared = test::readFile(entry.path().string());
  EXPECT_NE(shared.find("shared=1"), std::string::npos);
  EXPECT_NE(test::readFile(own).find("own=1"), std::string::npos);
  EXPECT_EQ(test::readFile(own).find("session"), std::string::npos);
}

TEST_F(ManagerTest, TheEventLoopAnimatesAtFullRateUntilShutdown) {
  using Clock = std::chrono::steady_clock;
  host.initialize();
  std::vector<Clock::time_point> paints;
  const auto isFast = [&] {
    return paints.size() > 24 && paints.back() - paints.end()[-25] < std::chrono::milliseconds(550);
  };
  recorder.onEvent = [&](const std::string& event) {
    if (event != "OnDirty") return;
    paints.push_back(Clock::now());
    if (!isFast() && paints.size() < 300) return;
    recorder.onEvent = nullptr;
    host.manager->Shutdown(false);
  };
  create()->Navigate(
      "data:text/html,<canvas id=c></canvas><script>var g=c.getContext('2d'),n=0;"
      "setInterval(function(){g.fillStyle='hsl('+(n++%25360)+',60%25,40%25)';"
      "g.fillRect(0,0,200,200)},1000/60)</script>");
  host.manager->RunEventLoop();
  EXPECT_LT(Clock::now() - paints.back(), std::chrono::milliseconds(500));
#ifndef LARKA_SANITIZED
  EXPECT_TRUE(isFast()) << "no 44 paints a second";
#endif
  destroy(browser, true);
}

// Fifty at once, and again, and again.
TEST_F(ManagerTest, ManyBrowsersPaintAtOnceAndLeaveNoMemoryBehind) {
  const int kRounds = 4, kAtOnce = 50;
  host.initialize();
  testing::internal::CaptureStderr();
  double resident[kRounds];
  for (double& after : resident) {
    std::vector<Recorder> listeners(kAtOnce);
    std::vector<ILarkaBrowser*> browsers;
    for (Recorder& listener : listeners) {
      browsers.push_back(host.createBrowser(&listener, 640, 360));
      browsers.back()->Navigate("file://" LARKA_SOURCE_DIR "/share/demo/index.html");
    }
    for (int i = 0; i < kAtOnce; ++i) {
      EXPECT_TRUE(host.pumpUntil([&] { return listeners[i].ok && listeners[i].dirty; }));
      EXPECT_NE(browsers[i]->GetBrowserImage(), nullptr);
      destroy(browsers[i], i % 2 == 0);
    }
    // QtWebKit collects script's garbage when it finds the time, or to empty its caches.
    create()->ClearCache();
    destroy(browser, true);
    host.pumpFor(300);
    long total = 0, pages = 0;
    std::ifstream("/proc/self/statm") >> total >> pages;
    after = static_cast<double>(pages * sysconf(_SC_PAGESIZE)) / (1024 * 1024);
  }
  testing::internal::GetCapturedStderr();
  printf("resident: %.1f, %.1f, %.1f MiB\n", resident[0], resident[1], resident[3]);
#ifndef LARKA_SANITIZED
  // The caches fill once; what is left behind comes with every round.
  EXPECT_LT(std::min(resident[2] - resident[1], resident[3] - resident[2]), 2);
#endif
}

TEST_F(ManagerTest, TimersFireOnlyWhileTheyAreStarted) {
  host.initialize();
  struct Timer {
    test::Host* host;
    bool disposes = false;
    int fired = 0;
    LARKA::ITimer* timer = nullptr;
  } never{&host}, repeated{&host}, once{&host}, disposed{&host, true};
  const auto onTimer = [](LARKA::ITimer* self, void* data) {
    auto* timer = static_cast<Timer*>(data);
    ++timer->fired;
    if (!timer->disposes) return;
    self->Stop();
    timer->host->manager->DisposeTimer(self);
    timer->host->pumpFor(30);
    EXPECT_FALSE(self->IsSingleShot());
  };
  never.timer = host.manager->CreateTimer(onTimer, 1, false, &never);
  repeated.timer = host.manager->CreateTimer(onTimer, 5, false, &repeated);
  once.timer = host.manager->CreateTimer(onTimer, 1, true, &once);
  disposed.timer = host.manager->CreateTimer(onTimer, 20, false, &disposed);
  EXPECT_FALSE(repeated.timer->IsSingleShot());
  EXPECT_TRUE(once.timer->IsSingleShot());
  for (Timer* each : {&repeated, &once, &disposed}) each->timer->Start();
  repeated.timer->SetInterval(1000000);  // counts from the next start
  ASSERT_TRUE(host.pumpUntil([&] { return repeated.fired >= 5 && disposed.fired; }));
  EXPECT_EQ(never.fired, 0);
  EXPECT_EQ(once.fired, 1);
  once.timer->Start();
  repeated.timer->Start();
  const int before = repeated.fired;
  ASSERT_TRUE(host.pumpUntil([&] { return once.fired == 2; }));
  host.pumpFor(30);
  EXPECT_EQ(repeated.fired, before) << "the new interval was not taken";
  repeated.timer->SetInterval(5);
  repeated.timer->Start();
  repeated.timer->Stop();
  host.pumpFor(30);
  EXPECT_EQ(repeated.fired, before) << "it was not stopped";
  EXPECT_EQ(disposed.fired, 1);
  for (Timer* each : {&never, &repeated, &once}) host.manager->DisposeTimer(each->timer);
  pump(5);
}

}  // namespace
