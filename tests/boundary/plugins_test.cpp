// Plug-ins: which elements are one, when the host is told, what a handle says, full screen.
#include <map>
#include <sstream>

#include "Host.h"

namespace {

using LARKA::LarkaPluginWidget;
using test::pixel;
using test::Recorder;

const char kFrame[] =
    "<body style='margin:0;height:500px;background:#00ff00'><embed id=four type=a/b "
    "style='position:absolute;left:5px;top:6px;width:40px;height:30px'>";

class PluginsTest : public test::BrowserTest {
 protected:
  void SetUp() override {
    BrowserTest::SetUp();
    host.directory.write("frame.html", kFrame);
  }

  /// The ids of the plug-ins that were told since the last call, in order.
  std::string told() {
    std::string ids;
    for (LarkaPluginWidget& plugin : recorder.plugins)
      ids += (ids.empty() ? "" : " ") + plugin.GetID();
    recorder.plugins.clear();
    return ids;
  }

  /// Runs a script, and waits until what follows from it has happened.
  void change(const std::string& code) {
    script(code + ";1");
    settle();
  }

  LarkaPluginWidget plugin(const std::string& id) {
    for (LarkaPluginWidget& plugin : browser->GetPluginWidgets())
      if (plugin.GetID() == id) return plugin;
    return LarkaPluginWidget();
  }

  static std::string rect(LarkaPluginWidget plugin) {
    std::ostringstream text;
    text << plugin.GetX() << "," << plugin.GetY() << " " << plugin.GetWidth() << "x"
         << plugin.GetHeight();
    return text.str();
  }

