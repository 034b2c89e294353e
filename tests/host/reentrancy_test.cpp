// A listener may do anything in any event.
#include <QMetaObject>
#include <QNetworkRequest>
#include <QRect>
#include <memory>

#include "Host.h"
#include "HttpServer.h"
#include "Operations.h"

class QWebFrame;

namespace {

using LARKA::ILarkaBrowser;

const char kBusyPage[] = R"html(<title>Busy</title><body style="margin:0">
<a href="#there" style="display:block;height:40px">a link</a><embed type="video/mp4" width=20 height=20>
<input type=file style="position:absolute;top:100px;left:0"><button style="position:absolute;top:140px;left:0"
 onclick="open('data:text/html,new')">window</button>
<iframe id=f srcdoc="<a href='#x'>in</a><script>console.log('child')</script>"></iframe>
<video src=film.mp4></video><input style="position:absolute;top:60px;left:0">
<select style="position:absolute;top:170px;left:0"><option>a<option>b</select>
<input type=color style="position:absolute;top:195px;left:0;height:15px">
<input type=color style="position:absolute;top:215px;left:0;height:15px" value="#123456">
<script>var n = 0, t = setInterval(function(){ document.title = 'Busy' + ++n; n < 4 || clearInterval(t) }, 4);
onunload = function(){ larka.exec('unload') };
onload = function(){ larkaHost.postMessage(0); larka.exec('load'); larka.exec2('load'); alert(1); confirm(2); prompt(3) };
</script>)html";

// Without what keeps QtWebKit from keeping it.
const char kKeptPage[] = "<title>Kept</title><body onpageshow='1'><iframe srcdoc=x></iframe>";

// What a listener does in the middle of an event, one action a line, its steps divided by " | ".
const char kActions[] =
    "title Gone\n title Not | Stop() | title Neither | Reload() | title Gone\n"
    "title Gone | pump 20\n pump 20\n Stop() | pump 1\n Back() | Forward()\n"
    "js location='data:text/html,x'\n js location='data:text/html,x' | pump 20\n"
    "js document.open();document.write('w');document.close()\n"
    "js document.removeChild(document.documentElement)\n js location.reload()\n"
    "js var f;while(f=document.querySelector('iframe'))f.parentNode.removeChild(f)\n"
    "js history.back()\n click 5 | key 9 | key 13 | keyup 13\n list everything\n make another\n"
    "answer\n listen again\n end process\n"
    "js var f=document.createElement('form');document.body.appendChild(f);f.submit()\n"
    "destroy 0\n destroy 0 | pump 20\n destroy 1\n shutdown 0\n shutdown 1\n run until shutdown";

// What makes events come.
using Scene = std::pair<const char*, const char*>;
const Scene kScenes[] = {
    {"AnOrdinaryLoad", "file busy"},
    {"AFailedLoad", "server missing"},
    {"AStoppedLoad", "server never | wait 3 | Stop()"},
    {"ASupersededLoad", "server never | wait 3 | file busy"},
    {"KeptHistory", "Back()"},
    {"KeptHistoryByScript", "js history.back()"},
    {"AChildFrame",
     "js var f=document.querySelector('iframe');f.removeAttribute('srcdoc');f.src='child.html'"},
    {"Script",
     "js "
     "setTimeout(function(){document.title='s';larkaHost.postMessage(0);alert(1);larka.exec(2);"
     "confirm(3);"
     "larka.exec2(4);console.log(5);prompt(6);"
     "location='data:text/html,<script>alert(1)</scr'+'ipt>'},1)"},
    {"Input",
     "file busy | wait 30 | move 10 | click 10 | move 110 | click 110 | move 150 | click 150 | "
     "move 10 | click 10 | click 65 | key 97"},
    {"Questions",
     "file busy | wait 30 | click 180 | wait 3 | click 200 | wait 3 | click 220 | wait 3 | "
     "click 180 | wait 3 | file 1"},
    {"ABadCertificate", "secure"},
    {"SlotsForHosts",
     "slot printRequested | slot statusBarMessage | slot downloadRequested | "
     "slot geometryChangeRequested"},
};

// All of both listeners', but for OnEngineState.
const char kEvents[] =
    "OnLoadStarted OnLoadFinished OnLoadProgress OnTitleChanged OnCreatingRequest OnUrlChanged "
    "OnMouseClick OnAcceptNavigationRequest OnPluginCreated OnPluginDirty OnExecuteInLarka OnDirty "
    "OnCreateWindow OnChooseFile OnJavaScriptAlert OnJavaScriptConfirm OnJavaScriptPrompt "
    "OnJavaScriptConsoleMessage OnLinkHovered OnRequestError OnStatusBarMessage OnPrintRequested "
    "OnGeometryChangeRequested OnDownloadRequested OnMessage OnListOpened OnListClosed "
    "OnColorOpened OnColorClosed OnTextField OnMediaRequest";

class Listener : public test::Recorder {
  void OnTextField(ILarkaBrowser*, const LARKA::TextField&) override { add(__func__); }
};

