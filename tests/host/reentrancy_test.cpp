// A listener may do anything in any event.
#include "Host.h"
#include "HttpServer.h"
#include "Operations.h"

namespace {

using LARKA::ILarkaBrowser;

const char kBusyPage[] = R"html(<title>Busy</title><body style="margin:0">
<a href="#there" style="display:block;height:40px">a link</a><embed type="video/mp4" width=20 height=20>
<input type=file style="position:absolute;top:100px;left:0"><button style="position:absolute;top:140px;left:0"
 onclick="open('data:text/html,new')">window</button>
<iframe id=f srcdoc="<a href='#x'>in</a><script>console.log('child')</script>"></iframe>
<script>var n = 0, t = setInterval(function(){ document.title = 'Busy' + ++n; n < 4 || clearInterval(t) }, 4);
onunload = function(){ larka.exec('unload') };
onload = function(){ larka.exec('load'); larka.exec2('load'); alert(1); confirm(2); prompt(3) };
</script>)html";

// Without what keeps QtWebKit from keeping it.
const char kKeptPage[] = "<title>Kept</title><body onpageshow='1'><iframe srcdoc=x></iframe>";

/// What a listener does in the middle of an event, or what makes events come: steps divided by " |
/// ".
struct Script {
  std::string name, steps;
  enum { Stays, Goes, Destroys, ShutsDown } then = Stays;
};

void PrintTo(const Script& script, std::ostream* stream) { *stream << script.name; }

const Script kActions[] = {
    {"Navigate", "title Gone", Script::Goes},
    {"NavigateOften", "title Not | stop | title Neither | reload | title Gone", Script::Goes},
    {"NavigateAndPump", "title Gone | pump 20", Script::Goes},
    {"Pump", "pump 20"},
    {"StopAndPump", "stop | pump 1"},
    {"BackAndForth", "back | forward"},
    {"SetsLocation", "js location=\"data:text/html,x\""},
    {"SetsLocationAndPumps", "js location=\"data:text/html,x\" | pump 20"},
    {"WritesDocument", "js document.open();document.write(\"w\");document.close()"},
    {"RemovesRoot", "js document.removeChild(document.documentElement)"},
    {"RemovesFrames",
     "js var f;while(f=document.querySelector(\"iframe\"))f.parentNode.removeChild(f)"},
    {"ReloadsByScript", "js location.reload()"},
    {"GoesBackByScript", "js history.back()"},
    {"Submits",
     "js var f=document.createElement(\"form\");document.body.appendChild(f);f.submit()"},
    {"ClicksAndTypes", "click 5 | tab and return"},
    {"ListsEverything", "list everything"},
    {"MakesAnother", "make another"},
    {"DestroysLater", "destroy 0", Script::Destroys},
    {"DestroysLaterAndPumps", "destroy 0 | pump 20", Script::Destroys},
    {"DestroysAtOnce", "destroy 1", Script::Destroys},
    {"ShutsManagerDown", "shutdown 1", Script::ShutsDown},
    {"ShutsManagerDownLater", "shutdown 0", Script::ShutsDown},
};

const Script kScenes[] = {
    {"AnOrdinaryLoad", "file busy"},
    {"AFailedLoad", "server missing"},
    {"AStoppedLoad", "server never | wait 3 | stop"},
    {"ASupersededLoad", "server never | wait 3 | file busy"},
    {"KeptHistory", "back"},
    {"KeptHistoryByScript", "js history.back()"},
    {"AChildFrame",
     "js document.querySelector(\"iframe\").removeAttribute(\"srcdoc\");"
     "document.querySelector(\"iframe\").src=\"child.html\""},
    {"Script",
     "js setTimeout(function(){document.title=\"s\";alert(1);larka.exec(2);confirm(3);"
     "larka.exec2(4);console.log(5);prompt(6);"
     "location=\"data:text/html,<script>alert(1)</scr\"+\"ipt>\"},1)"},
    {"Input",
     "file busy | wait 30 | move 10 | click 10 | move 110 | click 110 | move 150 | click 150 | "
     "move 10 | click 10"},
};

const char kEvents[] =
    "OnLoadStarted OnLoadFinished OnLoadProgress OnTitleChanged OnCreatingRequest OnUrlChanged "
    "OnMouseClick OnAcceptNavigationRequest OnPluginCreated OnPluginDirty OnExecuteInLarka OnDirty "
    "OnCreateWindow OnChooseFile OnJavaScriptAlert OnJavaScriptConfirm OnJavaScriptPrompt "
    "OnJavaScriptConsoleMessage OnLinkHovered";

class ReentrancyTest : public testing::TestWithParam<Script> {
 protected:
  void SetUp() override {
    server.answer("/never", "");
    host.directory.write("busy.html", kBusyPage);
    host.directory.write("child.html", "<script>console.log(1);alert(2);larka.exec(3)</script>");
    for (const char* kept : {"1.html", "2.html"}) host.directory.write(kept, kKeptPage);
  }

  std::string file(const std::string& name) {
    return "file://" + host.directory.file(name + ".html");
  }

