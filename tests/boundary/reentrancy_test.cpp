// A listener may do anything in any event.
#include "Operations.h"
#include "Servers.h"

namespace {

using LARKA::ILarkaBrowser;
using test::Recorder;

/// What a listener does in the middle of an event.
struct Action {
  const char* name;
  std::function<void(test::Host*, ILarkaBrowser*)> run;
  enum { Stays, Goes, Destroys, ShutsDown } then = Stays;
};

void script(ILarkaBrowser* browser, const char* code) { browser->ExecuteJavascript(code); }

/// Calls an operation and gives up what it returns.
template <typename Call>
void callAndForget(Call call) {
  if constexpr (std::is_same_v<decltype(call()), std::vector<LARKA::LarkaHTMLControl*>>)
    for (LARKA::LarkaHTMLControl* control : call()) delete control;
  else
    call();
}

std::vector<Action> actions() {
  using namespace LARKA;
  std::vector<Action> all = {
      {"Navigate", [](auto*, auto* b) { b->Navigate("data:text/html,<title>Gone</title>"); },
       Action::Goes},
      {"NavigateOften",
       [](auto*, auto* b) {
         b->Navigate("data:text/html,<title>Not</title>");
         b->Stop();
         b->Navigate("data:text/html,<title>Neither</title>");
         b->Reload();
         b->Navigate("data:text/html,<title>Gone</title>");
       },
       Action::Goes},
      {"NavigateAndPump",
       [](auto* host, auto* b) {
         b->Navigate("data:text/html,<title>Gone</title>");
         for (int i = 0; i < 20; ++i) host->manager->PumpEvents();
       },
       Action::Goes},
      {"Pump",
       [](auto* host, auto*) {
         for (int i = 0; i < 20; ++i) host->manager->PumpEvents();
       }},
      {"StopAndPump",
       [](auto* host, auto* b) {
         b->Stop();
         host->manager->PumpEvents();
       }},
      {"BackAndForth",
       [](auto*, auto* b) {
         b->Back();
         b->Forward();
       }},
      {"SetsLocation", [](auto*, auto* b) { script(b, "location=\"data:text/html,x\""); }},
      {"SetsLocationAndPumps",
       [](auto* host, auto* b) {
         script(b, "location=\"data:text/html,x\"");
         for (int i = 0; i < 20; ++i) host->manager->PumpEvents();
       }},
      {"WritesDocument",
       [](auto*, auto* b) { script(b, "document.open();document.write(\"w\");document.close()"); }},
      {"RemovesRoot",
       [](auto*, auto* b) { script(b, "document.removeChild(document.documentElement)"); }},
      {"RemovesFrames",
       [](auto*, auto* b) {
         script(b, "var f;while(f=document.querySelector(\"iframe\"))f.parentNode.removeChild(f)");
       }},
      {"ReloadsByScript", [](auto*, auto* b) { script(b, "location.reload()"); }},
      {"GoesBackByScript", [](auto*, auto* b) { script(b, "history.back()"); }},
      {"Submits",
       [](auto*, auto* b) {
         script(b,
                "var f=document.createElement(\"form\");document.body.appendChild(f);f.submit()");
       }},
      {"ClicksAndTypes",
       [](auto*, auto* b) {
         b->MouseClick(5, 5, 0);
         b->KeyDown(KEYCODE_TAB, 0);
         b->KeyDown(KEYCODE_RETURN, 0);
         b->KeyUp(KEYCODE_RETURN, 0);
       }},
      {"ListsEverything",
       [](auto*, auto* b) {
         for (LarkaHTMLControl* control : b->GetControls(CONTROL_ANCHOR)) {
           control->Focus();
           control->GetControlText();
           delete control;
         }
         for (LarkaPluginWidget plugin : b->GetPluginWidgets())
           plugin.SetFullScreen(true, true, false);
       }},
      {"MakesAnother",
       [](auto* host, auto*) {
         Recorder other;
         ILarkaBrowser* second = host->createBrowser(&other);
         second->Navigate("data:text/html,<title>Second</title>");
         second->ClearCache();
         host->manager->DestroyBrowser(second, true);
       }},
      {"DestroysLater", [](auto* host, auto* b) { host->manager->DestroyBrowser(b, false); },
       Action::Destroys},
      {"DestroysLaterAndPumps",
       [](auto* host, auto* b) {
         host->manager->DestroyBrowser(b, false);
         for (int i = 0; i < 20; ++i) host->manager->PumpEvents();
       },
       Action::Destroys},
      {"DestroysAtOnce", [](auto* host, auto* b) { host->manager->DestroyBrowser(b, true); },
       Action::Destroys},
      {"ShutsManagerDown", [](auto* host, auto*) { host->manager->Shutdown(true); },
       Action::ShutsDown},
      {"ShutsManagerDownLater", [](auto* host, auto*) { host->manager->Shutdown(false); },
       Action::ShutsDown},
  };
#define ACTION(RESULT, NAME, PARAMETERS, ARGUMENTS)                                    \
  all.push_back({#NAME,                                                                \
                 [](auto*, auto* browser) {                                            \
                   [[maybe_unused]] int width = 0, height = 0;                         \
                   callAndForget([&]() -> RESULT { return browser->NAME ARGUMENTS; }); \
                 },                                                                    \
                 strcmp(#NAME, "Shutdown") ? Action::Stays : Action::ShutsDown});
  BROWSER_OPERATIONS(ACTION)
#undef ACTION
  return all;
}

/// What makes the events come.
struct Scene {
  const char* name;
  std::function<void(test::Host*, test::HttpServer*, ILarkaBrowser*&)>
      play;  // null once it goes elsewhere
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

const Scene kScenes[] = {
    {"AnOrdinaryLoad",
     [](auto* host, auto*, auto*& b) {
       b->Navigate(host->directory.write("busy.html", kBusyPage).c_str());
     }},
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
       if (b) b->Navigate(host->directory.write("busy.html", kBusyPage).c_str());
     }},
    {"KeptHistory", [](auto*, auto*, auto*& b) { b->Back(); }},
    {"KeptHistoryByScript", [](auto*, auto*, auto*& b) { script(b, "history.back()"); }},
    {"AChildFrame",
     [](auto* host, auto*, auto*& b) {
       host->directory.write("child.html",
                             "<script>console.log(1);alert(2);larka.exec(3)</script>");
       script(b,
              "document.querySelector(\"iframe\").removeAttribute(\"srcdoc\");"
              "document.querySelector(\"iframe\").src=\"child.html\"");
     }},
    {"Script",
     [](auto*, auto*, auto*& b) {
       script(b,
              "setTimeout(function(){document.title=\"s\";alert(1);larka.exec(2);confirm(3);larka."
              "exec2(4);"
              "console.log(5);prompt(6);location=\"data:text/html,<script>alert(1)</"
              "scr\"+\"ipt>\"},1)");
     }},
    {"Input",
     [](auto* host, auto*, auto*& b) {
       b->Navigate(host->directory.write("busy.html", kBusyPage).c_str());
       host->pumpFor(30);
       for (int y : {10, 110, 150, 10}) {
         if (b) b->MouseMove(5, y, 0);
         if (b) b->MouseClick(5, y, 0);
       }
     }},
};

const char* const kEvents[] = {"OnLoadStarted",      "OnLoadFinished",
                               "OnLoadProgress",     "OnTitleChanged",
                               "OnCreatingRequest",  "OnUrlChanged",
                               "OnMouseClick",       "OnAcceptNavigationRequest",
                               "OnPluginCreated",    "OnPluginDirty",
                               "OnExecuteInLarka",   "OnDirty",
                               "OnCreateWindow",     "OnChooseFile",
                               "OnJavaScriptAlert",  "OnJavaScriptConfirm",
                               "OnJavaScriptPrompt", "OnJavaScriptConsoleMessage",
                               "OnLinkHovered"};

class ReentrancyTest : public testing::TestWithParam<Scene> {
 protected:
  void SetUp() override { server.answer("/never", ""); }

  /// Plays the scene in a browser that has a history, with `action` in the middle of the first
  /// event of that name. False when there was none.
  bool play(const char* event, const Action& action) {
    host.initialize();
    recorder = Recorder();
    ILarkaBrowser* browser = host.createBrowser(&recorder, 320, 240, true);
    for (const char* page : {"first.html", "second.html"})
      EXPECT_TRUE(host.pumpUntil([&, started = false]() mutable {
        if (!started) browser->Navigate(host.directory.write(page, kKeptPage).c_str());
        started = true;
        return recorder.count("OnLoadFinished") == (page[0] == 'f' ? 1 : 2);
      }));
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

  test::Host host;
  test::HttpServer server;
  Recorder recorder;
};

// All of them take minutes: without LARKA_EVERY_COMBINATION one in 41 is tried.
TEST_P(ReentrancyTest, AListenerMayDoAnythingInAnyEvent) {
  const bool every = getenv("LARKA_EVERY_COMBINATION");
  const std::vector<Action> all = actions();
  int index = 0, tried = 0;
  for (const char* event : kEvents) {
    for (const Action& action : all) {
      if (!every && ++index % 41) continue;
      SCOPED_TRACE(std::string(event) + " " + action.name);
      if (getenv("LARKA_VERBOSE")) fprintf(stderr, "== %s %s\n", event, action.name);
      if (!play(event, action) && every) break;
      ++tried;
    }
  }
  RecordProperty("combinations", tried);
  printf("%d combinations\n", tried);
}

INSTANTIATE_TEST_SUITE_P(In, ReentrancyTest, testing::ValuesIn(kScenes),
                         [](const auto& scene) { return scene.param.name; });

}  // namespace
