// The object "larka", with which page script calls the host.
#include "Host.h"

namespace {

using test::Recorder;

class ScriptObjectsTest : public test::BrowserTest {
 protected:
  void SetUp() override {
    host.initialize();
    browser = host.createBrowser(&recorder, 640, 360, true);
  }
  /// A page with a frame in a frame; each document writes down what it sees of the two names.
  std::string nestedPage() {
    const std::string look =
        "<script>top.seen=(top.seen||'')+typeof window.larka+' '+typeof systeminfoobject+';'"
        "</script>";
    host.directory.write("inner.html", look);
    host.directory.write("middle.html", look + "<iframe src=inner.html></iframe>");
    return host.directory.write("outer.html", look + "<iframe src=middle.html></iframe>");
  }
};

const char kOnce[] = "object undefined;object undefined;object undefined;";

TEST_F(ScriptObjectsTest, AreInEveryFrameOfEveryDocument) {
  const std::string page = nestedPage();
  for (int i = 0; i < 10; ++i) {
    ASSERT_TRUE(visit(page));
    ASSERT_EQ(script("seen"), kOnce) << "visit " << i;
  }
  EXPECT_EQ(script("frames[0].frames[0].larka.exec2('deep')"), "");
  EXPECT_EQ(recorder.events.back(), "OnExecuteInLarka deep");
  browser->Back();
  settle();
  EXPECT_EQ(script("typeof frames[0].frames[0].larka.exec"), "function");

  Recorder other;
  SystemInfoData info = {};
  LARKA::ILarkaBrowser* plain = host.manager->CreateBrowser();
  plain->AddListener(&other);
  plain->Initialize(640, 360, nullptr, nullptr, false, &info);
  ASSERT_TRUE(host.visit(plain, &other, page));
  EXPECT_EQ(plain->ExecuteJavascript("seen"),
            "undefined undefined;undefined undefined;undefined undefined;");
  host.manager->DestroyBrowser(plain, true);
}

// A page in a directory of its own for local storage is a second page.
TEST_F(ScriptObjectsTest, AreThereWithALocalStorageDirectory) {
  Recorder other;
  LARKA::ILarkaBrowser* stored = host.manager->CreateBrowser();
  stored->AddListener(&other);
  stored->Initialize(640, 360, nullptr, host.directory.file("storage").c_str(), true, nullptr);
  ASSERT_TRUE(host.visit(stored, &other, nestedPage()));
  EXPECT_EQ(stored->ExecuteJavascript("seen"), kOnce);
  host.manager->DestroyBrowser(stored, true);
}

TEST_F(ScriptObjectsTest, CommandsGoOutAsUtf8AndTheLastAnswerComesInAsLatin1) {
  ASSERT_TRUE(load("<body>"));
  EXPECT_EQ(script("typeof larka.exec2('x') + larka.exec2('x').length"), "string0");
  Recorder second;
  browser->AddListener(&second);
  const struct {
    const char *call, *command, *answer, *result;
  } kCalls[] = {
      {"larka.exec2('x')", "x", "b", "b"},
      {"larka.exec2('\\\\u00e9\\\\u20ac\\\\ud83d\\\\ude00')", "\u00e9\u20ac\U0001F600", "", ""},
      {"larka.exec2('x').length", "x", "\xc3\xa9", "2"},  // two bytes, two characters
      {"larka.exec2('x')", "x", "\xc3\xa9", "\xc3\x83\xc2\xa9"},
      {"larka.exec2('a\\\\u0000b')", "a", "", ""},
      {"larka.exec2(17)", "17", "", ""},
      {"''+larka.exec('x')", "x", "b", "undefined"},
  };
  for (const auto& call : kCalls) {
    recorder.events.clear();
    second.events.clear();
    recorder.larkaAnswer = "first";
    second.larkaAnswer = call.answer;
    EXPECT_EQ(script(call.call), call.result) << call.call;
    const std::vector<std::string> expected = {std::string("OnExecuteInLarka ") + call.command};
    EXPECT_EQ(recorder.events, expected) << call.call;
    EXPECT_EQ(second.events, expected) << call.call;
  }
  second.larkaAnswer = std::string("c\0d", 3);
  EXPECT_EQ(script("larka.exec2('x')"), "c");
  browser->RemoveListener(&recorder);
  browser->RemoveListener(&second);
  EXPECT_EQ(script("larka.exec2('x')"), "");
}

// Signals would let one page listen to another, and to the object's end.
TEST_F(ScriptObjectsTest, AreTheirTwoMethodsAndNothingElse) {
  ASSERT_TRUE(load("<body>"));
  EXPECT_EQ(script("var s='';for(var k in larka)s+=k.replace(/[(].*/,'')+' ';s"), "exec exec2 ");
  EXPECT_EQ(script("['destroyed','deleteLater','executeInLarka','executeMediaAction','parent']"
                   ".map(function(name){return typeof larka[name]}).join()"),
            "undefined,undefined,undefined,undefined,undefined");
  script("larka.objectName='x';larka.exec=1;delete window.larka");
  ASSERT_TRUE(load("<body>"));
  script("larka.exec('still there');1");
  EXPECT_EQ(recorder.events.back(), "OnExecuteInLarka still there");
}

// The script waits on the stack meanwhile.
TEST_F(ScriptObjectsTest, TheHostMayDoAnythingInACommand) {
  ASSERT_TRUE(load("<title>1</title>"));
  ASSERT_TRUE(load("<title>2</title>"));
  const std::string next = host.directory.write("next.html", "<title>next</title>");
  const std::function<void()> kDeeds[] = {
      [&] { browser->Navigate(next.c_str()); },
      [&] { browser->Back(); },
      [&] { browser->Forward(); },
      [&] { browser->Reload(); },
      [&] { browser->Stop(); },
      [&] { browser->ExecuteJavascript("document.body.innerHTML='<embed type=a/b>'"); },
      [&] { browser->MouseClick(5, 5, 0); },
      [&] { host.pumpFor(50); },
      [&] { browser->LaunchInspector(false)->Shutdown(); },
      [&] { browser->Navigate(next.c_str()), host.pumpFor(100); },
  };
  for (const auto& deed : kDeeds) {
    int done = 0;
    recorder.onEvent = [&](const std::string& event) {
      if (event == "OnExecuteInLarka do" && ++done == 1) deed();
    };
    script("larka.exec2('do')");
    EXPECT_EQ(done, 1);
    recorder.onEvent = nullptr;
    host.pumpFor(200);
    recorder.events.clear();
    ASSERT_TRUE(load("<body onload='setTimeout(function(){larka.exec2(\"later\")},0)'>"));
    ASSERT_EQ(recorder.count("OnExecuteInLarka later"), 1) << "after deed " << &deed - kDeeds;
  }
  recorder.onEvent = [&](const std::string& event) {
    if (event != "OnExecuteInLarka end") return;
    host.manager->DestroyBrowser(browser, false);
    host.manager->PumpEvents();
  };
  script("larka.exec2('end')");
  browser = nullptr;
  host.manager->PumpEvents();
}

// What a page keeps of a frame that it removes.
TEST_F(ScriptObjectsTest, DieWithTheirFrame) {
  ASSERT_TRUE(load("<iframe id=f></iframe>"));
  const char* const kCalls[] = {
      "var l=f.contentWindow.larka,e=l.exec2;f.remove();e(1)",
      "var l=f.contentWindow.larka;f.remove();l.exec(1)",
      "var l=f.contentWindow.larka;l.exec2({toString:function(){f.remove();return 1}})",
  };
  for (const char* call : kCalls) {
    recorder.events.clear();
    const std::string code = std::string("var f=document.createElement('iframe');document.body.") +
                             "appendChild(f);try{" + call + "}catch(error){error.name}";
    EXPECT_EQ(script(code), "ReferenceError") << call;
    EXPECT_EQ(recorder.count("OnExecuteInLarka"), 0) << call;
  }
}

}  // namespace
