// What a page asks: dialogs, files, windows; and that nothing ever waits for a person.
#include "Host.h"
#include "HttpServer.h"

namespace {

using test::Recorder;

class DialogsTest : public test::BrowserTest {
 protected:
  /// A page of buttons, one a script, each 20 pixels high.
  bool loadButtons(const std::vector<std::string>& scripts, const std::string& head = "") {
    std::string html =
        head + "<style>body{margin:0}button{display:block;width:90px;height:20px}</style>";
    for (const std::string& code : scripts) html += "<button onclick=\"" + code + "\">x</button>";
    return load(html);
  }
  void clickButton(int index) { browser->MouseClick(10, index * 20 + 10, 0); }
};

TEST_F(DialogsTest, WithoutListenersEveryDialogHasItsDefault) {
  ASSERT_TRUE(load("<title>x</title>"));
  browser->RemoveListener(&recorder);
  EXPECT_EQ(script("alert('x'); console.log('x'); ''+confirm('y')+prompt('z','d')"), "falsenull");
}

TEST_F(DialogsTest, ListenersAnswerInTurn) {
  Recorder second;
  browser->AddListener(nullptr);
  browser->AddListener(&second);
  ASSERT_TRUE(load("<title>x</title>"));
  struct {
    bool firstConfirms, secondConfirms, secondAsked;
    const char* answer;
  } const confirms[] = {
      {false, false, true, "false"}, {false, true, true, "true"}, {true, false, false, "true"}};
  for (const auto& row : confirms) {
    recorder.confirms = row.firstConfirms;
    second.confirms = row.secondConfirms;
    second.events.clear();
    EXPECT_EQ(script("confirm('Gr\\xfc\\xdfe?')"), row.answer);
    EXPECT_EQ(second.count("OnJavaScriptConfirm"), row.secondAsked);
  }
  struct {
    bool firstAnswers, secondAnswers, secondAsked;
    const char* answer;
  } const prompts[] = {{false, false, true, "null"},
                       {false, true, true, "b \xe2\x82\xac"},
                       {true, true, false, "a \xc3\xa4"}};
  recorder.promptAnswer = "a \xc3\xa4";
  second.promptAnswer = "b \xe2\x82\xac";
  for (const auto& row : prompts) {
    recorder.answersPrompt = row.firstAnswers;
    second.answersPrompt = row.secondAnswers;
    second.events.clear();
    EXPECT_EQ(script("''+prompt(String.fromCharCode(0xf1,0x20ac),'v\xe4')"), row.answer);
    EXPECT_EQ(second.count("OnJavaScriptPrompt \xc3\xb1\xe2\x82\xac|v\xc3\xa4"), row.secondAsked);
  }
  recorder.events.clear();
  second.events.clear();
  script("alert('A'); console.log('C')");
  for (const Recorder* listener : {&recorder, &second}) {
    EXPECT_EQ(listener->count("OnJavaScriptAlert A"), 1);
    EXPECT_EQ(listener->count("OnJavaScriptConsoleMessage C|1|"), 1);
  }
}

TEST_F(DialogsTest, TheFirstListenerChoosesTheFile) {
  Recorder second;
  browser->AddListener(&second);
  const std::string file = host.directory.file("upload.txt");
  host.directory.write("upload.txt", "content");
  ASSERT_TRUE(
      load("<style>input{position:absolute;left:0;top:0}</style><input type=file id=f><input "
           "type=file multiple id=m style='top:50px'>"));
  second.chosenFile = file;
  browser->MouseClick(20, 10, 0);
  EXPECT_EQ(recorder.count("OnChooseFile"), 1);
  EXPECT_EQ(second.count("OnChooseFile"), 0);
  EXPECT_EQ(script("document.getElementById('f').files.length"), "0");
  recorder.chosenFile = file;
  browser->MouseClick(20, 10, 0);
  browser->MouseClick(20, 60, 0);
  EXPECT_EQ(script("document.getElementById('f').files[0].name"), "upload.txt");
  EXPECT_EQ(script("document.getElementById('m').files[0].name"), "upload.txt");
  browser->MouseClick(20, 10, 0);
  EXPECT_EQ(recorder.count("OnChooseFile " + file), 1) << "what was chosen before is suggested";
  browser->RemoveListener(&recorder);
  browser->RemoveListener(&second);
  browser->MouseClick(20, 10, 0);
  EXPECT_EQ(script("document.getElementById('f').files[0].name"), "upload.txt");
}

struct Window {
  const char* name;
  const char* control;
  const char* told;
};

const Window kWindows[] = {
    {"absolute", "<button onclick=\"r=window.open('http://h.test/a?q=1')\">",
     "http://h.test/a?q=1"},
    {"relative", "<button onclick=\"r=window.open('b c.html?q=\xe4','w','width=90')\">",
     "http://base.test/dir/b c.html?q=%E4"},
    {"no address", "<button onclick=\"r=window.open()\">", ""},
    {"empty", "<button onclick=\"r=window.open('')\">", ""},
    {"again by name", "<button onclick=\"r=window.open('d.html','w')\">",
     "http://base.test/dir/d.html"},
    {"a fragment", "<button onclick=\"r=window.open('#top')\">", "http://base.test/dir/#top"},
    {"a little later", "<button onclick=\"setTimeout(function(){r=window.open('late')},5)\">",
     "http://base.test/dir/late"},
    {"a link", "<a href='l.html?x=\xe4' target=_blank>link</a>",
     "http://base.test/dir/l.html?x=%E4"},
    {"a form, GET",
     "<form action=get target=_blank><input type=hidden name=n value='\xe4 1'><button>",
     "http://base.test/dir/get?n=%E4+1"},
    {"a form, POST",
     "<form action=post method=post target=_blank><input type=hidden name=n value=1><button>",
     "http://base.test/dir/post"},
    {"a modal dialog", "<button onclick=\"r=showModalDialog('m.html')\">",
     "modal http://base.test/dir/m.html"},
    {"script", "<button onclick=\"window.open('javascript:document.title=1')\">", ""},
    {"script in a modal dialog", "<button onclick=\"r=showModalDialog('javascript:1')\">",
     "modal "},
};

std::string windowPage(const Window& window) {
  return std::string(
             "<base href='http://base.test/dir/'><meta charset=iso-8859-1><style>body{margin:0}"
             "button,a{position:absolute;left:0;top:0;width:90px;height:30px}</style>"
             "<script>var r;document.title=open.toString().replace(/\\s+/g,' ')+' '+open.name+"
             "Object.keys(open)</script>") +
         window.control;
}

// In the main frame and in a child frame whose base is another one than the main frame's.
TEST_F(DialogsTest, NewWindowsAreToldWithTheirAddress) {
  for (const Window& window : kWindows)
    for (bool inFrame : {false, true}) {
      const std::string page = host.directory.write("window.html", windowPage(window));
      ASSERT_TRUE(inFrame ? load("<base href='http://other.test/'><style>body{margin:0}</style>"
                                 "<iframe frameborder=0 src='" +
                                 page + "'></iframe>")
                          : visit(page));
      recorder.events.clear();
      browser->MouseClick(10, 10, 0);
      ASSERT_TRUE(host.pumpUntil([&] { return recorder.count("OnCreateWindow") > 0; }))
          << window.name;
      host.pumpFor(20);
      EXPECT_EQ(recorder.count("OnCreateWindow"), 1) << window.name;
      EXPECT_EQ(recorder.count(std::string("OnCreateWindow ") + window.told), 1)
          << window.name << (inFrame ? " in a frame" : "");
      const std::string own = inFrame ? "frames[0]." : "";
      EXPECT_EQ(script(own + "document.title"), "function open() { [native code] } open");
      EXPECT_EQ(script("typeof " + own + "r"), "undefined") << window.name;
    }
}

TEST_F(DialogsTest, AWindowOfAnotherFrameIsRelativeToTheFrameThatAsks) {
  const std::string page = host.directory.write(
      "frame.html", windowPage({"", "<button onclick=\"parent.open('x.html')\">", ""}));
  ASSERT_TRUE(
      load("<base href='http://other.test/'><style>body{margin:0}</style><iframe "
           "frameborder=0 src='" +
           page + "'></iframe>"));
  browser->MouseClick(10, 10, 0);
  EXPECT_EQ(recorder.count("OnCreateWindow http://base.test/dir/x.html"), 1);
}

TEST_F(DialogsTest, WithoutAGestureOfTheViewerThereIsNoWindow) {
  ASSERT_TRUE(load("<script>open('http://h.test/')</script><a id=a href=b target=_blank>x</a>"));
  script("open('http://h.test/')");
  EXPECT_EQ(recorder.count("OnCreateWindow"), 0);
}

// Each of these would open a dialog, a menu or a drag in a desktop browser, and wait.
TEST_F(DialogsTest, NothingWaitsForAPerson) {
  test::HttpServer server;
  server.answer("/secret",
                "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"x\"\r\n"
                "Connection: close\r\nContent-Length: 0\r\n\r\n");
  ASSERT_TRUE(
      load(R"html(<style>body{margin:0}body>*{position:absolute;left:0;width:90px;height:20px}
</style><input type=color id=colour value=#123456><button style="top:30px" onclick="print()">x</button>
<img src="data:image/gif;base64,R0lGODlhAQABAIAAAAAAAP///yH5BAEAAAAALAAAAAABAAEAAAIBRAA7"
style="top:60px"><a href=x style="top:90px">some link</a><p style="margin:0;top:120px">some text</p>
<button style="top:150px" onclick="setTimeout(function(){document.getElementById('colour').click()},1)">x
</button><script>var place;if(navigator.geolocation)navigator.geolocation.getCurrentPosition(
function(){place='told'},function(e){place='refused '+e.code});else place='refused 1'</script>)html"));
  browser->MouseClick(5, 10, 0);
  browser->MouseClick(5, 160, 0);
  host.pumpFor(50);
  EXPECT_EQ(script("document.getElementById('colour').value"), "#123456");
  browser->MouseClick(5, 40, 0);
  EXPECT_EQ(recorder.count("OnPrintRequested"), 0);
  for (int y : {65, 95, 125}) {
    browser->MouseDown(5, y, 0);
    for (int x = 10; x < 80; x += 10) browser->MouseMove(x, y, 0);
    browser->MouseUp(80, y, 0);
  }
  browser->MouseDown(2, 125, 0);  // on the text that is selected by now
  for (int x = 5; x < 300; x += 50) browser->MouseMove(x, 200, 0);
  browser->MouseUp(300, 200, 0);
  EXPECT_TRUE(host.pumpUntil([this] { return script("''+place") == "refused 1"; }));
  recorder.finished = false;
  browser->Navigate(server.url("/secret").c_str());
  EXPECT_TRUE(host.pumpUntil([this] { return recorder.finished; }));

  // The manager does not end underneath a dialog.
  ASSERT_TRUE(load("<input type=color style='position:absolute;left:0;top:0'>"));
  host.manager->Shutdown(false);
  browser->MouseClick(5, 10, 0);
  host.pumpFor(20);
}

// Of an address that is script, and of one that the engine keeps the page from.
TEST_F(DialogsTest, AWindowThatGoesNowhereAsksNobody) {
  for (const char* address : {"javascript:1", "file:///etc/hostname"}) {
    ASSERT_TRUE(visit(std::string("data:text/html,<style>body{margin:0}</style><button onclick=\"w="
                                  "window.open('") +
                      address +
                      "');w.alert(1);document.title=w.confirm(2)+''+w.prompt(3)\">x</button>"));
    browser->MouseClick(5, 5, 0);
    host.pumpFor(20);
    EXPECT_EQ(browser->GetTitle(), "falsenull") << address;
    EXPECT_EQ(recorder.count("OnJavaScriptAlert"), 0);
  }
  EXPECT_EQ(recorder.count("OnCreateWindow "), 2);
}

// The dialog's event loop turns below the page's own script.
TEST_F(DialogsTest, ABrowserIsNotDestroyedUnderADialogOfItsPage) {
  for (const char* opens :
       {"document.getElementById('c').click()", "showModalDialog('javascript:1')"}) {
    LARKA::ILarkaBrowser* other = host.createBrowser(&recorder);
    ASSERT_TRUE(host.load(
        other, &recorder,
        std::string("<style>*{margin:0}</style><button onclick=\"setTimeout(function(){") + opens +
            ";alert('survived')},5)\">x</button><input type=color id=c>"));
    recorder.events.clear();
    other->MouseClick(5, 5, 0);
    host.manager->DestroyBrowser(other, false);
    usleep(40000);
    host.pumpFor(50);
    EXPECT_EQ(std::count_if(recorder.events.begin(), recorder.events.end(),
                            [](const std::string& event) {
                              return event.find("survived") != std::string::npos;
                            }),
              1)
        << opens;
  }
  EXPECT_TRUE(load("<title>x</title>"));
}

// A page may ask whether to be left; the answer is that of any other question.
TEST_F(DialogsTest, APageThatWantsToStayAsks) {
  const char kStays[] =
      "<title>stays</title><script>onbeforeunload=function(){return 'Stay?'}</script>";
  ASSERT_TRUE(load(kStays));
  browser->Navigate("data:text/html,<title>left</title>");
  ASSERT_TRUE(host.pumpUntil([this] { return recorder.count("OnJavaScriptConfirm Stay?") == 1; }));
  host.pumpFor(50);
  EXPECT_EQ(browser->GetTitle(), "stays");
  recorder.confirms = true;
  EXPECT_TRUE(visit("data:text/html,<title>left</title>"));
  EXPECT_EQ(browser->GetTitle(), "left");
}

}  // namespace
