// Navigation, history, script, meta tags, zoom and the viewport.
#include <climits>
#include <cmath>

#include "Host.h"
#include "HttpServer.h"

namespace {

class PagesTest : public test::BrowserTest {
 protected:
  /// Goes somewhere and waits until the load has ended, well or not.
  bool end(const std::function<void()>& go) {
    recorder.finished = false;
    go();
    return host.pumpUntil([this] { return recorder.finished; });
  }

  test::HttpServer server;
};

TEST_F(PagesTest, HistoryGoesToBothEnds) {
  EXPECT_EQ(browser->GetHistoryLength(), 0);
  EXPECT_EQ(browser->GetPrevLocation() + browser->GetNextLocation(), "");
  std::vector<std::string> urls;
  for (int i = 0; i < 10; ++i) {
    const std::string path = "/page" + std::to_string(i);
    server.page(path, "<title>" + path + "</title>");
    urls.push_back(server.url(path));
    ASSERT_TRUE(visit(urls.back()));
    EXPECT_EQ(browser->GetHistoryLength(), i + 1);
  }
  const auto isAt = [&](size_t i) {
    EXPECT_EQ(browser->GetCurrentLocation(), urls[i]);
    EXPECT_EQ(browser->GetTitle(), "/page" + std::to_string(i));
    EXPECT_EQ(browser->GetPrevLocation(), i > 0 ? urls[i - 1] : "");
    EXPECT_EQ(browser->GetNextLocation(), i < 9 ? urls[i + 1] : "");
    EXPECT_EQ(browser->GetHistoryLength(), 10);
  };
  isAt(9);
  browser->Forward();
  host.pumpFor(50);
  isAt(9);
  for (size_t i = 9; i-- > 0;) {
    ASSERT_TRUE(end([this] { browser->Back(); }));
    isAt(i);
  }
  browser->Back();
  host.pumpFor(50);
  isAt(0);
  for (size_t i = 1; i < 10; ++i) {
    ASSERT_TRUE(end([this] { browser->Forward(); }));
    isAt(i);
  }
  const size_t asked = server.requests("/page9").size();
  ASSERT_TRUE(end([this] { browser->Reload(); }));
  isAt(9);
  EXPECT_EQ(server.requests("/page9").size(), asked + 1);
  server.answer("/silent", "");
  browser->Navigate(server.url("/silent").c_str());
  ASSERT_TRUE(host.pumpUntil([this] { return !server.requests("/silent").empty(); }));
  recorder.finished = false;
  browser->Stop();
  ASSERT_TRUE(host.pumpUntil([this] { return recorder.finished; }));
  EXPECT_FALSE(recorder.ok);
}

TEST_F(PagesTest, AFailedLoadLeavesTheBrowserUsable) {
  test::HttpServer gone;
  gone.stop();
  server.page("/good", "<title>Good</title>");
  server.answer("/cut",
                "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 9000\r\n\r\n"
                "<title>Cut</title><p>half");
  server.answer("/garbage", "no http at all");
  struct {
    const char* what;
    std::string url;
    bool ok;  // an address that is none shows an empty page
  } const rows[] = {
      {"refused", gone.url("/"), false},
      {"unknown host", "http://no-such-host.invalid/", false},
      {"malformed", "http://[bad", true},
      {"unknown scheme", "nonsense:stuff", false},
      {"empty", "", true},
      {"missing file", "file:///no/such/file.html", false},
      {"404 without a body", server.url("/missing"), false},
      {"garbage", server.url("/garbage"), false},
      {"cut in the middle", server.url("/cut"), false},
  };
  for (const auto& row : rows) {
    ASSERT_TRUE(visit(server.url("/good"))) << row.what;
    recorder.finished = recorder.ok = false;
    testing::internal::CaptureStderr();
    browser->Navigate(row.url.c_str());
    EXPECT_TRUE(host.pumpUntil([this] { return recorder.finished; })) << row.what;
    const std::string written = testing::internal::GetCapturedStderr();
    if (row.url == gone.url("/")) {
      EXPECT_NE(written.find("Error 1 loading url '" + row.url + "'\n"), std::string::npos);
      EXPECT_EQ(script("document.documentElement.outerHTML"),
                "<html><head><title>Failed loading page</title></head><body></body></html>");
    }
    EXPECT_EQ(recorder.ok, row.ok) << row.what;
    EXPECT_EQ(browser->GetTitle(), row.ok ? "" : "Failed loading page") << row.what;
    EXPECT_EQ(script("1+1"), "2") << row.what;
  }
  EXPECT_TRUE(visit(server.url("/good")));

  // Once the server is back, the page comes by reloading, and history doesn't grow.
  ASSERT_TRUE(end([&] { browser->Navigate(gone.url("/late").c_str()); }));
  const int entries = browser->GetHistoryLength();
  ASSERT_TRUE(end([this] { browser->Reload(); }));
  EXPECT_FALSE(recorder.ok);
  test::HttpServer back(gone.port());
  back.page("/late", "<title>Back</title>");
  ASSERT_TRUE(end([this] { browser->Reload(); }));
  EXPECT_EQ(browser->GetTitle(), "Back");
  EXPECT_EQ(browser->GetCurrentLocation(), gone.url("/late"));
  EXPECT_EQ(browser->GetHistoryLength(), entries);
  EXPECT_EQ(browser->GetPrevLocation(), server.url("/good"));
}

TEST_F(PagesTest, FindATelevision) {
  ASSERT_TRUE(load("<iframe srcdoc='<script>touch=\"ontouchstart\" in window</script>'></iframe>"));
  const char size[] = "screen.width+'x'+screen.height+' '+screen.availWidth+'x'+screen.availHeight";
  EXPECT_EQ(script(size), "640x360 640x360");
  browser->Resize(500, 300);
  browser->SetZoomLevel(200);
  EXPECT_EQ(script(std::string("frames[0].eval('") + "screen.width" + "')"), "500");
  EXPECT_EQ(script("frames[0].touch||'ontouchstart' in document.body||!!window.TouchEvent"),
            "false");
}

TEST_F(PagesTest, ShowElementsFullScreenUntilEscape) {
  ASSERT_TRUE(load(
      "<style>*{margin:0}:-webkit-full-screen{width:100%;height:100%}</style><div id=d "
      "onclick='this.webkitRequestFullscreen()' style='background:#00ff00;padding:30px'></div>"
      "<script>log='';document.addEventListener('webkitfullscreenchange',function(){log+='c'});"
      "onkeydown=function(e){log+=e.keyCode}</script>"));
  const auto corner = [this] {
    settle();
    return test::pixel(browser, 630, 350);
  };
  EXPECT_NE(corner(), 0xff00ff00u);
  browser->MouseClick(10, 10, 0);
  EXPECT_EQ(corner(), 0xff00ff00u);
  press(LARKA::KEYCODE_ESCAPE);
  EXPECT_NE(corner(), 0xff00ff00u);
  press(LARKA::KEYCODE_ESCAPE);
  EXPECT_EQ(script("log"), "cc27");
}

TEST_F(PagesTest, PlayFilmsIntoTheImage) {
  const std::string film = host.directory.file("film.ogv");
  const std::string make =
      "gst-launch-1.0 -q videotestsrc pattern=solid-color foreground-color=0xff20c040 "
      "num-buffers=60 "
      "! video/x-raw,width=160,height=120,framerate=30/1 ! theoraenc ! oggmux ! filesink "
      "location=" +
      film;
  ASSERT_EQ(system(make.c_str()), 0);
  ASSERT_TRUE(load("<body style='margin:0'><video id=v src='" + film + "' autoplay></video>"));
  ASSERT_TRUE(host.pumpUntil([this] {
    const unsigned colour = test::pixel(browser, 80, 60);
    return (colour >> 8 & 0xff) > 0xa0 && (colour >> 16 & 0xff) < 0x50;
  }));
  EXPECT_EQ(script("typeof new Audio"), "object");
}

TEST_F(PagesTest, ScriptIsEscapedNarrowly) {
  ASSERT_TRUE(load("<title>x</title>"));
  const std::pair<const char*, const char*> rows[] = {
      {"1+1", "2"},
      {"document.title='it'; document.title", "it"},
      {"'\\\\x41'", "A"},  // one level of backslashes is gone
      {"'a\nb'", ""},      // a line break ends the text
      {"undefined", ""},
      {"null", ""},
      {"syntax error here", ""},
      {"[1,[2,3]]", "1,2,3"},
      {"'\xe4'.length", "1"},  // Latin-1 in
      {"'\xe4'", "\xc3\xa4"},  // UTF-8 out
  };
  for (const auto& row : rows) EXPECT_EQ(script(row.first), row.second) << row.first;
}

TEST_F(PagesTest, MetaTagsAreFoundByNameFirst) {
  ASSERT_TRUE(
      load("<head><meta http-equiv=both content=h><meta name=both content=n>"
           "<meta http-equiv=only content='\xc3\xa4'><meta charset=utf-8><meta name=bare>"
           "</head><body><meta name=late content=l>"));
  const std::pair<const char*, const char*> rows[] = {
      {"both", "n"}, {"only", "\xc3\xa4"}, {"bare", ""}, {"late", ""}, {"none", ""}, {"a\"b", ""}};
  for (const auto& row : rows) EXPECT_EQ(browser->GetMetaTagValue(row.first), row.second);
}

TEST_F(PagesTest, ZoomScrollAndViewportAgree) {
  ASSERT_TRUE(load("<body style='margin:0'><div style='width:3000px;height:3000px'></div>"));
  for (int percent : {50, 100, 150, 200}) {
    browser->SetZoomLevel(percent);
    settle();
    EXPECT_EQ(browser->GetZoomLevel(), percent);
    browser->ScrollToPoint(100, 200);
    EXPECT_EQ(script("scrollX*" + std::to_string(percent) + "/100"), std::to_string(percent));
    int x = 0, y = 0, width = 0, height = 0, contentWidth = 0, contentHeight = 0;
    browser->GetViewPort(&x, &y, &width, &height);
    EXPECT_EQ(std::to_string(x) + "," + std::to_string(y), "100,200") << percent;
    EXPECT_EQ(std::to_string(width) + "x" + std::to_string(height), "640x360");
    browser->Scroll(LARKA::DIRECTION_DOWN, percent);
    browser->Scroll(LARKA::DIRECTION_RIGHT, percent);
    browser->Scroll(-percent / 2, 0);
    browser->GetViewPort(&x, &y, nullptr, nullptr);
    EXPECT_EQ(std::to_string(x) + "," + std::to_string(y), "150,300") << percent;
    browser->Scroll(LARKA::DIRECTION_UP, INT_MAX);
    browser->Scroll(LARKA::DIRECTION_LEFT, INT_MAX);
    browser->Scroll(static_cast<LARKA::Directions>(7), 50);
    browser->GetViewPort(&x, &y, nullptr, nullptr);
    EXPECT_EQ(std::to_string(x) + "," + std::to_string(y), "0,0") << percent;
    for (const auto& toTheEnd : std::vector<std::function<void()>>{
             [this] { browser->Scroll(INT_MAX, INT_MAX); },
             [this] { browser->Scroll(INT_MAX, INT_MAX); },
             [this] { browser->ScrollToPoint(INT_MAX, INT_MAX); },
         }) {
      toTheEnd();
      EXPECT_EQ(script("scrollX>0&&scrollX+innerWidth>=3000-1&&scrollY>scrollX"), "true")
          << percent;
    }
    browser->ScrollToPoint(INT_MIN, INT_MIN);
    EXPECT_EQ(script("scrollX+scrollY"), "0") << percent;
    browser->GetFrameContentSize(contentWidth, contentHeight);
    EXPECT_EQ(contentWidth, 30 * percent);
    EXPECT_EQ(contentHeight, 30 * percent);
  }
  browser->SetZoomLevel(150);
  browser->ScrollToPoint(33, 35);
  EXPECT_EQ(script("Math.round(scrollX*1.5)+','+Math.round(scrollY*1.5)"), "50,53");
  browser->SetZoomLevel(200);
  browser->GetViewPort(nullptr, nullptr, nullptr, nullptr);
  for (double nonsense : {0.0, -100.0, double{NAN}, double{INFINITY}, 1e308, 1e-308}) {
    browser->SetZoomLevel(nonsense);
    EXPECT_EQ(browser->GetZoomLevel(), 200);
  }
  int left, top, width, height;
  browser->SetZoomLevel(1e-9);
  settle();
  browser->HitTest(10, 10).GetControlRect(&left, &top, &width, &height);
}

}  // namespace