class ReentrancyTest : public testing::TestWithParam<Scene> {
 protected:
  void SetUp() override {
    server.answer("/never", "");
    host.directory.write("busy.html", kBusyPage);
    host.directory.write("child.html", "<script>console.log(1);alert(2);larka.exec(3)</script>");
    for (const char* kept : {"1.html", "2.html"}) host.directory.write(kept, kKeptPage);
    if (GetParam().second == std::string("secure"))
      secure = std::make_unique<test::SecureServer>(host.directory.path());
  }

  /// Does the steps as long as `browser` is there.
  void perform(const QString& steps, ILarkaBrowser*& browser) {
    for (const QString& step : steps.split(" | "))
      if (browser) performOne(step.toStdString(), browser, host.manager.get());
  }
  void performOne(const std::string& step, ILarkaBrowser* browser, LARKA::BrowserManager* manager) {
    const std::string verb = step.substr(0, step.find(' '));
    const std::string object = step.substr(step.find(' ') + 1);
    const int number = atoi(object.c_str());
    if (verb == "title") load(browser, object);
    if (verb == "file") browser->Navigate(file(object).c_str());
    if (verb == "secure") browser->Navigate(secure->url().c_str());
    if (verb == "slot") callSlot(browser, object);
    if (verb == "server") browser->Navigate(server.url("/" + object).c_str());
    if (verb == "js") browser->ExecuteJavascript(object.c_str());
    if (verb == "destroy") manager->DestroyBrowser(browser, number);
    if (verb == "shutdown") manager->Shutdown(number);
    if (verb == "wait") host.pumpFor(number);
    for (int i = 0; verb == "pump" && i < number; ++i) manager->PumpEvents();
    if (verb == "move") browser->MouseMove(5, number, 0);
    if (verb == "click") browser->MouseClick(5, number, 0);
    if (verb == "key") browser->KeyDown(number, 0);
    if (verb == "keyup") browser->KeyUp(number, 0);
    if (verb == "list") useHandles(browser);
    if (verb == "listen") {
      browser->RemoveListener(&recorder);
      LARKA::RemoveExtraListener(browser, &recorder);
      browser->AddListener(&recorder);
      LARKA::AddExtraListener(browser, &recorder);
    }
    if (verb == "answer") {
      LARKA::AnswerList(browser, recorder.question, 1);
      LARKA::AnswerColor(browser, recorder.question, "#654321");
    }
    if (verb == "end") LARKA::EndEngine(manager);
    if (verb == "run") {
      const auto end = [](LARKA::ITimer* timer, void* ended) {
        static_cast<LARKA::BrowserManager*>(ended)->DisposeTimer(timer);
        static_cast<LARKA::BrowserManager*>(ended)->Shutdown(false);
      };
      manager->CreateTimer(end, 5, true, manager)->Start();
      manager->RunEventLoop();
    }
    if (verb == "make") {
      ILarkaBrowser* second = host.createBrowser(nullptr);
      load(second, "Second");
      second->ClearCache();
      manager->DestroyBrowser(second, true);
    }
    for (const test::Operation& operation : test::operations())
      if (step == operation.call) operation.givesNothing(browser);
  }

  /// The slots of a browser that nothing in the library is connected to.
  static void callSlot(ILarkaBrowser* browser, const std::string& name) {
    auto* object = dynamic_cast<QObject*>(browser);
    if (!object) return;  // it is in an engine process
    const auto call = [object](const char* slot, const auto&... arguments) {
      EXPECT_TRUE(QMetaObject::invokeMethod(object, slot, arguments...));
    };
    if (name == "statusBarMessage") call(name.c_str(), Q_ARG(QString, "x"));
    if (name == "printRequested") call(name.c_str(), Q_ARG(QWebFrame*, nullptr));
    if (name == "downloadRequested") call(name.c_str(), Q_ARG(QNetworkRequest, {}));
    if (name == "geometryChangeRequested") call(name.c_str(), Q_ARG(QRect, {}));
  }

  /// Calls every operation of every handle.
  static void useHandles(ILarkaBrowser* browser) {
    using namespace LARKA;
    std::vector<LarkaHTMLControl*> controls = {new LarkaHTMLControl(browser->HitTest(5, 10))};
    for (ControlType type : {CONTROL_ANCHOR, CONTROL_TEXT, CONTROL_SELECT, CONTROL_EMBED})
      for (LarkaHTMLControl* control : browser->GetControls(type)) controls.push_back(control);
    int number;
    for (LarkaHTMLControl* control : controls) {
      control->GetControlType();
      control->SetStyleProperty("color", control->GetStyleProperty("color"));
      control->GetControlRect(&number, &number, &number, &number);
      control->GetZoomRect(&number, &number, &number, &number);
      control->Focus();
      control->SetCaretAtEndOfControl();
      control->GetControlId() + control->GetControlText();
      if (control->IsClickable() && control->HasFocus()) control->IsControlSelected();
      delete control;
    }
    for (LarkaPluginWidget plugin : browser->GetPluginWidgets()) {
      plugin.SetUserData(plugin.GetHandle());
      number = plugin.GetX() + plugin.GetY() + plugin.GetWidth() + plugin.GetHeight();
      number += plugin.GetZIndex();
      plugin.GetMimeType() + plugin.GetID() + plugin.GetName() + plugin.GetTagName();
      plugin.SetAttribute("id", plugin.GetAttribute("id").c_str());
      plugin.ExecuteJS("alert(1); this.focus(); window");
      plugin.SetFocus(true);
      plugin.SetFullScreen(true, true, false);
      plugin.GetPixelRGBA(1, 1);
      if (plugin.IsVisible() && plugin.IsFullScreen() && plugin.IsDirty()) plugin.GetPixelData();
      plugin.MouseClick(1, 1, 0);
      plugin.HandleKey(13, 0);
      GetPluginPlace(browser, &plugin);
      GetMediaAddress(&plugin);
      ReportMedia(&plugin, MediaReport());
    }
  }

