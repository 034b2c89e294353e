// What becomes of a host whose engine process hangs or ends.
#include "Host.h"

namespace {

using namespace LARKA;

/// A listener that also writes down what becomes of the process.
struct Watcher : test::Recorder {
  std::string states;  // a digit each
  void OnEngineState(ILarkaBrowser*, EngineState state) override {
    states += std::to_string(state);
  }
};

class EngineProcessTest : public testing::Test {
 protected:
  void SetUp() override {
    setenv("LARKA_TEST_ENGINE", "1", 1);
    host.initialize();
    settings.answerLimit = 300;
    SetEngineSettings(settings);
    browser = host.createBrowser(&watcher, 300, 200, true);
    AddExtraListener(browser, &watcher);
    ASSERT_TRUE(host.load(browser, &watcher, kPage));
  }
  void TearDown() override {
    host.manager->DestroyBrowser(browser, true);
    host.manager->Shutdown(true);
    SetEngineSettings(EngineSettings());
  }
  bool comesTo(const std::string& states) {
    return host.pumpUntil([&] { return watcher.states == states; }) ||
           (ADD_FAILURE() << watcher.states, false);
  }
  std::string eval(const char* script) { return EvaluateScript(browser, script).json; }

  const char* const kPage =
      "<title>Page</title><body style='background:#00ff00'><script>function busy(t)"
      "{for(t+=Date.now();Date.now()<t;);larka.exec('over')}</script>";
  test::Host host;
  Watcher watcher;
  EngineSettings settings;
  ILarkaBrowser* browser = nullptr;
};

TEST_F(EngineProcessTest, ASilentOneHoldsNobodyAndCatchesUp) {
  browser->ExecuteJavascript("setTimeout('busy(1500)', 0)");
  host.pumpFor(50);
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 1000; ++i) {
    EXPECT_EQ(browser->GetTitle(), "");
    host.manager->PumpEvents();
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1200));
  browser->Resize(100, 90);
  EXPECT_TRUE(SetStyleSheet(browser, "p { color: red }"));
  EXPECT_TRUE(comesTo("10"));
  EXPECT_EQ(browser->GetTitle() + std::to_string(browser->GetWidth()), "Page100");
  EXPECT_EQ(watcher.count("OnExecuteInLarka over"), 1);
  settings.endAfter = 200;
  SetEngineSettings(settings);
  watcher.states.clear();
  browser->ExecuteJavascript("for(;;);");
  EXPECT_TRUE(comesTo("120"));
}

TEST_F(EngineProcessTest, AnotherOneTakesThePlaceOfOneThatEnds) {
  browser->SetZoomLevel(50);
  browser->SetUserAgent("agent");
  SetDocumentScript(browser, "var atStart = 1");
  SetStyleSheet(browser, "body { margin: 7px }");
  const std::vector<LarkaHTMLControl*> none = browser->GetControls(CONTROL_DIV);
  LarkaHTMLControl control = browser->HitTest(5, 5);
  const unsigned char* image = browser->GetBrowserImage();
  for (const char* states : {"20", "2020", "20203"}) {
    watcher.events.clear();
    browser->Navigate("http://127.0.0.1:1/never");
    EXPECT_TRUE(EndEngine(host.manager.get()));
    EXPECT_EQ(test::pixel(browser, 9, 9), 0xff00ff00) << "the last image";
    EXPECT_EQ(browser->GetBrowserImage(), image);
    EXPECT_EQ(control.GetControlType(), CONTROL_UNKNOWN);
    browser->Navigate(host.directory.write("again.html", kPage).c_str());
    ASSERT_TRUE(comesTo(states));
    EXPECT_GE(watcher.count("OnLoadFinished false"), 1);
    if (std::string(states) == "20203") break;
    EXPECT_TRUE(host.pumpUntil([&] { return browser->GetTitle() == "Page"; }));
    host.settle(watcher);
    EXPECT_EQ(eval("[navigator.userAgent, atStart, getComputedStyle(document.body).margin]"),
              "[\"agent\",1,\"7px\"]");
    EXPECT_EQ(browser->GetZoomLevel(), 50);
  }
  EXPECT_EQ(browser->GetTitle(), "");
  EXPECT_TRUE(RestartEngine(host.manager.get()));
  EXPECT_TRUE(host.pumpUntil([&] { return browser->GetTitle() == "Page"; }))
      << "it is loaded again";
}

}  // namespace
