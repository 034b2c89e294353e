// A listener may do anything in any event.
#include "Host.h"
#include "HttpServer.h"
#include "Operations.h"

namespace {

using LARKA::ILarkaBrowser;
using test::Host;

using Run = std::function<void(Host*, ILarkaBrowser*)>;

/// What a listener does in the middle of an event.
struct Action {
  std::string name;
  Run run;
  enum { Stays, Goes, Destroys, ShutsDown } then = Stays;
};

Run script(const char* code) {
  return [code](Host*, ILarkaBrowser* browser) { browser->ExecuteJavascript(code); };
}
Run navigate(const std::string& title) {
  return [url = "data:text/html,<title>" + title + "</title>"](Host*, ILarkaBrowser* browser) {
    browser->Navigate(url.c_str());
  };
}
Run call(void (ILarkaBrowser::*operation)()) {
  return [operation](Host*, ILarkaBrowser* browser) { (browser->*operation)(); };
}
Run destroy(bool now) {
  return [now](Host* host, ILarkaBrowser* browser) { host->manager->DestroyBrowser(browser, now); };
}
Run shutDown(bool now) {
  return [now](Host* host, ILarkaBrowser*) { host->manager->Shutdown(now); };
}
Run pump(int times) {
  return [times](Host* host, ILarkaBrowser*) {
    for (int i = 0; i < times; ++i) host->manager->PumpEvents();
  };
}
Run all(const std::vector<Run>& steps) {
  return [steps](Host* host, ILarkaBrowser* browser) {
    for (const Run& step : steps) step(host, browser);
  };
}

void clickAndType(Host*, ILarkaBrowser* browser) {
  browser->MouseClick(5, 5, 0);
  browser->KeyDown(LARKA::KEYCODE_TAB, 0);
  browser->KeyDown(LARKA::KEYCODE_RETURN, 0);
  browser->KeyUp(LARKA::KEYCODE_RETURN, 0);
}

void listEverything(Host*, ILarkaBrowser* browser) {
  for (LARKA::LarkaHTMLControl* control : browser->GetControls(LARKA::CONTROL_ANCHOR)) {
    control->Focus();
    control->GetControlText();
    delete control;
  }
  for (LARKA::LarkaPluginWidget plugin : browser->GetPluginWidgets())
    plugin.SetFullScreen(true, true, false);
}

void makeAnother(Host* host, ILarkaBrowser*) {
  test::Recorder other;
  ILarkaBrowser* second = host->createBrowser(&other);
  second->Navigate("data:text/html,<title>Second</title>");
  second->ClearCache();
  host->manager->DestroyBrowser(second, true);
}

std::vector<Action> actions() {
  const Run stop = call(&ILarkaBrowser::Stop), reload = call(&ILarkaBrowser::Reload);
  const Run back = call(&ILarkaBrowser::Back), forward = call(&ILarkaBrowser::Forward);
  const Run setLocation = script("location=\"data:text/html,x\"");
  std::vector<Action> actions = {
      {"Navigate", navigate("Gone"), Action::Goes},
      {"NavigateOften", all({navigate("Not"), stop, navigate("Neither"), reload, navigate("Gone")}),
       Action::Goes},
      {"NavigateAndPump", all({navigate("Gone"), pump(20)}), Action::Goes},
      {"Pump", pump(20)},
      {"StopAndPump", all({stop, pump(1)})},
      {"BackAndForth", all({back, forward})},
      {"SetsLocation", setLocation},
      {"SetsLocationAndPumps", all({setLocation, pump(20)})},
      {"WritesDocument", script("document.open();document.write(\"w\");document.close()")},
      {"RemovesRoot", script("document.removeChild(document.documentElement)")},
      {"RemovesFrames",
       script("var f;while(f=document.querySelector(\"iframe\"))f.parentNode.removeChild(f)")},
      {"ReloadsByScript", script("location.reload()")},
      {"GoesBackByScript", script("history.back()")},
      {"Submits",
       script("var f=document.createElement(\"form\");document.body.appendChild(f);f.submit()")},
      {"ClicksAndTypes", clickAndType},
      {"ListsEverything", listEverything},
      {"MakesAnother", makeAnother},
      {"DestroysLater", destroy(false), Action::Destroys},
      {"DestroysLaterAndPumps", all({destroy(false), pump(20)}), Action::Destroys},
      {"DestroysAtOnce", destroy(true), Action::Destroys},
      {"ShutsManagerDown", shutDown(true), Action::ShutsDown},
      {"ShutsManagerDownLater", shutDown(false), Action::ShutsDown},
  };
  for (const test::Operation& operation : test::operations())
    actions.push_back(
        {operation.name(),
         [operation](Host*, ILarkaBrowser* browser) { operation.givesNothing(browser); },
         operation.name() == "Shutdown" ? Action::ShutsDown : Action::Stays});
  return actions;
}

/// What makes the events come. The browser is null once it goes elsewhere.
struct Scene {
  const char* name;
  std::function<void(Host*, test::HttpServer*, ILarkaBrowser*&)> play;
};

void PrintTo(const Scene& scene, std::ostream* stream) { *stream << scene.name; }

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

void visitBusyPage(Host* host, ILarkaBrowser* browser) {
  browser->Navigate(host->directory.write("busy.html", kBusyPage).c_str());
}

const Scene kScenes[] = {
    {"AnOrdinaryLoad", [](auto* host, auto*, auto*& b) { visitBusyPage(host, b); }},
    {"AFailedLoad",
     [](auto*, auto* server, auto*& b) { b->Navigate(server->url("/missing").c_str()); }},
    {"AStoppedLoad",
     [](auto* host, auto* server, auto*& b) {
       b->Navigate(server->url("/never").c_str());
       host->pumpFor(3);
       if (b) b->Stop();
     }},
    {"ASupersededLoad",
     [](auto* host, auto* server, auto*& b) {
       b->Navigate(server->url("/never").c_str());
       host->pumpFor(3);
       if (b) visitBusyPage(host, b);
     }},
    {"KeptHistory", [](auto*, auto*, auto*& b) { b->Back(); }},
    {"KeptHistoryByScript", [](auto*, auto*, auto*& b) { b->ExecuteJavascript("history.back()"); }},
    {"AChildFrame",
     [](auto* host, auto*, auto*& b) {
       host->directory.write("child.html",
                             "<script>console.log(1);alert(2);larka.exec(3)</script>");
       b->ExecuteJavascript(
           "document.querySelector(\"iframe\").removeAttribute(\"srcdoc\");"
           "document.querySelector(\"iframe\").src=\"child.html\"");
     }},
    {"Script",
     [](auto*, auto*, auto*& b) {
       b->ExecuteJavascript(
           "setTimeout(function(){document.title=\"s\";alert(1);larka.exec(2);confirm(3);"
           "larka.exec2(4);console.log(5);prompt(6);"
           "location=\"data:text/html,<script>alert(1)</scr\"+\"ipt>\"},1)");
     }},
    {"Input",
     [](auto* host, auto*, auto*& b) {
       visitBusyPage(host, b);
       host->pumpFor(30);
       for (int y : {10, 110, 150, 10}) {
         if (b) b->MouseMove(5, y, 0);
         if (b) b->MouseClick(5, y, 0);
       }
     }},
};

const char kEvents[] =
    "OnLoadStarted OnLoadFinished OnLoadProgress OnTitleChanged OnCreatingRequest OnUrlChanged "
    "OnMouseClick OnAcceptNavigationRequest OnPluginCreated OnPluginDirty OnExecuteInLarka OnDirty "
    "OnCreateWindow OnChooseFile OnJavaScriptAlert OnJavaScriptConfirm OnJavaScriptPrompt "
    "OnJavaScriptConsoleMessage OnLinkHovered";

class ReentrancyTest : public testing::TestWithParam<Scene> {
 protected:
  void SetUp() override { server.answer("/never", ""); }

