// Controls: what they are, what they hold, where they are, and what becomes of them.
#include "Host.h"

namespace {

using namespace LARKA;  // the kinds of controls
using test::pixel;

struct Kind {
  const char* html;
  ControlType type;
};

const Kind kKinds[] = {
    {"<input>", CONTROL_TEXT},
    {"<input type=text>", CONTROL_TEXT},
    {"<INPUT TYPE=EMAIL>", CONTROL_TEXT},
    {"<input type=password>", CONTROL_PASSWORD},
    {"<input type=CheckBox>", CONTROL_CHECKBOX},
    {"<input type=radio>", CONTROL_RADIO},
    {"<input type=submit>", CONTROL_SUBMIT},
    {"<input type=reset>", CONTROL_SUBMIT},
    {"<input type=file>", CONTROL_SUBMIT},
    {"<input type=image>", CONTROL_SUBMIT},
    {"<input type=Button>", CONTROL_SUBMIT},
    {"<BUTTON>b</BUTTON>", CONTROL_SUBMIT},
    {"<select></select>", CONTROL_SELECT},
    {"<textarea></textarea>", CONTROL_TEXTAREA},
    {"<label>l</label>", CONTROL_LABEL},
    {"<a>a</a>", CONTROL_ANCHOR},
    {"<img>", CONTROL_IMAGE},
    {"<div>d</div>", CONTROL_DIV},
    {"<object>o</object>", CONTROL_OBJECT},
    {"<i>i</i>", CONTROL_UNKNOWN},
};

class ControlsTest : public test::BrowserTest {
 protected:
  using Controls = std::vector<std::unique_ptr<LarkaHTMLControl>>;

  Controls controls(ControlType type) {
    Controls found;
    for (LarkaHTMLControl* control : browser->GetControls(type)) found.emplace_back(control);
    return found;
  }

  static std::string rect(LarkaHTMLControl control) {
    int x = 0, y = 0, width = 0, height = 0;
    control.GetControlRect(&x, &y, &width, &height);
    return describe(x, y, width, height);
  }
  static std::string zoomRect(LarkaHTMLControl control) {
    int x = 0, y = 0, width = 0, height = 0;
    control.GetZoomRect(&x, &y, &width, &height);
    return describe(x, y, width, height);
  }
  static std::string describe(int x, int y, int width, int height) {
    return std::to_string(x) + "," + std::to_string(y) + " " + std::to_string(width) + "x" +
           std::to_string(height);
  }

