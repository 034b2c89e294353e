// What a viewer does on a page: with the remote control alone, with the pointer, and at random.
#include <climits>
#include <iterator>
#include <random>

#include "Host.h"
#include "HttpServer.h"

namespace {

using LARKA::LarkaHTMLControl;
using namespace LARKA;  // the key codes
using test::pixel;

const char kForm[] = R"(<!doctype html><meta charset=utf-8><title>Form</title><style>
body{margin:0;background:#fff}form>*{position:absolute;left:20px;width:300px;height:24px;margin:0}
:focus{outline:4px solid #ff8800}</style>
<form action=/sent method=post accept-charset=utf-8>
<input id=name name=name style="top:10px">
<input id=secret name=secret type=password style="top:50px">
<input id=digits name=digits type=number style="top:90px">
<textarea id=notes name=notes style="top:130px;height:50px"></textarea>
<input id=news name=news type=checkbox style="top:200px;width:20px">
<input id=tea name=drink value=tea type=radio style="top:230px;width:20px">
<input id=milk name=drink value=milk type=radio style="top:230px;left:60px;width:20px">
<select id=town name=town style="top:260px"><option>Aachen<option>Bonn<option>K&ouml;ln</select>
<input id=go type=submit value=Go style="top:300px"></form>)";

const char kSent[] =
    "name=J%C3%BCrgen+%E2%82%AC&secret=%C3%A4+%26+b&digits=42&notes=one%0D%0A%C3%B1wo&news=on"
    "&drink=milk&town=K%C3%B6ln";

class InputTest : public test::BrowserTest {
 protected:
  /// The one control with the focus, by what the host is told.
  std::string focused() {
    std::string id;
    for (ControlType type : {CONTROL_TEXT, CONTROL_TEXTAREA, CONTROL_SELECT})
      for (LarkaHTMLControl* control : browser->GetControls(type)) {
        if (control->HasFocus()) id += control->GetControlId();
        delete control;
      }
    return id;
  }

  /// Whether the page image shows the focus ring around an element, on all four sides.
  bool ringIsVisible(LarkaHTMLControl control) {
    settle();
    int x, y, width, height;
    control.GetControlRect(&x, &y, &width, &height);
    const unsigned ring = 0xffff8800;
    return pixel(browser, x - 2, y + height / 2) == ring &&
           pixel(browser, x + width + 1, y + height / 2) == ring &&
           pixel(browser, x + width / 2, y - 2) == ring &&
           pixel(browser, x + width / 2, y + height + 1) == ring;
  }

  LarkaHTMLControl byId(const std::string& id) {
    for (ControlType type : {CONTROL_TEXT, CONTROL_TEXTAREA, CONTROL_SELECT, CONTROL_ANCHOR}) {
      LarkaHTMLControl found = control(type, id);
      if (found.GetControlType() != CONTROL_UNKNOWN) return found;
    }
    return LarkaHTMLControl();
  }

  void click(const std::string& id) {
    int x, y, width, height;
    byId(id).GetControlRect(&x, &y, &width, &height);
    browser->MouseClick(x + width / 2, y + height / 2, 0);
  }

  bool loadForm() {
    server.page("/form", kForm);
    server.page("/sent", "<title>Thanks</title>");
    return visit(server.url("/form"));
  }

  std::string sent() {
    if (!host.pumpUntil([&] { return browser->GetTitle() == "Thanks"; })) return "nothing";
    const auto requests = server.requests("/sent");
    return requests.size() == 1 ? requests[0].method + " " + requests[0].body : "more than once";
  }

  test::HttpServer server;
};

TEST_F(InputTest, AFormIsFilledInAndSentWithTheRemoteControlAlone) {
  ASSERT_TRUE(loadForm());
  const auto goOnTo = [this](const std::string& id) {
    press(KEYCODE_TAB);
    EXPECT_EQ(focused(), id);
    EXPECT_TRUE(ringIsVisible(byId(id))) << id;
  };
  goOnTo("name");
  type(u"Jürgx");
  press(KEYCODE_BACKSPACE);
  type(u"en €");
  goOnTo("secret");
  type(u"ä & b");
  goOnTo("digits");
  type(u"42");
  goOnTo("notes");
  type(u"one");
  press(KEYCODE_RETURN);
  type(u"two");
  press(KEYCODE_HOME);
  press(KEYCODE_DELETE);
  type(u"ñ");
  goOnTo("news");
  EXPECT_FALSE(byId("news").IsControlSelected());
  press(KEYCODE_SPACE);
  EXPECT_TRUE(byId("news").IsControlSelected());
  goOnTo("tea");
  press(KEYCODE_SPACE);
  EXPECT_TRUE(byId("tea").IsControlSelected());
  press(KEYCODE_DOWN);
  EXPECT_TRUE(ringIsVisible(byId("milk")));
  press(KEYCODE_TAB);
  press(KEYCODE_TAB, MODIFIER_LEFT_SHIFT);  // back
  EXPECT_EQ(focused(), "milk");
  goOnTo("town");
  press(KEYCODE_DOWN);
  press(KEYCODE_DOWN);
  goOnTo("go");
  press(KEYCODE_RETURN);
  EXPECT_EQ(sent(), std::string("POST ") + kSent);
}

TEST_F(InputTest, AFormIsFilledInAndSentWithHandlesAndThePointer) {
  ASSERT_TRUE(loadForm());
  const std::pair<const char*, const char16_t*> fields[] = {
      {"name", u"Jürgen €"}, {"secret", u"ä & b"}, {"digits", u"42"}};
  for (const auto& field : fields) {
    click(field.first);
    EXPECT_EQ(focused(), field.first);
    EXPECT_TRUE(ringIsVisible(byId(field.first))) << field.first;
    type(field.second);
  }
  EXPECT_EQ(byId("name").GetControlText(), "Jürgen €");
  byId("notes").Focus();
  EXPECT_EQ(focused(), "notes");
  type(u"one");
  press(KEYCODE_RETURN);
  press(KEYCODE_UP);
  byId("notes").SetCaretAtEndOfControl();
  type(u"ñwo");
  click("news");
  click("milk");
  click("tea");
  click("milk");
  EXPECT_TRUE(byId("milk").IsControlSelected());
  EXPECT_FALSE(byId("tea").IsControlSelected());
  click("town");  // opens a list that nobody sees; the keys choose
  press(KEYCODE_DOWN);
  press(KEYCODE_DOWN);
  press(KEYCODE_RETURN);
  EXPECT_EQ(byId("town").GetControlText(), "Köln");
  click("go");
  EXPECT_EQ(sent(), std::string("POST ") + kSent);
  EXPECT_EQ(recorder.count("OnMouseClick go"), 1);
}

// The key codes and events are those that other browsers give for a US keyboard.
class KeyTest : public InputTest {
 protected:
  void SetUp() override {
    InputTest::SetUp();
    ASSERT_TRUE(load(
        R"(<meta charset=utf-8><input id=field><span id=place tabindex=0>x</span><script>var log='';
['keydown','keypress','keyup'].forEach(function(t){addEventListener(t,function(e){
log+=t+' '+[e.keyCode,e.charCode,e.which]+(e.shiftKey?' shift ':' ')+(e.keyLocation==3?'keypad ':'')},true)})
</script>)"));
  }

  /// What the page sees of a key, and what is typed, while an element has the focus.
  std::string pressed(const std::string& id, int code, int modifiers) {
    script("field.value='';" + id + ".focus();log=''");
    press(code, modifiers);
    return script("log+field.value");
  }

  /// Presses a key outside and in a text field. It has no keypress where `charCode` is 0.
  void expectKey(int code, int keyCode, int charCode, const std::string& flags = " ",
                 int modifiers = 0) {
    const std::string key = std::to_string(keyCode), character = std::to_string(charCode);
    std::string seen = "keydown " + key + ",0," + key + flags;
    if (charCode) seen += "keypress " + character + "," + character + "," + character + flags;
    seen += "keyup " + key + ",0," + key + flags;
    const bool types = charCode >= ' ' && charCode <= '~' && modifiers == 0;
    EXPECT_EQ(pressed("place", code, modifiers), seen) << code;
    EXPECT_EQ(pressed("field", code, modifiers), seen + (types ? std::string(1, charCode) : ""))
        << code;
  }
};

TEST_F(KeyTest, CharactersAreTheKeysOfAKeyboard) {
  const char plain[] = "`1234567890-=[]\\;',./", shifted[] = "~!@#$%^&*()_+{}|:\"<>?";
  const int keyCodes[] = {192, 49,  50,  51,  52,  53,  54,  55,  56,  57, 48,
                          189, 187, 219, 221, 220, 186, 222, 188, 190, 191};
  static_assert(std::size(plain) == std::size(keyCodes) + 1, "");
  static_assert(std::size(shifted) == std::size(keyCodes) + 1, "");
  for (size_t i = 0; i < std::size(keyCodes); ++i) {
    expectKey(plain[i], keyCodes[i], plain[i]);
    expectKey(shifted[i], keyCodes[i], shifted[i], " shift ");
  }
  for (int i = 0; i < 26; ++i) {
    expectKey('a' + i, 'A' + i, 'a' + i);
    expectKey('A' + i, 'A' + i, 'A' + i);
  }
  expectKey(KEYCODE_SPACE, 32, 32);
  EXPECT_EQ(pressed("field", 0xe4, 0), "keydown 0,0,0 keypress 228,228,228 keyup 0,0,0 ä");
}

TEST_F(KeyTest, OnlyKeysThatTypeHaveAKeypress) {
  const struct {
    int code, keyCode, charCode;
  } keys[] = {{KEYCODE_BACKSPACE, 8, 0},   {KEYCODE_TAB, 9, 0},
              {KEYCODE_LINE_FEED, 13, 13}, {KEYCODE_RETURN, 13, 13},
              {KEYCODE_ESCAPE, 27, 0},     {KEYCODE_DELETE, 46, 0},
              {KEYCODE_UP, 38, 0},         {KEYCODE_DOWN, 40, 0},
              {KEYCODE_RIGHT, 39, 0},      {KEYCODE_LEFT, 37, 0},
              {KEYCODE_INSERT, 45, 0},     {KEYCODE_HOME, 36, 0},
              {KEYCODE_END, 35, 0},        {KEYCODE_PAGE_UP, 33, 0},
              {KEYCODE_PAGE_DOWN, 34, 0},  {KEYCODE_KEYPAD_EQUAL, 187, '='}};
  for (const auto& key : keys) expectKey(key.code, key.keyCode, key.charCode);
  const struct {
    int code, keyCode, charCode;
  } keypad[] = {{KEYCODE_KEYPAD_PERIOD, 110, '.'},   {KEYCODE_KEYPAD_SLASH, 111, '/'},
                {KEYCODE_KEYPAD_ASTERISK, 106, '*'}, {KEYCODE_KEYPAD_MINUS, 109, '-'},
                {KEYCODE_KEYPAD_PLUS, 107, '+'},     {KEYCODE_KEYPAD_ENTER, 13, 13}};
  for (const auto& key : keypad) expectKey(key.code, key.keyCode, key.charCode, " keypad ");
  for (int digit = 0; digit <= 9; ++digit)
    expectKey(KEYCODE_KEYPAD_0 + digit, 96 + digit, '0' + digit, " keypad ");
  expectKey(KEYCODE_RETURN, 13, 10, " ", MODIFIER_LEFT_CONTROL);
  expectKey(KEYCODE_RETURN, 13, 0, " ", MODIFIER_RIGHT_ALT);
  expectKey(KEYCODE_INSERT, 45, 0, " ", MODIFIER_META);
}

TEST_F(InputTest, SpaceTogglesOnlyWhatHasTheFocusWhenItGoesDownAndUp) {
  ASSERT_TRUE(
      load("<form onsubmit='return false'><input type=checkbox id=a><input type=checkbox "
           "id=b><input id=t></form>"));
  press(KEYCODE_SPACE);
  press(KEYCODE_TAB);
  browser->KeyDown(KEYCODE_SPACE, 0);
  press(KEYCODE_TAB);
  browser->KeyUp(KEYCODE_SPACE, 0);
  browser->KeyDown(KEYCODE_SPACE, 0);
  script("document.getElementById('b').parentNode.removeChild(document.getElementById('b'))");
  browser->KeyUp(KEYCODE_SPACE, 0);
  EXPECT_FALSE(byId("a").IsControlSelected());
  byId("t").Focus();
  type(u"a b");
  EXPECT_EQ(byId("t").GetControlText(), "a b");
}

TEST_F(InputTest, SpacePressesLikeAViewer) {
  ASSERT_TRUE(load(
      "<input type=checkbox id=a onclick=\"window.open('http://h.test/')\"><button onclick="
      "\"document.title='pressed'\">b</button><input type=checkbox id=c onkeyup='return false'>"));
  for (int i = 0; i < 3; ++i) {
    press(KEYCODE_TAB);
    press(KEYCODE_SPACE);
  }
  EXPECT_EQ(recorder.count("OnCreateWindow http://h.test/"), 1);
  EXPECT_EQ(browser->GetTitle(), "pressed");
  EXPECT_TRUE(byId("a").IsControlSelected());
  EXPECT_FALSE(byId("c").IsControlSelected()) << "the page said no";
}

// Every pointer event as the page sees it.
TEST_F(InputTest, ThePageSeesPointerAndWheelAsTheHostSentThem) {
  ASSERT_TRUE(load(R"(<style>body{margin:0;height:3000px}</style><script>var log=[];
["mousedown","mouseup","mousemove","click","mousewheel"].forEach(function(t){
addEventListener(t,function(e){log.push(t+" "+e.clientX+","+e.clientY+" "+(e.wheelDelta===undefined?e.which+" ":"")+
(e.wheelDeltaX||0)+","+(e.wheelDeltaY||0));e.preventDefault()})})</script>)"));
  const auto seen = [this] { return script("var l=log.join('; ');log=[];l"); };
  browser->MouseWheel(DIRECTION_DOWN, 120, 0);
  browser->MouseMove(30, 40, 7);
  browser->MouseDown(31, 41, 7);
  browser->MouseUp(32, 42, 7);
  browser->MouseMove(33, 43, 7);
  EXPECT_EQ(seen(),
            "mousewheel 0,0 0,-120; mousemove 30,40 0 0,0; mousedown 31,41 1 0,0; "
            "mouseup 32,42 1 0,0; click 32,42 1 0,0; mousemove 33,43 1 0,0");
  browser->MouseWheel(DIRECTION_UP, 120, 0);
  browser->MouseWheel(DIRECTION_RIGHT, 120, 0);
  browser->MouseWheel(DIRECTION_LEFT, 120, 0);
  browser->MouseWheel(static_cast<Directions>(9), 120, 0);
  browser->MouseWheel(240, -360, 0);
  EXPECT_EQ(seen(),
            "mousewheel 33,43 0,120; mousewheel 33,43 -120,0; mousewheel 33,43 120,0; "
            "mousewheel 33,43 0,120; mousewheel 33,43 0,-360; mousewheel 33,43 240,0");
}

TEST_F(InputTest, TwoClicksAreADoubleClick) {
  ASSERT_TRUE(load(R"(<body id=b style="font-size:40px">some words here<script>var log="";
["mousedown","mouseup","click","dblclick"].forEach(function(t){addEventListener(t,function(e){
log+=t+e.detail+" "})})</script>)"));
  const auto seen = [this] { return script("var l=log+getSelection();log='';l"); };
  browser->MouseClick(20, 30, 0);
  browser->MouseMove(21, 30, 0);
  browser->MouseClick(21, 30, 0);
  EXPECT_EQ(seen(), "mousedown1 mouseup1 click1 mousedown2 mouseup2 click2 dblclick2 some");
  EXPECT_EQ(recorder.count("OnMouseClick b"), 2);
  browser->MouseClick(21, 30, 0);
  EXPECT_EQ(seen(), "mousedown3 mouseup3 click3 some words here");
}

TEST_F(InputTest, AClickTellsEveryListenerWhatWasThereBefore) {
  test::Recorder second;
  browser->AddListener(&second);
  ASSERT_TRUE(
      load("<body style='margin:0'><a id=gone href='#x' style='display:block;height:50px' "
           "onmousedown='this.parentNode.removeChild(this)'>x</a>"));
  bool clickable = false;
  EXPECT_TRUE(browser->HitTest(5, 5).IsClickable());
  EXPECT_FALSE(browser->HitTest(5, 300).IsClickable());
  recorder.events.clear();
  browser->MouseMove(5, 5, 0);
  browser->MouseMove(5, 300, 0);
  EXPECT_EQ(recorder.events,
            (std::vector<std::string>{"OnLinkHovered true", "OnLinkHovered false"}));
  recorder.events.clear();
  recorder.onEvent = [&](const std::string&) { clickable = browser->HitTest(5, 5).IsClickable(); };
  browser->MouseClick(5, 5, 0);
  recorder.onEvent = nullptr;
  EXPECT_FALSE(clickable) << "the link was still there";
  EXPECT_EQ(recorder.count("OnMouseClick gone"), 1);
  EXPECT_EQ(second.count("OnMouseClick gone"), 1);
  browser->MouseClick(-100, 9000, 0);
  EXPECT_EQ(second.count("OnMouseClick"), 2);
}

TEST_F(InputTest, SurvivesAnyInput) {
  server.page("/form", kForm);
  server.page("/sent", "<title>Thanks</title><input autofocus><a href=/form>back</a>");
  server.page("/frames",
              "<iframe src=/form></iframe><iframe src=/rich></iframe><textarea></textarea>");
  ASSERT_TRUE(visit(server.url("/form")));
  std::mt19937 random(20);
  const auto between = [&random](int least, int most) {
    return std::uniform_int_distribution<int>(least, most)(random);
  };
  const auto place = [&] { return between(0, 3) ? between(0, 400) : between(-5000, 5000); };
  const int amounts[] = {0, 1, -120, 120, INT_MAX, INT_MIN, INT_MIN + 1};
  const char* pages[] = {"/form", "/rich", "/frames", "/missing"};
  for (int event = 0; event < 100000; ++event) {
    const int x = place(), y = place(), amount = amounts[between(0, 6)];
    switch (between(0, 11)) {
      case 0:
        browser->MouseMove(x, y, 0);
        break;
      case 1:
        browser->MouseDown(x, y, 0);
        break;
      case 2:
        browser->MouseUp(x, y, 0);
        break;
      case 3:
        browser->MouseClick(x, y, 0);
        break;
      case 4:
        browser->MouseWheel(static_cast<Directions>(between(-1, 5)), amount, 0);
        break;
      case 5:
        browser->MouseWheel(amount, amounts[between(0, 6)], 0);
        break;
      case 6:
      case 7:
        browser->KeyDown(between(-10, 2000), between(-1, 255));
        break;
      case 8:
        browser->KeyUp(between(-10, 2000), between(-1, 255));
        break;
      case 9:
        press(between(0, 1) ? KEYCODE_TAB : between(KEYCODE_UP, KEYCODE_PAGE_DOWN));
        break;
      case 10:
        browser->HitTest(x, y).GetZoomRect(nullptr, nullptr, nullptr, nullptr);
        between(0, 1) ? browser->FocusNext() : browser->FocusPrev();
        break;
      default:
        if (between(0, 9)) break;
        script("var e=document.activeElement;if(e)e.parentNode.removeChild(e)");
        if (between(0, 9) == 0) browser->Navigate(server.url(pages[between(0, 3)]).c_str());
        if (between(0, 9) == 0) browser->Back();
    }
    if (event % 7 == 0) host.manager->PumpEvents();
  }
  browser->Stop();
  browser->SetZoomLevel(100);
  EXPECT_TRUE(visit(server.url("/form")));
  EXPECT_EQ(browser->GetTitle(), "Form");
}

}  // namespace
