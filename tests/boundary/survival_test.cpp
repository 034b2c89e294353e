// What survives its page, its browser and the library, and any input.
#include <climits>
#include <random>

#include "Host.h"
#include "HttpServer.h"

namespace {

using namespace LARKA;

void expectNothing(LarkaPluginWidget plugin) {
  plugin.SetAttribute("a", "b");
  plugin.SetFocus(true);
  plugin.SetFocus(false);
  plugin.SetFullScreen(true, true, false);
  plugin.SetFullScreen(false, true, false);
  EXPECT_EQ(plugin.GetX() + plugin.GetY() + plugin.GetWidth() + plugin.GetHeight(), 0);
  EXPECT_EQ(plugin.GetZIndex() + plugin.GetStride() + plugin.GetPixelRGBA(0, 0), 0u);
  EXPECT_EQ(plugin.GetMimeType() + plugin.GetID() + plugin.GetName() + plugin.GetTagName(), "");
  EXPECT_EQ(plugin.GetAttribute("a") + plugin.ExecuteJS("1"), "");
  EXPECT_FALSE(plugin.HasAttribute("a") || plugin.HasAttribute(nullptr) || plugin.IsVisible());
  EXPECT_EQ(plugin.GetPixelData(), nullptr);
}

void expectNothing(LarkaHTMLControl control) {
  int x = 9, y = 9, width = 9, height = 9;
  control.Focus();
  control.SetCaretAtEndOfControl();
  control.SetStyleProperty("color", "blue");
  control.GetControlRect(&x, &y, &width, &height);
  EXPECT_FALSE(x || y || width || height);
  control.GetZoomRect(&x, &y, &width, &height);
  EXPECT_EQ(x + y + width + height, 1024 + 768);
  control.GetZoomRect(nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(control.GetControlType(), CONTROL_UNKNOWN);
  EXPECT_EQ(control.GetControlId() + control.GetControlText(), "");
  EXPECT_EQ(control.GetStyleProperty("color"), "");
  EXPECT_FALSE(control.IsControlSelected() || control.HasFocus() || control.IsClickable());
}

class SurvivalTest : public test::BrowserTest {
 protected:
  /// Takes a handle to every element of a browser that shows kPage.
  void take(ILarkaBrowser* from) {
    from->ExecuteJavascript("frames[0].document.getElementById('in').focus()");
    for (LarkaHTMLControl* each : from->GetControls(CONTROL_TEXT)) {
      m_controls.push_back(*each);
      delete each;
    }
    m_controls.push_back(from->HitTest(20, 20));
    for (const LarkaPluginWidget& each : from->GetPluginWidgets()) m_plugins.push_back(each);
  }
  void expectNothingOfAny() const {
    for (const LarkaHTMLControl& each : m_controls) expectNothing(each);
    for (const LarkaPluginWidget& each : m_plugins) expectNothing(each);
  }

  std::vector<LarkaHTMLControl> m_controls{1};
  std::vector<LarkaPluginWidget> m_plugins{LarkaPluginWidget(), LarkaPluginWidget(nullptr, true)};
};

const char kPage[] =
    "<body style='margin:0'><a href=x><input id=i style='width:90px;height:50px'></a><br>"
    "<iframe srcdoc='<input id=in><embed id=q type=a/b>'></iframe><embed id=p type=a/b>";

TEST_F(SurvivalTest, HandlesOutliveTheirPageTheirBrowserAndTheLibrary) {
  expectNothingOfAny();
  ASSERT_TRUE(load(kPage));
  take(browser);
  ASSERT_EQ(m_controls.size() + m_plugins.size(), 3u + 4u);
  m_plugins[2].SetUserData(this);
  EXPECT_EQ(recorder.plugins[0].GetUserData(), this) << "copies share one record";
  LarkaHTMLControl assigned;
  assigned = m_controls[2];
  assigned = *&assigned;
  EXPECT_TRUE(assigned.IsClickable());

  // A frame that is left takes its own along, a page takes all.
  const auto ids = [&] {
    return m_controls[1].GetControlId() + assigned.GetControlId() + m_plugins[2].GetID() +
           m_plugins[3].GetID();
  };
  EXPECT_EQ(ids(), "iniqp");
  script("document.getElementsByTagName('iframe')[0].srcdoc='left'");
  EXPECT_TRUE(host.pumpUntil([&] { return ids() == "ip"; })) << ids();
  ASSERT_TRUE(load("<embed type=a/b width=90>"));
  browser->GetPluginWidgets()[0].SetFullScreen(true, true, false);
  expectNothingOfAny();
  expectNothing(assigned);
  EXPECT_EQ(browser->GetBrowserStride(), 90 * 4) << "one that is gone ended what another shows";
  EXPECT_EQ(m_plugins[2].GetUserData(), this);

  for (bool immediate : {false, true}) {
    test::Recorder listener;
    ILarkaBrowser* other = host.createBrowser(&listener);
    ASSERT_TRUE(host.load(other, &listener, kPage));
    take(other);
    listener.plugins[0].SetFullScreen(true, true, false);
    host.manager->DestroyBrowser(other, immediate);
    host.manager->PumpEvents();
    expectNothingOfAny();
  }
  ASSERT_TRUE(load("<input id=i style='width:90px;height:50px'>"));
  LarkaHTMLControl left = browser->HitTest(20, 20);
  ASSERT_TRUE(load(kPage));
  expectNothing(left);
  browser->Back();
  EXPECT_TRUE(host.pumpUntil([&] { return left.GetControlId() == "i"; })) << "QtWebKit kept it";
  take(browser);
  host.manager->DestroyBrowser(browser, true);
  browser = nullptr;
  expectNothingOfAny();
  host.manager->Shutdown(true);
  expectNothingOfAny();
}

TEST_F(SurvivalTest, AnyInputIsSurvived) {
  test::HttpServer server;
  server.page("/form",
              "<title>Form</title><form action=/sent><input><select><option>1<option>2"
              "</select><textarea></textarea><input type=checkbox><input type=submit>");
  server.page("/sent", "<input autofocus><a href=/form>back</a><iframe src=/form></iframe>");
  ASSERT_TRUE(visit(server.url("/form")));
  std::mt19937 random(20);
  const auto below = [&random](int end) {
    return std::uniform_int_distribution<int>(0, end - 1)(random);
  };
  const auto place = [&] { return below(4) ? below(400) : below(10000) - 5000; };
  const int amounts[] = {0, 1, -120, 120, INT_MAX, INT_MIN, INT_MIN + 1};
  const char* pages[] = {"/form", "/sent", "/missing"};
  const std::function<void()> deeds[] = {
      [&] { browser->MouseMove(place(), place(), 0); },
      [&] { browser->MouseDown(place(), place(), 0); },
      [&] { browser->MouseUp(place(), place(), 0); },
      [&] { browser->MouseClick(place(), place(), 0); },
      [&] { browser->MouseWheel(static_cast<Directions>(below(7) - 1), amounts[below(7)], 0); },
      [&] { browser->MouseWheel(amounts[below(7)], amounts[below(7)], 0); },
      [&] { browser->KeyDown(below(2010) - 10, below(257) - 1); },
      [&] { browser->KeyUp(below(2010) - 10, below(257) - 1); },
      [&] { press(below(2) ? KEYCODE_TAB : KEYCODE_UP + below(9)); },
      [&] { browser->HitTest(place(), place()).GetZoomRect(nullptr, nullptr, nullptr, nullptr); },
      [&] { below(2) ? browser->FocusNext() : browser->FocusPrev(); }};
  for (int event = 0; event < 30000; ++event) {
    deeds[below(static_cast<int>(std::size(deeds)))]();
    if (event % 100 == 0) script("(e=document.activeElement).parentNode.removeChild(e)");
    if (event % 300 == 0) browser->Navigate(server.url(pages[below(3)]).c_str());
    if (event % 1000 == 0) browser->Back();
    if (event % 7 == 0) host.manager->PumpEvents();
  }
  browser->Stop();
  EXPECT_TRUE(visit(server.url("/form")));
  EXPECT_EQ(browser->GetTitle(), "Form");
}

}  // namespace