  /// The bounds of a colour in the page image.
  std::string boundsOf(unsigned colour) {
    int left = 9999, top = 9999, right = -1, bottom = -1;
    for (int y = 0; y < browser->GetHeight(); ++y)
      for (int x = 0; x < browser->GetWidth(); ++x) {
        if (pixel(browser, x, y) != colour) continue;
        left = std::min(left, x), top = std::min(top, y);
        right = std::max(right, x), bottom = std::max(bottom, y);
      }
    return describe(left, top, right - left + 1, bottom - top + 1);
  }
};

TEST_F(ControlsTest, EveryKindIsRecognised) {
  for (const Kind& kind : kKinds) {
    ASSERT_TRUE(load(std::string("<div style='position:absolute;left:0;top:0'>") + kind.html));
    browser->ExecuteJavascript(
        "var e=document.body.firstChild.firstChild;e.style.cssText=\"position:"
        "absolute;left:0;top:0;width:90px;height:90px\"");
    EXPECT_EQ(browser->HitTest(5, 5).GetControlType(), kind.type) << kind.html;
  }
  ASSERT_TRUE(load("<embed id=e>"));  // nowhere, without a plug-in
  EXPECT_EQ(control(CONTROL_EMBED, "e").GetControlType(), CONTROL_EMBED);
}

TEST_F(ControlsTest, TheTypesThatCanBeSearchedForHaveATag) {
  for (int type = -1; type < 17; ++type) {
    std::string tag = "kept", inputType = "cleared";
    const bool converted = LarkaHTMLControl::ConvertLarkaTypeToQTagAndType(
        static_cast<ControlType>(type), tag, inputType);
    const bool mapped = type >= 0 && type <= 12 && type != CONTROL_UNMAPPED;
    EXPECT_EQ(converted, mapped) << type;
    EXPECT_TRUE(mapped || tag + inputType == "kept") << type;
  }
  const char* const kSearched[] = {"input text", "textarea ",      "label ",      "",
                                   "select ",    "input submit",   "input radio", "input checkbox",
                                   "a ",         "input password", "img ",        "embed ",
                                   "div "};
  for (int type = 0; type < 13; ++type) {
    std::string tag, inputType;
    LarkaHTMLControl::ConvertLarkaTypeToQTagAndType(static_cast<ControlType>(type), tag, inputType);
    if (type == CONTROL_UNMAPPED) continue;
    EXPECT_EQ(tag + " " + inputType, kSearched[type]);
  }
}

TEST_F(ControlsTest, GetControlsTakesAllInputsForOneTagInDocumentOrder) {
  ASSERT_TRUE(
      load("<input id=a><input id=b type=password disabled><object></object><input id=c "
           "type=checkbox style='display:none'><iframe srcdoc='<input id=d>'></iframe>"));
  for (ControlType type : {CONTROL_TEXT, CONTROL_PASSWORD, CONTROL_SUBMIT}) {
    std::string ids;
    for (const auto& control : controls(type)) ids += control->GetControlId();
    EXPECT_EQ(ids, "abc");
  }
  for (ControlType type : {CONTROL_UNMAPPED, CONTROL_OBJECT, CONTROL_UNKNOWN, CONTROL_LABEL})
    EXPECT_TRUE(controls(type).empty()) << type;
}

TEST_F(ControlsTest, TextAndStateAreThoseOfNow) {
  ASSERT_TRUE(
      load("<style>#t{color:rgb(4,5,6)}</style><meta charset=utf-8><input id=t value=abc><input "
           "id=n value='äöüäö'><input id=c "
           "type=checkbox checked><a id=x value=attribute>x</a><select id=s><option>1<option "
           "selected>2</select>"));
  script("document.getElementById('t').value='abcd';document.getElementById('c').checked=false");
  LarkaHTMLControl name = control(CONTROL_TEXT, "n");
  EXPECT_EQ(control(CONTROL_TEXT, "t").GetControlText(), "abcd");
  EXPECT_EQ(name.GetControlText(), "äöüäö");
  EXPECT_EQ(control(CONTROL_ANCHOR, "x").GetControlText(), "attribute");
  EXPECT_EQ(control(CONTROL_SELECT, "s").GetControlText(), "2");
  EXPECT_FALSE(control(CONTROL_CHECKBOX, "c").IsControlSelected());
  EXPECT_FALSE(name.IsClickable());

  name.SetStyleProperty("color", "rgb(1, 2, 3)");
  name.SetStyleProperty("no such thing", "\xff");
  EXPECT_EQ(name.GetStyleProperty("color"), "rgb(1, 2, 3)");
  EXPECT_EQ(control(CONTROL_TEXT, "t").GetStyleProperty("color"), "rgb(4, 5, 6)");
  EXPECT_EQ(name.GetStyleProperty("no such thing"), "");

  script(
      "var set=[],p=HTMLInputElement.prototype,n=document.getElementById('n');"
      "['selectionStart','selectionEnd'].forEach(function(k){Object.defineProperty(n,k,"
      "{set:function(v){set.push(k+v)}})})");
  name.SetCaretAtEndOfControl();
  EXPECT_EQ(script("set"), "selectionStart10,selectionEnd10");
}

TEST_F(ControlsTest, TheCaretGoesBehindTheLastCharacter) {
  ASSERT_TRUE(load("<meta charset=utf-8><input id=n value='äöü'>"));
  LarkaHTMLControl name = control(CONTROL_TEXT, "n");
  name.Focus();
  name.SetCaretAtEndOfControl();
  press('x');
  EXPECT_EQ(name.GetControlText(), "äöüx");
  EXPECT_TRUE(name.HasFocus());
}

// A frame in a frame, everything scrolled: what the handle says is where the pixels are.
TEST_F(ControlsTest, GeometryIsWhereThePixelsAre) {
  host.directory.write(
      "inner.html",
      "<!doctype html><body style='margin:0;width:900px;height:900px'><input id=i "
      "style='position:absolute;left:60px;top:80px;width:40px;height:20px;border:0;"
      "padding:0;background:#ff00ff' autofocus>");
  host.directory.write("outer.html",
                       "<!doctype html><body style='margin:0;width:900px;height:900px'><iframe "
                       "src=inner.html style='position:absolute;left:30px;top:40px;width:150px;"
                       "height:120px;border:5px solid #00f'></iframe>");
  for (int zoom : {100, 200}) {
    ASSERT_TRUE(
        load("<!doctype html><body style='margin:0;width:1500px;height:1500px'><iframe "
             "src=outer.html style='position:absolute;left:30px;top:50px;width:260px;"
             "height:230px;border:3px solid #0f0'></iframe>"));
    browser->SetZoomLevel(zoom);
    script("scrollTo(10,35);frames[0].scrollTo(5,11);frames[0].frames[0].scrollTo(20,30)");
    settle();
    script("frames[0].frames[0].document.getElementById('i').focus()");
    script("scrollTo(10,35);frames[0].scrollTo(5,11);frames[0].frames[0].scrollTo(20,30)");
    settle();
    LarkaHTMLControl input = control(CONTROL_TEXT, "i");
    ASSERT_EQ(input.GetControlType(), CONTROL_TEXT);
    int x, y, width, height, left, top;
    input.GetControlRect(&x, &y, &width, &height);
    browser->GetViewPort(&left, &top, nullptr, nullptr);
    const int factor = zoom / 100;
    EXPECT_EQ(describe((x - left) * factor, (y - top) * factor, width * factor, height * factor),
              boundsOf(0xffff00ff))
        << zoom;
    EXPECT_EQ(width, 40);
  }
}

TEST_F(ControlsTest, GeometryIsThatOfNow) {
  ASSERT_TRUE(
      load("<body style='margin:0'><div style='margin:20px;width:200px;height:100px'><b>some "
           "text</b></div><input id=i style='position:absolute;left:10px;top:150px;width:50px;"
           "height:20px;border:0;padding:0'>"));
  LarkaHTMLControl input = control(CONTROL_TEXT, "i"), text = browser->HitTest(25, 25);
  EXPECT_EQ(zoomRect(text), "20,20 200x100");
  EXPECT_EQ(zoomRect(input), "0,0 1024x768");
  script(
      "document.getElementById('i').style.left='200px';document.body.firstChild.style.margin='"
      "9px'");
  script("Object.defineProperty(HTMLElement.prototype,'offsetWidth',{get:function(){alert(1)}})");
  EXPECT_EQ(rect(input), "200,150 50x20");
  EXPECT_EQ(zoomRect(text), "9,9 200x100");
  script("document.body.style.height='2000px';scrollTo(0,40)");
  EXPECT_EQ(zoomRect(text), "9,9 200x100");
  EXPECT_EQ(recorder.count("OnJavaScriptAlert"), 0) << "the page overheard it";
  text.GetZoomRect(nullptr, nullptr, nullptr, nullptr);

  // The root of plain XML has no style.
  ASSERT_TRUE(visit(host.directory.write(
      "plain.xml",
      "<r xmlns:h='http://www.w3.org/1999/xhtml'><h:input id='i' style='position:absolute;"
      "left:10px;top:9px;width:50px;height:20px;border:0;padding:0'/></r>")));
  input = control(CONTROL_TEXT, "i");
  script("document.getElementById('i').style.left='200px'");
  EXPECT_EQ(rect(input), "200,9 50x20");
}

// As while a page begins to arrive.
TEST_F(ControlsTest, WhereNothingIsThereIsNothingToHit) {
  ASSERT_TRUE(load("<div id=d style='height:90px'>x</div>"));
  EXPECT_EQ(browser->HitTest(9, 9).GetControlId(), "d");
  script("document.removeChild(document.documentElement)");
  browser->MouseClick(9, 9, 0);
  EXPECT_EQ(browser->HitTest(9, 9).GetControlType(), CONTROL_UNKNOWN);
  EXPECT_EQ(recorder.count("OnMouseClick"), 1);
}

TEST_F(ControlsTest, HandlesOutliveTheirPageAndTheirBrowser) {
  const std::string page =
      "<body style='margin:0'><a href=x><input id=i value=v style='width:90px;height:50px'></a>";
  ASSERT_TRUE(load(page));
  LarkaHTMLControl left = browser->HitTest(20, 20), copy(left), assigned;
  assigned = copy;
  assigned = *&assigned;
  const auto describesNothing = [](LarkaHTMLControl handle) {
    handle.Focus();
    handle.SetCaretAtEndOfControl();
    handle.SetStyleProperty("color", "blue");
    return handle.GetControlType() == CONTROL_UNKNOWN && handle.GetControlId().empty() &&
           handle.GetControlText().empty() && handle.GetStyleProperty("color").empty() &&
           !handle.IsControlSelected() && !handle.HasFocus() && !handle.IsClickable() &&
           rect(handle) == "0,0 0x0" && zoomRect(handle) == "0,0 1024x768";
  };
  EXPECT_EQ(left.GetControlId(), "i");
  EXPECT_TRUE(left.IsClickable());
  EXPECT_TRUE(describesNothing(LarkaHTMLControl()));
  ASSERT_TRUE(load("<iframe srcdoc=\"<input id=in autofocus>\"></iframe><input id=other>"));
  EXPECT_TRUE(describesNothing(left));
  script("frames[0].document.getElementById('in').focus()");
  LarkaHTMLControl inFrame = control(CONTROL_TEXT, "in");
  EXPECT_EQ(inFrame.GetControlId(), "in");
  recorder.finished = false;
  browser->Back();
  ASSERT_TRUE(host.pumpUntil([this] { return recorder.finished; }));
  EXPECT_EQ(left.GetControlId(), "i") << "the engine still had the page";
  EXPECT_TRUE(describesNothing(inFrame));
  host.manager->DestroyBrowser(browser, true);
  browser = nullptr;
  EXPECT_TRUE(describesNothing(left));
  EXPECT_TRUE(describesNothing(assigned));
  EXPECT_TRUE(describesNothing(inFrame));
}

}  // namespace