  /// Plays the scene in a browser that has a history, with `action` in the middle of the first
  /// event of that name. False when there was none.
  bool play(const std::string& event, const Action& action) {
    host.initialize();
    recorder = test::Recorder();
    ILarkaBrowser* browser = host.createBrowser(&recorder, 320, 240, true);
    for (int loads : {1, 2}) {
      const std::string page = std::to_string(loads) + ".html";
      browser->Navigate(host.directory.write(page, kKeptPage).c_str());
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
      if (action.then != Action::Stays) played = nullptr;
      action.run(&host, browser);
    };
    GetParam().play(&host, &server, played);
    waitForQuiet();
    recorder.onEvent = nullptr;
    if (action.then == Action::Stays || !acted) checkThatItWorks(browser);
    if (action.then == Action::Goes && acted) {
      EXPECT_TRUE(host.pumpUntil([&] { return browser->GetTitle() == "Gone"; }, 3000));
    }
    if (action.then != Action::Destroys || !acted) host.manager->DestroyBrowser(browser, true);
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

  Host host;
  test::HttpServer server;
  test::Recorder recorder;
};

// All of them take minutes: without LARKA_EVERY_COMBINATION one in 41 is tried.
TEST_P(ReentrancyTest, AListenerMayDoAnythingInAnyEvent) {
  const bool every = getenv("LARKA_EVERY_COMBINATION");
  int index = 0, tried = 0;
  std::istringstream events(kEvents);
  for (std::string event; events >> event;) {
    for (const Action& action : actions()) {
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
