// Input at random.
#include <climits>
#include <random>

#include "Host.h"
#include "HttpServer.h"

namespace {

using namespace LARKA;

class InputTest : public test::BrowserTest {};

TEST_F(InputTest, OfAnyKindIsSurvived) {
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