  /// Plays the scene in a browser that has a history, with `action` in the middle of the first
  /// event of that name. False when there was none.
  bool play(const std::string& event, const QString& action) {
    host.initialize();
    recorder = Listener();
    ILarkaBrowser* browser = host.createBrowser(&recorder, 320, 240, true);
    LARKA::AddExtraListener(browser, &recorder);
    LARKA::EnableMessages(browser, true);
    LARKA::SetMediaHandedOver(browser, true);
    for (int loads : {1, 2}) {
      browser->Navigate(file(std::to_string(loads)).c_str());
      EXPECT_TRUE(host.pumpUntil([&] { return recorder.count("OnLoadFinished") == loads; }));
    }
    host.pumpFor(2);
    recorder.events.clear();
    bool acted = false;
    ILarkaBrowser* played = browser;
    const bool goes = action.contains("Gone"), destroys = action.contains("destroy");
    const bool ends = destroys || action.contains("shutdown", Qt::CaseInsensitive);
    recorder.confirms = recorder.takesOver = true;
    recorder.onEvent = [&](const std::string& heard) {
      if (acted || heard.compare(0, heard.find(' '), event) != 0) return;
      acted = true;
      if (goes || ends) played = nullptr;
      ILarkaBrowser* own = browser;
      perform(action, own);
    };
    perform(GetParam().second, played);
    size_t events = 0;
    const int enough = test::hasEngineProcess() ? 30 : 4;  // that one answers when it gets to it
    for (int quiet = 0, pumps = 0; quiet < enough && pumps < 60; ++pumps) {
      quiet = events == recorder.events.size() ? quiet + 1 : 0;
      events = recorder.events.size();
      host.pumpFor(3);
    }
    recorder.onEvent = nullptr;
    const auto comesTo = [&](const char* title) {
      return host.pumpUntil([&] { return browser->GetTitle() == title; }, 3000);
    };
    const auto loads = [&] {
      return recorder.count("OnLoadStarted") - recorder.count("OnLoadFinished");
    };
    if (acted && goes) {
      EXPECT_TRUE(comesTo("Gone"));
    } else if (!acted || !ends) {
      load(browser, "After");
      EXPECT_TRUE(comesTo("After"));
      EXPECT_TRUE(host.pumpUntil([&] { return loads() == 0; }, 3000))
          << testing::PrintToString(recorder.events);
    }
    if (!acted || !destroys) host.manager->DestroyBrowser(browser, true);
    host.manager->Shutdown(true);
    return acted;
  }

  void load(ILarkaBrowser* browser, const std::string& title) {
    browser->Navigate(("data:text/html,<title>" + title + "</title>").c_str());
  }
  std::string file(const std::string& name) {
    return "file://" + host.directory.file(name + ".html");
  }

  test::Host host;
  test::HttpServer server;
  std::unique_ptr<test::SecureServer> secure;
  Listener recorder;
};

// All of them take an hour: LARKA_EVERY_COMBINATION=1. Otherwise one in 83 is tried, or one in what
// it says.
TEST_P(ReentrancyTest, AListenerMayDoAnythingInAnyEvent) {
  const char* stride = getenv("LARKA_EVERY_COMBINATION");
  const int step = stride ? std::max(1, atoi(stride)) : 83;
  int index = 0, played = 0;
  QStringList actions = QString(kActions).split('\n');
  for (const test::Operation& operation : test::operations()) actions += operation.call;
  for (const QString& event : QString(kEvents).split(' ')) {
    for (const QString& action : actions) {
      if (++index % step) continue;
      const std::string combination = (event + " " + action).toStdString();
      SCOPED_TRACE(combination);
      if (getenv("LARKA_VERBOSE")) std::cerr << "== " << combination << "\n";
      if (!play(event.toStdString(), action.trimmed())) {
        if (step == 1) break;
        continue;
      }
      if (getenv("LARKA_VERBOSE")) std::cerr << "== acted\n";
      ++played;
    }
  }
  EXPECT_GT(played, 0);
  RecordProperty("played", played);
}

INSTANTIATE_TEST_SUITE_P(In, ReentrancyTest, testing::ValuesIn(kScenes),
                         [](const auto& scene) { return scene.param.first; });

}  // namespace