  std::string dirtyPlugins(const std::string& code) {
    recorder.events.clear();
    change(code);
    EXPECT_GT(recorder.count("OnDirty"), 0);
    std::string ids;
    for (const char* id : {"top", "low", "in"})
      if (recorder.count(std::string("OnPluginDirty ") + id) > 0) ids += id + std::string(" ");
    return ids;
  }
};

// Where a plug-in is the page's own background shows, up to its last pixel; the frame around it in
// the page is `outline`.
const char kPage[] = R"(<!doctype html><style>
body{margin:0;background:#203040;height:2000px;font:20px sans-serif;color:#fff}
embed,object,iframe{position:absolute;outline:2px solid #ff0000;border:0}
</style><script>function $(id){return document.getElementById(id)}</script>
<embed id=one type="x/y" name="N&auml;me" style="left:10px;top:20px;width:100px;height:50px;z-index:7">
<embed id=two type="x/y" style="left:130px;top:20px;width:100px;height:50px">
<object id=three type="video/broadcast" style="left:250px;top:20px;width:60px;height:60px"></object>
<iframe id=frame src=frame.html style="left:330px;top:20px;width:100px;height:100px"></iframe>
<script>document.write('<p style="position:absolute;left:10px;top:100px;margin:0">text</p>');
var e=document.createElement('embed');e.id='five';e.type='application/x-shockwave-flash';
e.style.cssText='left:450px;top:20px;width:80px;height:90px';document.body.appendChild(e)</script>)";

TEST_F(PluginsTest, AreToldOnceInOrderWithTheirPlace) {
  std::vector<std::string> places;
  size_t listedAtTheEnd = 0;
  recorder.onEvent = [&](const std::string& event) {
    if (event == "OnLoadFinished true") listedAtTheEnd = browser->GetPluginWidgets().size();
    if (event.rfind("OnPluginCreated", 0) == 0) places.push_back(rect(recorder.plugins.back()));
  };
  ASSERT_TRUE(load(kPage));
  EXPECT_EQ(places, (std::vector<std::string>{"10,20 100x50", "130,20 100x50", "250,20 60x60",
                                              "450,20 80x90", "335,26 40x30"}));
  EXPECT_EQ(listedAtTheEnd, 5u);
  std::vector<LarkaPluginWidget> listed = browser->GetPluginWidgets();
  ASSERT_EQ(listed.size(), 5u);
  std::map<void*, int> handles;
  for (size_t i = 0; i < listed.size(); ++i) {
    ++handles[listed[i].GetHandle()];
    EXPECT_EQ(listed[i].GetID(), recorder.plugins[i].GetID());
    listed[i].SetUserData(&handles);
    EXPECT_EQ(recorder.plugins[i].GetUserData(), &handles) << "the copies share one record";
  }
  EXPECT_EQ(handles.size(), 5u);
  EXPECT_EQ(handles.count(nullptr), 0u);
  EXPECT_EQ(told(), "one two three five four");

  // The places are where the pixels are: within them the background, right outside the outline.
  for (LarkaPluginWidget& plugin : listed) {
    const int x = plugin.GetX(), y = plugin.GetY();
    const int right = x + plugin.GetWidth() - 1, bottom = y + plugin.GetHeight() - 1;
    const bool inFrame = plugin.GetID() == "four";
    const unsigned background = inFrame ? 0xff00ff00u : 0xff203040u;
    for (int row = y; row <= bottom; ++row)
      for (int column = x; column <= right; ++column)
        ASSERT_EQ(pixel(browser, column, row), background) << plugin.GetID();
    if (inFrame) continue;
    for (const auto& [column, row] :
         {std::pair(x - 1, y), {x, y - 1}, {right + 1, y}, {x, bottom + 1}})
      EXPECT_EQ(pixel(browser, column, row), 0xffff0000u) << plugin.GetID();
  }
  int textPixels = 0;
  for (int x = 10; x < 50; ++x)
    for (int y = 100; y < 125; ++y) textPixels += pixel(browser, x, y) == 0xffffffffu;
  EXPECT_GT(textPixels, 20) << "the text around them is gone";
}

// The engine makes new plug-ins whenever it lays an element out anew.
TEST_F(PluginsTest, AreToldOnceHoweverOftenTheyAreLaidOut) {
  ASSERT_TRUE(load(kPage));
  told();
  change(
      "var one=$('one'),body=document.body;one.style.display='none';one.offsetWidth;"
      "one.style.display=''");
  change("body.removeChild(one)");
  change("body.appendChild(one)");
  change("body.removeChild(one);one.offsetWidth;body.insertBefore(one,body.firstChild)");
  change("body.style.display='none';body.offsetWidth;body.style.display=''");
  EXPECT_EQ(told(), "");
  EXPECT_EQ(browser->GetPluginWidgets().size(), 5u);
  EXPECT_NE(plugin("one").GetHandle(), plugin("two").GetHandle());

  // Identical ones, the second of which comes first in the page; one that is gone again; hidden.
  change(
      "function made(n){var e=document.createElement('embed');e.type='s/t';e.n=n;"
      "e.setAttribute('style','left:'+150*n+'px;top:200px;width:140px;height:100px');return e};"
      "var a=made(0),b=made(0),gone=made(2),hidden=made(3);hidden.style.display='none';"
      "a.m='a';b.m='b';body.appendChild(a);body.appendChild(gone);body.appendChild(hidden);"
      "a.offsetWidth;body.insertBefore(b,a);b.offsetWidth;body.removeChild(gone)");
  ASSERT_EQ(recorder.plugins.size(), 2u);
  EXPECT_EQ(recorder.plugins[0].ExecuteJS("this.m"), "a");
  EXPECT_EQ(recorder.plugins[1].ExecuteJS("this.m"), "b");
  told();
  change("hidden.style.display='block'");
  ASSERT_EQ(recorder.plugins.size(), 1u);
  EXPECT_EQ(rect(recorder.plugins[0]), "450,200 140x100");

  // Those that a page goes on making and removing are not kept for ever.
  for (const char* count : {"120", "90"})
    change(std::string("body.innerHTML='';for(var i=0;i<") + count +
           ";i++)body.appendChild(made(4))");
  EXPECT_EQ(browser->GetPluginWidgets().size(), 90u);
}

TEST_F(PluginsTest, AreTheMediaAndTelevisionTypesOnly) {
  ASSERT_TRUE(load(
      "<embed id=e1 type=x/unknown><embed id=e2 src=film.avi><embed id=none>"
      "<object id=o1 type='Video/MP4; codecs=avc1'></object><object id=o2 data=a.swf></object>"
      "<object id=o3 type=audio/mpeg data=a.mp3></object><object id=o4 data=film.ts></object>"
      "<object id=o5 type=application/oipfDrmAgent width=0 height=0></object>"
      "<object id=o6 classid='clsid:D27CDB6E-AE6D-11cf-96B8-444553540000'><param name=movie "
      "value=b.swf><embed id=e3 src=b.swf type=application/x-shockwave-flash></object>"
      "<object id=o7 type=application/x-shockwave-flash data=c.swf width=40 height=30><p>none"
      "<embed src=c.swf type=application/x-shockwave-flash></object>"
      "<object id=png data='data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAAD"
      "UlEQVR42mP8z8Dwn4EIAAAtFAL7Yd8NhwAAAABJRU5ErkJggg==' width=50 height=50></object>"
      "<object id=svg type=image/svg+xml width=50 height=50 data='data:image/svg+xml,<svg xmlns="
      "\"http://www.w3.org/2000/svg\"><rect width=\"50\" height=\"50\" fill=\"#0a0\"/></svg>'>"
      "</object><object id=html type=text/html width=50 height=50 data='data:text/html,<body "
      "style=background:%23a0f>'></object><object id=other type=x/y>fallback</object>"));
  EXPECT_EQ(told(), "e1 e2 o1 o2 o3 o4 o5 e3 o7");
  EXPECT_EQ(plugin("o7").GetWidth(), 40);
  EXPECT_EQ(script("document.getElementById('svg').getSVGDocument().documentElement.tagName"),
            "svg");
  EXPECT_EQ(script("document.getElementById('html').contentDocument.body.style.background"),
            "rgb(170, 0, 255)");
}

// Script sees the element, and no more than the element.
TEST_F(PluginsTest, HideTheEnginesObjectFromPageScript) {
  ASSERT_TRUE(load(kPage));
  EXPECT_EQ(script("var one=$('one'),s='';for(var k in one)s+=k+' ';typeof one.parent+' '+"
                   "typeof one.deleteLater+' '+typeof one.close+' '+/geometry|opacity/.test(s)"),
            "undefined undefined undefined false");
  EXPECT_EQ(script("one.width=33;one.visible=5;one.play=function(){return 7};"
                   "one.getAttribute('width')+one.visible+one.play()"),
            "3357");
}

TEST_F(PluginsTest, DescribeTheirElement) {
  ASSERT_TRUE(load(kPage));
  LarkaPluginWidget one = plugin("one"), three = plugin("three"), four = plugin("four");
  EXPECT_EQ(one.GetMimeType(), "x/y");
  EXPECT_EQ(one.GetName(), "N\xc3\xa4me");
  EXPECT_EQ(one.GetTagName(), "EMBED");
  EXPECT_EQ(three.GetTagName(), "OBJECT");
  EXPECT_EQ(three.GetName(), "");
  EXPECT_EQ(one.GetZIndex(), 7);
  EXPECT_EQ(three.GetZIndex(), 0);
  EXPECT_TRUE(one.HasAttribute("TYPE"));
  EXPECT_FALSE(one.HasAttribute("src"));
  one.SetAttribute("data-x", "\xe4");
  EXPECT_EQ(one.GetAttribute("data-x"), "\xc3\xa4");
  EXPECT_EQ(one.GetAttribute("nothing"), "");
  EXPECT_EQ(one.ExecuteJS("this.id + '\xe4'"), "one\xe4");
  EXPECT_TRUE(one.IsDirty());

  // An object as a result would take QtWebKit to everything that it leads to.
  script(
      "trap={value:7};Object.defineProperty(trap,'x',{enumerable:true,get:function(){alert()}})");
  const std::pair<const char*, const char*> results[] = {
      {"undefined", ""},
      {"null", ""},
      {"1.5", "1.5"},
      {"true", "true"},
      {"var v = 'x'; v", "x"},
      {"trap", ""},
      {"document.all", ""},
      {"let l = 'kept'; l", "kept"},
      {"l", "kept"},
      {"[1,2]", ""},
      {"no such thing", ""},
      {"this.onfocus = trap", ""},
      {"'a\nb\\\\'.length", ""},
      {"new Date(0)", "1970-01-01T00:00:00.000Z"},
      {"(function(){return trap})", ""}};
  for (const auto& [code, result] : results) EXPECT_EQ(one.ExecuteJS(code), result) << code;
  one.ExecuteJS("this.focus=this.blur=function(){return trap}");
  one.SetFocus(true);
  one.SetFocus(false);
  one.ExecuteJS("delete this.focus;delete this.blur");
  EXPECT_EQ(recorder.count("OnJavaScriptAlert"), 0);
  one.Dump();

  EXPECT_TRUE(one.IsVisible());
  for (const char* hiding : {"visibility='hidden'", "display='none'", "left='-500px'"}) {
    one.ExecuteJS((std::string("this.old=this.style.cssText;this.style.") + hiding).c_str());
    EXPECT_FALSE(one.IsVisible()) << hiding;
    one.ExecuteJS("this.style.cssText=this.old");
  }
  EXPECT_TRUE(one.IsVisible());

  // The page's scrolling moves nothing, that of a frame does.
  browser->Scroll(0, 300);
  settle();
  EXPECT_EQ(rect(one), "10,20 100x50");
  EXPECT_TRUE(one.IsVisible());
  EXPECT_EQ(pixel(browser, 20, 30), 0xff203040u);
  four.ExecuteJS("window.scrollTo(0,10)");
  EXPECT_EQ(rect(four), "335,16 40x30");
  browser->SetZoomLevel(200);
  settle();
  EXPECT_EQ(rect(one), "10,20 100x50");

  one.SetFocus(true);
  EXPECT_EQ(script("document.activeElement.id"), "one");
  one.SetFocus(false);
  EXPECT_EQ(script("document.activeElement.tagName"), "BODY");
  four.SetFocus(true);
  EXPECT_EQ(script("document.activeElement.id"), "frame");
  four.SetFocus(false);
  EXPECT_EQ(script("frames[0].document.activeElement.tagName"), "BODY");
}

TEST_F(PluginsTest, HaveNoPixelsAndTakeNoInput) {
  ASSERT_TRUE(load(kPage));
  change(
      "var n=0;['mousedown','mouseup','mousemove','click','keydown','keypress','keyup'].forEach("
      "function(t){document.addEventListener(t,function(){++n},true)})");
  for (LarkaPluginWidget& plugin : browser->GetPluginWidgets()) {
    EXPECT_EQ(plugin.GetPixelData(), nullptr);
    EXPECT_EQ(plugin.GetStride(), 0);
    EXPECT_EQ(plugin.GetPixelRGBA(1, 1), 0u);
    plugin.MouseMove(1, 2, 1);
    plugin.MouseDown(1, 2, 1);
    plugin.MouseUp(1, 2, 1);
    plugin.MouseClick(1, 2, 1);
    plugin.HandleKey('a', 0);
  }
  EXPECT_EQ(script("n"), "0");
  browser->MouseClick(20, 30, 0);  // through the browser the page gets it
  EXPECT_EQ(script("n"), "3");
  EXPECT_EQ(browser->HitTest(20, 30).GetControlId(), "one");
}

TEST_F(PluginsTest, AreTellingWhenTheyAreTouchedAndOnlyThen) {
  ASSERT_TRUE(load(
      "<!doctype html><body style='margin:0;height:2000px'><script>function $(id){return "
      "document.getElementById(id)}</script><style>embed,p,iframe{position:absolute;width:90px;"
      "height:50px;margin:0;background:#fff;border:0}</style><embed id=top type=a/b>"
      "<p id=p style='left:200px'></p><embed id=low type=a/b style='top:600px'>"
      "<p id=q style='left:60px;top:620px'></p><iframe id=f style='left:400px;top:0' "
      "srcdoc='<body style=\"margin:0;height:900px\"><embed id=in type=a/b "
      "style=\"position:absolute"
      ";left:0;top:400px;width:50px;height:30px\">'></iframe>"));
  EXPECT_EQ(dirtyPlugins("$('p').style.background='#111'"), "");
  EXPECT_EQ(dirtyPlugins("$('top').style.background='#222'"), "top ");
  EXPECT_EQ(dirtyPlugins("$('p').style.left='50px'"), "top ");
  EXPECT_EQ(dirtyPlugins("scrollTo(0,500)"), "low ");  // at 0,100 of the image now
  EXPECT_EQ(dirtyPlugins("$('q').style.background='#333'"), "low ");
  EXPECT_EQ(dirtyPlugins("scrollTo(0,0);frames[0].scrollTo(0,390)"), "top in ");
  EXPECT_EQ(dirtyPlugins("frames[0].document.body.style.background='#456'"), "in ");
  // Scrolled out of its frame it is not touched by what is painted in its place.
  EXPECT_EQ(dirtyPlugins("frames[0].scrollTo(0,0)"), "top ");  // any scroll repaints all
  EXPECT_EQ(dirtyPlugins("$('q').style.cssText='left:400px;top:400px;background:#111';"
                         "scrollTo(0,100)"),
            "");
  EXPECT_EQ(dirtyPlugins("scrollTo(0,0)"), "top ");

  // Once for each listener, after its own notice.
  std::vector<std::string> events;
  Recorder second;
  recorder.name = "1";
  second.name = "2";
  recorder.sharedEvents = second.sharedEvents = &events;
  browser->AddListener(&second);
  change("$('top').style.background='#777'");
  ASSERT_GE(events.size(), 4u);
  events.resize(4);
  EXPECT_EQ(events, (std::vector<std::string>{"1 OnDirty", "1 OnPluginDirty top", "2 OnDirty",
                                              "2 OnPluginDirty top"}));
  browser->RemoveListener(&second);
}

// A listener that leaves may be gone at once.
TEST_F(PluginsTest, AreNotToldToAListenerThatLeavesInItsOnDirty) {
  ASSERT_TRUE(load("<embed id=top type=a/b>"));
  auto* leaving = new Recorder;
  bool left = false;
  leaving->onEvent = [&, leaving](const std::string& event) {
    if (event != "OnDirty") return;
    browser->RemoveListener(leaving);
    left = true;
  };
  browser->AddListener(leaving);
  change("document.body.style.background='#123'");
  EXPECT_TRUE(left);
  EXPECT_EQ(leaving->count("OnPluginDirty"), 0);
  delete leaving;
}

TEST_F(PluginsTest, AreThoseOfTheCurrentPage) {
  ASSERT_TRUE(load(kPage));
  LarkaPluginWidget kept = plugin("one"), inFrame = plugin("four");
  kept.SetUserData(this);

  // A frame that loads leaves the others', and takes its own along.
  change("$('frame').srcdoc='<embed id=six type=a/b>'");
  change("var f=document.createElement('iframe');f.srcdoc='later';document.body.appendChild(f)");
  std::string ids;
  for (LarkaPluginWidget& plugin : browser->GetPluginWidgets()) ids += plugin.GetID() + " ";
  EXPECT_EQ(ids, "one two three five six ");
  EXPECT_EQ(inFrame.GetID(), "");

  size_t listed = 99;
  recorder.onEvent = [&](const std::string& event) {
    if (event == "OnLoadStarted") listed = browser->GetPluginWidgets().size();
  };
  told();
  ASSERT_TRUE(load("<embed id=new type=a/b>"));
  EXPECT_EQ(listed, 0u);
  EXPECT_EQ(told(), "new");
  EXPECT_EQ(browser->GetPluginWidgets().size(), 1u);
  recorder.onEvent = nullptr;
  browser->Back();
  settle();
  EXPECT_EQ(told(), "one two three five four");
}

// What a listener begins meanwhile is told after the load that it hears the plug-in of.
TEST_F(PluginsTest, AreToldBeforeTheEndOfTheirLoad) {
  const std::string next = host.directory.write("next.html", "<title>next</title>");
  for (const int pumped : {0, 150}) {
    recorder.onEvent = [&](const std::string& event) {
      if (event != "OnPluginCreated a") return;
      browser->Navigate(next.c_str());
      if (pumped > 0) host.pumpFor(pumped);
    };
    recorder.events.clear();
    const std::string page = host.directory.write("plugin.html", "<embed id=a type=a/b>");
    browser->Navigate(page.c_str());
    ASSERT_TRUE(host.pumpUntil([&] { return recorder.count("OnLoadFinished") == 2; }));
    std::string order;
    for (const std::string& event : recorder.events)
      if (event == "OnLoadStarted" || event == "OnPluginCreated a" ||
          event == "OnLoadFinished true")
        order += event[2] == 'P' ? 'p' : event[6] == 'S' ? 's' : 'f';
    EXPECT_EQ(order, "spfsf") << pumped;
  }
}

TEST_F(PluginsTest, ThatGoBeforeTheirAnnouncementAreNotTold) {
  recorder.onEvent = [&](const std::string& event) {
    if (event == "OnJavaScriptAlert leave") browser->Navigate("about:blank");
    if (event == "OnPluginCreated a") script("document.body.innerHTML=''"), host.pumpFor(50);
  };
  load(
      "<body><script>document.write('<embed id=brief type=a/b>');document.body.offsetWidth;"
      "alert('leave')</script>");
  host.pumpFor(200);
  EXPECT_EQ(recorder.count("OnJavaScriptAlert leave"), 1);
  EXPECT_EQ(told(), "");
  ASSERT_TRUE(load("<embed id=a type=a/b><embed id=b type=a/b>"));
  EXPECT_EQ(told(), "a");
}

/// The process's resident memory in KiB.
long residentKilobytes() {
  std::ifstream file("/proc/self/statm");
  long total = 0, resident = 0;
  file >> total >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

TEST_F(PluginsTest, AreShownFullScreenAndThePageAgain) {
  ASSERT_TRUE(
      load("<body style='margin:0;background:#203040'><embed id=film type=video/mp4 style='"
           "position:absolute;left:50px;top:60px;width:150px;height:200px;"
           "background:#ff0000 padding-box;border-right:150px solid transparent'>"));
  LarkaPluginWidget film = plugin("film");
  EXPECT_FALSE(film.IsFullScreen());
  const unsigned char* page = browser->GetBrowserImage();
  long memory = 0;
  for (int i = 0; i < 100; ++i) {
    const bool rendered = i % 2 == 0;
    recorder.dirty = 0;
    for (int again = 0; again <= i % 3; ++again) film.SetFullScreen(true, rendered, false);
    EXPECT_TRUE(film.IsFullScreen());
    ASSERT_EQ(browser->GetBrowserStride(), 300 * 4);
    EXPECT_EQ(pixel(browser, 10, 10), 0u) << "not painted yet";
    ASSERT_TRUE(host.pumpUntil([&] { return recorder.dirty > 0; }));
    ASSERT_EQ(pixel(browser, 0, 0), rendered ? 0xffff0000u : 0u);
    ASSERT_EQ(pixel(browser, 149, 190), rendered ? 0xffff0000u : 0u);
    ASSERT_EQ(pixel(browser, 151, 199), 0u);

    recorder.dirty = 0;
    film.SetFullScreen(false, rendered, false);
    EXPECT_FALSE(film.IsFullScreen());
    ASSERT_EQ(browser->GetBrowserImage(), page);
    ASSERT_EQ(browser->GetBrowserStride(), 640 * 4);
    ASSERT_TRUE(host.pumpUntil([&] { return recorder.dirty > 0; }));
    ASSERT_EQ(pixel(browser, 0, 0), 0xff203040u);
    ASSERT_EQ(pixel(browser, 55, 65), 0xffff0000u);
    ASSERT_EQ(pixel(browser, 349, 259), 0xff203040u);
    ASSERT_EQ(pixel(browser, 639, 359), 0xff203040u);
    if (i == 20) memory = residentKilobytes();
  }
#ifdef LARKA_SANITIZED
  memory = residentKilobytes();  // the sanitizer keeps what is freed
#endif
  EXPECT_LT(residentKilobytes() - memory, 4096);  // the images of 80 times are 18 MiB
}

TEST_F(PluginsTest, LeaveFullScreenWithTheirElement) {
  const char page[] =
      "<body style='background:#203040'><embed id=film type=video/mp4 width=200 "
      "height=100><embed id=empty type=video/mp4 width=0 height=0>";
  const std::function<void()> kLeaving[] = {
      [&] { load("<body style='background:#00ff00'>"); },
      [&] { change("document.body.removeChild(document.getElementById('film'))"); },
      [&] { plugin("empty").SetFullScreen(false, true, true); },
  };
  for (const auto& leave : kLeaving) {
    ASSERT_TRUE(load(page));
    plugin("film").SetFullScreen(true, true, false);
    settle();
    ASSERT_EQ(browser->GetBrowserStride(), 200 * 4);
    leave();
    settle();
    ASSERT_EQ(browser->GetBrowserStride(), 640 * 4);
    EXPECT_EQ(pixel(browser, 639, 359), &leave == kLeaving ? 0xff00ff00u : 0xff203040u);
  }
  // One that the page doesn't show goes without a repaint.
  ASSERT_TRUE(
      load("<body style='background:#203040;overflow:hidden'><embed id=film type=video/mp4 "
           "style='position:absolute;top:5000px;width:200px;height:100px'>"));
  LarkaPluginWidget below = plugin("film");
  below.SetFullScreen(true, true, false);
  settle();
  EXPECT_EQ(browser->GetBrowserStride(), 200 * 4);
  recorder.dirty = 0;
  script("document.body.removeChild(document.getElementById('film'))");
  ASSERT_TRUE(host.pumpUntil([&] { return recorder.dirty > 0; })) << "nobody is told";
  EXPECT_EQ(pixel(browser, 639, 359), 0xff203040u);

  // What is gone leaves what another one shows alone.
  ASSERT_TRUE(load(page));
  plugin("film").SetFullScreen(true, true, false);
  below.SetFullScreen(false, true, false);
  EXPECT_EQ(browser->GetBrowserStride(), 200 * 4);

  ASSERT_TRUE(load(page));
  for (const char* size : {"0", "30000px"}) {
    script("var e=document.getElementById('empty').style;e.width=e.height='" + std::string(size) +
           "';1");
    plugin("empty").SetFullScreen(true, true, false);
    settle();
    EXPECT_EQ(browser->GetBrowserImage(), nullptr) << size;
    EXPECT_EQ(browser->GetBrowserStride(), 0) << size;
    plugin("empty").SetFullScreen(false, true, false);
  }

  // Before anything was painted there is nothing to come back to.
  Recorder listener;
  LARKA::ILarkaBrowser* other = host.createBrowser(&listener, 0, 0);
  other->Navigate(host.directory.write("early.html", page).c_str());
  ASSERT_TRUE(host.pumpUntil([&] { return listener.finished && !listener.plugins.empty(); }));
  listener.plugins[0].SetFullScreen(true, true, false);
  listener.plugins[0].SetFullScreen(false, true, false);
  EXPECT_EQ(other->GetBrowserImage(), nullptr);
  other->Resize(640, 360);
  host.settle(listener);
  EXPECT_EQ(pixel(other, 639, 359), 0xff203040u);
  host.manager->DestroyBrowser(other, true);
}

// Every operation, on a handle whose page, browser or library is gone.
void expectNothing(LarkaPluginWidget plugin) {
  plugin.SetAttribute("a", "b");
  plugin.SetFocus(true);
  plugin.SetFocus(false);
  plugin.SetFullScreen(true, true, false);
  EXPECT_EQ(plugin.GetX() + plugin.GetY() + plugin.GetWidth() + plugin.GetHeight(), 0);
  EXPECT_EQ(plugin.GetZIndex() + plugin.GetStride(), 0);
  EXPECT_EQ(plugin.GetMimeType() + plugin.GetID() + plugin.GetName() + plugin.GetTagName(), "");
  EXPECT_EQ(plugin.GetAttribute("a") + plugin.ExecuteJS("1"), "");
  EXPECT_FALSE(plugin.HasAttribute("a") || plugin.HasAttribute(nullptr) || plugin.IsVisible());
  EXPECT_EQ(plugin.GetPixelData(), nullptr);
  EXPECT_EQ(plugin.GetPixelRGBA(0, 0), 0u);
}

TEST_F(PluginsTest, HandlesOutliveTheirPageTheirBrowserAndTheLibrary) {
  expectNothing(LarkaPluginWidget());
  expectNothing(LarkaPluginWidget(nullptr, true));
  ASSERT_TRUE(load(kPage));
  std::vector<LarkaPluginWidget> handles = browser->GetPluginWidgets();
  handles[0].SetUserData(this);
  ASSERT_TRUE(load("<p>next"));
  for (LarkaPluginWidget& handle : handles) expectNothing(handle);
  EXPECT_EQ(handles[0].GetUserData(), this);
  EXPECT_EQ(browser->GetBrowserStride(), 640 * 4) << "a plug-in that is gone is not shown";

  for (bool immediate : {false, true}) {
    Recorder listener;
    LARKA::ILarkaBrowser* other = host.createBrowser(&listener);
    ASSERT_TRUE(host.load(other, &listener, kPage));
    for (LarkaPluginWidget& handle : listener.plugins) handles.push_back(handle);
    LarkaPluginWidget shown = listener.plugins[0];
    shown.SetFullScreen(true, true, false);
    host.manager->DestroyBrowser(other, immediate);
    host.manager->PumpEvents();
    expectNothing(shown);
    for (LarkaPluginWidget& handle : handles) expectNothing(handle);
  }
  ASSERT_TRUE(load(kPage));
  for (LarkaPluginWidget& handle : browser->GetPluginWidgets()) handles.push_back(handle);
  host.manager->DestroyBrowser(browser, true);
  browser = nullptr;
  host.manager->Shutdown(true);
  for (LarkaPluginWidget& handle : handles) expectNothing(handle);
  handles[1] = handles[0];
  EXPECT_EQ(handles[1].GetUserData(), this);
}

}  // namespace