  /// Does the steps as long as `browser` is there.
  void perform(const std::string& steps, ILarkaBrowser*& browser) {
    for (size_t at = 0, end; at < steps.size() && browser; at = std::min(end, steps.size()) + 3) {
      end = std::min(steps.find(" | ", at), steps.size());
      perform(steps.substr(at, end - at), browser, host.manager.get());
    }
  }
  void perform(const std::string& step, ILarkaBrowser* browser, LARKA::BrowserManager* manager) {
    const std::string verb = step.substr(0, step.find(' '));
    const std::string object = step.substr(std::min(verb.size() + 1, step.size()));
    const int number = atoi(object.c_str());
    if (verb == "title")
      browser->Navigate(("data:text/html,<title>" + object + "</title>").c_str());
    if (verb == "file") browser->Navigate(file(object).c_str());
    if (verb == "server") browser->Navigate(server.url("/" + object).c_str());
    if (verb == "js") browser->ExecuteJavascript(object.c_str());
    if (verb == "stop") browser->Stop();
    if (verb == "reload") browser->Reload();
    if (verb == "back") browser->Back();
    if (verb == "forward") browser->Forward();
    if (verb == "destroy") manager->DestroyBrowser(browser, number);
    if (verb == "shutdown") manager->Shutdown(number);
    if (verb == "wait") host.pumpFor(number);
    if (verb == "pump")
      for (int i = 0; i < number; ++i) manager->PumpEvents();
    if (verb == "move") browser->MouseMove(5, number, 0);
    if (verb == "click") browser->MouseClick(5, number, 0);
    if (verb == "tab") {
      browser->KeyDown(LARKA::KEYCODE_TAB, 0);
      browser->KeyDown(LARKA::KEYCODE_RETURN, 0);
      browser->KeyUp(LARKA::KEYCODE_RETURN, 0);
    }
    if (verb == "list") {
      for (LARKA::LarkaHTMLControl* control : browser->GetControls(LARKA::CONTROL_ANCHOR)) {
        control->Focus();
        control->GetControlText();
        delete control;
      }
      for (LARKA::LarkaPluginWidget plugin : browser->GetPluginWidgets())
        plugin.SetFullScreen(true, true, false);
    }
    if (verb == "make") {
      test::Recorder other;
      ILarkaBrowser* second = host.createBrowser(&other);
      second->Navigate("data:text/html,<title>Second</title>");
      second->ClearCache();
      manager->DestroyBrowser(second, true);
    }
    for (const test::Operation& operation : test::operations())
      if (step == operation.call) operation.givesNothing(browser);
  }

  /// Plays the scene in a browser that has a history, with `action` in the middle of the first
  /// event of that name. False when there was none.
  bool play(const std::string& event, const Script& action) {
    host.initialize();
    recorder = test::Recorder();
    ILarkaBrowser* browser = host.createBrowser(&recorder, 320, 240, true);
    for (int loads : {1, 2}) {
      browser->Navigate(file(std::to_string(loads)).c_str());
      EXPECT_TRUE(host.pumpUntil([&] { return recorder.count("OnLoadFinished") == loads; }));
    }
    host.pumpFor(2);
    recorder.events.clear();
    bool acted = false;
    ILarkaBrowser* played = browser;
    recorder.confirms = true;
    recorder.onEvent = [&](const std::string& heard) {
      if (acted || heard.compare(0, heard.find(' '), event) != 0) return;
      acted = true;
      if (action.then != Script::Stays) played = nullptr;
      ILarkaBrowser* own = browser;
      perform(action.steps, own);
    };
    perform(GetParam().steps, played);
    waitForQuiet();
    recorder.onEvent = nullptr;
    if (action.then == Script::Stays || !acted) checkThatItWorks(browser);
    if (action.then == Script::Goes && acted) {
      EXPECT_TRUE(host.pumpUntil([&] { return browser->GetTitle() == "Gone"; }, 3000));
    }
    if (action.then != Script::Destroys || !acted) host.manager->DestroyBrowser(browser, true);
    host.manager->Shutdown(true);
    return acted;
  }

  /// Pumps until no event has come for a while.
  void waitForQuiet() {
    size_t events = 0;
    for (int quiet = 0, pumps = 0; quiet < 4 && pumps < 60; ++pumps) {
      quiet = events == recorder.events.size() ? quiet + 1 : 0;
      events = recorder.events.size();
      host.pumpFor(3);
    }
  }

  void checkThatItWorks(ILarkaBrowser* browser) {
    browser->Navigate("data:text/html,<title>After</title>");
    EXPECT_TRUE(host.pumpUntil([&] { return browser->GetTitle() == "After"; }, 3000));
    const auto running = [this] {
      return recorder.count("OnLoadStarted") - recorder.count("OnLoadFinished");
    };
    EXPECT_TRUE(host.pumpUntil([&] { return running() == 0; }, 3000)) << running();
  }

  test::Host host;
  test::HttpServer server;
  test::Recorder recorder;
};

// All of them take minutes: without LARKA_EVERY_COMBINATION one in 41 is tried.
TEST_P(ReentrancyTest, AListenerMayDoAnythingInAnyEvent) {
  const bool every = getenv("LARKA_EVERY_COMBINATION");
  int index = 0, tried = 0;
  std::vector<Script> actions(std::begin(kActions), std::end(kActions));
  for (const test::Operation& operation : test::operations())
    actions.push_back({operation.name(), operation.call,
                       operation.name() == "Shutdown" ? Script::ShutsDown : Script::Stays});
  std::istringstream events(kEvents);
  for (std::string event; events >> event;) {
    for (const Script& action : actions) {
      if (!every && ++index % 41) continue;
      SCOPED_TRACE(event + " " + action.name);
      if (getenv("LARKA_VERBOSE")) std::cerr << "== " << event << " " << action.name << "\n";
      if (!play(event, action) && every) break;
      ++tried;
    }
  }
  printf("%d combinations\n", tried);
}

INSTANTIATE_TEST_SUITE_P(In, ReentrancyTest, testing::ValuesIn(kScenes),
                         [](const auto& scene) { return scene.param.name; });

}  // namespace
