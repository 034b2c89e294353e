// What becomes of a host whose engine process hangs or ends.
#include <sys/syscall.h>

#include <QRegularExpression>

#include "Host.h"
#include "HttpServer.h"

namespace {

using namespace LARKA;

/// A listener that also writes down what becomes of the process.
struct Watcher : test::Recorder {
  std::string states;  // a digit each
  std::function<void(EngineState)> onState;
  void OnEngineState(ILarkaBrowser*, EngineState state) override {
    states += std::to_string(state);
    if (onState) onState(state);
  }
  void OnTextField(ILarkaBrowser*, const TextField& field) override {
    events.push_back("OnTextField " + std::to_string(field.kind));
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
  /// On a busy machine a process may be silent once more.
  bool comesTo(const std::string& states) {
    QString form = "^(10)*";
    for (const char state : states) form += state + QString("(10)*");
    const QRegularExpression expected(form + "$");
    return host.pumpUntil([&] { return expected.match(watcher.states.c_str()).hasMatch(); }) ||
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

TEST_F(EngineProcessTest, PaintsNothingBeforeItKnowsTheSize) {
  ILarkaBrowser* late = host.manager->CreateBrowser();
  late->AddListener(&watcher);
  usleep(50000);  // its event loop turns
  SetTransparent(late, false);
  usleep(50000);
  late->Initialize(100, 90, nullptr, nullptr, false, nullptr);
  EXPECT_TRUE(host.load(late, &watcher, kPage));
  EXPECT_EQ(GetImageSize(late).width, 100);
  host.manager->DestroyBrowser(late, true);
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

TEST_F(EngineProcessTest, WhatIsOpenIsClosedWithIt) {
  SetMediaHandedOver(browser, true);
  watcher.takesOver = true;
  const std::string page = host.directory.write(
      "open.html",
      "<title>Open</title><style>*{position:absolute;width:60px;height:20px}</style><video "
      "src=film>"
      "</video><input id=t style='top:40px'><select style='top:80px'><option>1</select>"
      "<input type=color style='top:120px'>");
  std::string ends;
  struct Opened {
    int y;
    const char *event, *closed;
  };
  for (const Opened& opened : {Opened{50, "OnTextField 1", "OnTextField 0"},
                               Opened{90, "OnListOpened", "OnListClosed true"},
                               Opened{130, "OnColorOpened", "OnColorClosed true"}}) {
    EXPECT_TRUE(host.load(browser, &watcher, "<title>Other"));
    browser->Navigate(page.c_str());
    ASSERT_TRUE(host.pumpUntil([&] { return watcher.count("OnMediaRequest  1") == 1; }));
    host.settle(watcher);
    browser->MouseClick(9, opened.y, 0);
    EXPECT_TRUE(host.pumpUntil([&] { return watcher.count(opened.event) == 1; })) << opened.event;
    watcher.events.clear();
    EXPECT_TRUE(EndEngine(host.manager.get()));
    ASSERT_TRUE(comesTo(ends += ends.size() < 4 ? "20" : "3"));
    const std::vector<std::string> ended = {opened.closed, "OnMediaRequest  7 0"};
    EXPECT_EQ(watcher.events, ended);
  }
}

TEST_F(EngineProcessTest, TheImageKeepsItsSizeAndAHandleItsPeace) {
  LarkaPluginWidget plugin;
  ASSERT_TRUE(host.load(browser, &watcher, "<embed type='video/mp4'>"));
  ASSERT_EQ(watcher.plugins.size(), 1);
  plugin = watcher.plugins[0];
  const unsigned char* image = browser->GetBrowserImage();
  browser->Resize(100, 90);
  EXPECT_TRUE(EndEngine(host.manager.get()));
  EXPECT_EQ(plugin.ExecuteJS("1"), "");
  EXPECT_EQ(LarkaPluginWidget().ExecuteJS("1"), "");
  EXPECT_TRUE(host.pumpUntil([&] { return browser->GetWidth() == 100; }));
  host.settle(watcher);
  EXPECT_EQ(browser->GetBrowserImage(), image);
  EXPECT_EQ(GetImageSize(browser).width, 300);
  EXPECT_EQ(browser->GetWidth(), 100);
}

TEST_F(EngineProcessTest, EachBrowserHearsEverythingInOrder) {
  Watcher second;
  ILarkaBrowser* other = host.createBrowser(&second, 300, 200, true);
  AddExtraListener(other, &second);
  watcher.onState = [&](EngineState state) {
    if (state == ENGINE_ENDED) host.pumpFor(1000);
  };
  EXPECT_TRUE(EndEngine(host.manager.get()));
  EXPECT_TRUE(host.pumpUntil([&] { return second.states.size() >= 2; }));
  EXPECT_EQ(second.states, "20");
  watcher.onState = nullptr;
  EndEngine(host.manager.get());
  EndEngine(host.manager.get());
  EXPECT_TRUE(host.pumpUntil([&] { return second.states.back() == '3'; }));
  second.events.clear();
  other->Navigate("about:blank");
  EXPECT_TRUE(host.pumpUntil([&] { return second.count("OnLoadFinished false") == 1; }));
  host.manager->DestroyBrowser(other, true);
}

TEST_F(EngineProcessTest, AnAnswerThatIsTooLongIsNone) {
  EXPECT_EQ(eval("Array(70 << 20).join('x')"), "");
  EXPECT_TRUE(host.pumpUntil([&] { return eval("1") == "1"; }));
  EXPECT_EQ(watcher.states.find('2'), std::string::npos);
}

TEST_F(EngineProcessTest, KeepsCookiesOfAPageThatHangs) {
  test::HttpServer server;
  server.page("/page", "<title>Here</title>");
  const auto isHere = [&] { return browser->GetTitle() == "Here"; };
  browser->Navigate(server.url("/page").c_str());
  EXPECT_TRUE(host.pumpUntil(isHere));
  browser->ExecuteJavascript("document.cookie = 'kept=1'; setTimeout('for (;;);', 0)");
  host.pumpFor(2000);
  EXPECT_TRUE(EndEngine(host.manager.get()));
  EXPECT_TRUE(host.pumpUntil(isHere));
  EXPECT_EQ(browser->ReadCookie("kept"), "1");
}

#ifdef LARKA_ATTEMPTS
TEST(LockedDownTest, AProcessThatAPageHasTakenOverGetsNoFurther) {
  const test::TemporaryDirectory outside;
  outside.write("file", "kept");
  setenv("LARKA_TEST_ENGINE", "1", 1);
  setenv("LARKA_TEST_OUTSIDE", outside.path().c_str(), 1);
  test::Host host;
  const std::string results = host.directory.file("results");
  setenv("LARKA_TEST_RESULTS", results.c_str(), 1);
  setenv("LD_PRELOAD", LARKA_ATTEMPTS, 1);
  host.initialize();
  test::Recorder recorder;
  ILarkaBrowser* browser = host.createBrowser(&recorder);
  ASSERT_TRUE(host.load(browser, &recorder, "<p>page"));
  unsetenv("LD_PRELOAD");
  host.manager->DestroyBrowser(browser, true);
  host.manager->Shutdown(true);
  const bool hasLandlock = syscall(SYS_landlock_create_ruleset, nullptr, 0, 1) > 0;
  std::ifstream file(results);
  std::string line;
  while (std::getline(file, line) && line != "end") {
    const bool isRefused = line.find("not permitted") != std::string::npos ||
                           line.find("Permission denied") != std::string::npos;
    EXPECT_TRUE(isRefused || (line.find("Landlock") == 0 && !hasLandlock)) << line;
  }
  EXPECT_EQ(line, "end");
  EXPECT_EQ(test::readFile(outside.file("file")), "kept");
  if (!hasLandlock) GTEST_SKIP() << "this kernel has no Landlock, which limits writing";
}
#endif

}  // namespace
