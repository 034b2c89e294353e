// Input at random.
#include <climits>
#include <random>

#include "Host.h"

namespace {

using namespace LARKA;

class InputTest : public test::BrowserTest {};

TEST_F(InputTest, OfAnyKindIsSurvived) {
  const std::string pages[] = {
      host.directory.write("form.html",
                           "<title>Form</title><form action=sent.html><input><select><option>1"
                           "<option>2</select><textarea></textarea><input type=checkbox>"
                           "<input type=submit>"),
      host.directory.write("sent.html",
                           "<input autofocus><a href=form.html>back</a>"
                           "<iframe src=form.html></iframe>"),
      "file:///missing"};
  ASSERT_TRUE(visit(pages[0]));
  std::mt19937 random(20);
  const auto below = [&random](int end) { return static_cast<int>(random() % end); };
  const auto place = [&] { return below(4) ? below(400) : below(10000) - 5000; };
  const int amounts[] = {0, 1, -120, 120, INT_MAX, INT_MIN, INT_MIN + 1};
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
      [&] { below(2) ? browser->FocusNext() : browser->FocusPrev(); }};
  for (int event = 0; event < 30000; ++event) {
    deeds[below(10)]();
    if (event % 100 == 0) script("(e=document.activeElement).parentNode.removeChild(e)");
    if (event % 300 == 0) browser->Navigate(pages[below(3)].c_str());
    if (event % 1000 == 0) browser->Back();
    if (event % 7 == 0) host.manager->PumpEvents();
  }
  browser->Stop();
  EXPECT_TRUE(visit(pages[0]));
  EXPECT_EQ(browser->GetTitle(), "Form");
}

}  // namespace
