// What listeners hear, in which order, through the shared library.
#include "Host.h"

namespace {

using test::pixel;
using test::Recorder;

class ListenersTest : public test::BrowserTest {};

const char kPage[] = "<title>Tonight</title><body style='background:#204060'>Programme</body>";

TEST_F(ListenersTest, HearALoadInItsOrder) {
  ASSERT_TRUE(load(kPage));
  std::vector<std::string> order;
  for (const std::string& event : recorder.events) {
    const std::string word = event.substr(0, event.find(' '));
    if (word != "OnLoadProgress" && word != "OnDirty" && event != "OnTitleChanged ")
      order.push_back(word);
  }
  const std::vector<std::string> expected = {"OnLoadStarted", "OnCreatingRequest", "OnUrlChanged",
                                             "OnTitleChanged", "OnLoadFinished"};
  EXPECT_EQ(order, expected);
  EXPECT_EQ(recorder.count("OnCreatingRequest " + browser->GetCurrentLocation()), 1);
  EXPECT_EQ(recorder.count("OnUrlChanged " + browser->GetCurrentLocation()), 1);
  EXPECT_EQ(recorder.count("OnTitleChanged Tonight"), 1);
  EXPECT_EQ(recorder.count("OnLoadProgress 100"), 1);
  EXPECT_GE(recorder.dirty, 1);
  EXPECT_EQ(browser->GetTitle(), "Tonight");
}

TEST_F(ListenersTest, AreCalledInTheOrderOfRegistrationAndAsOftenAsRegistered) {
  Recorder second;
  std::vector<std::string> calls;
  recorder.name = "first";
  second.name = "second";
  recorder.sharedEvents = second.sharedEvents = &calls;
  browser->AddListener(&second);
  browser->AddListener(&recorder);
  browser->ExecuteJavascript("1+alert(1)");
  const std::vector<std::string> expected = {
      "first OnJavaScriptAlert 1", "second OnJavaScriptAlert 1", "first OnJavaScriptAlert 1"};
  EXPECT_EQ(calls, expected);

  calls.clear();
  browser->RemoveListener(&recorder);  // both registrations
  browser->RemoveListener(&recorder);  // and nothing for an unknown one
  browser->ExecuteJavascript("1+alert(2)");
  EXPECT_EQ(calls, std::vector<std::string>{"second OnJavaScriptAlert 2"});
}

TEST_F(ListenersTest, ThatAreAddedOrRemovedDuringAnEventCountFromTheNextOne) {
  Recorder removed, added;
  browser->AddListener(&removed);
  recorder.onEvent = [&](const std::string& event) {
    if (event != "OnJavaScriptAlert 1") return;
    browser->RemoveListener(&recorder);
    browser->RemoveListener(&removed);
    browser->AddListener(&added);
  };
  browser->ExecuteJavascript("1+alert(1)");
  browser->ExecuteJavascript("1+alert(2)");
  EXPECT_EQ(recorder.events, std::vector<std::string>{"OnJavaScriptAlert 1"});
  EXPECT_EQ(removed.events, std::vector<std::string>{"OnJavaScriptAlert 1"});
  EXPECT_EQ(added.events, std::vector<std::string>{"OnJavaScriptAlert 2"});
}

TEST_F(ListenersTest, HearOfAChangedImageFromTheEventLoopOnly) {
  ASSERT_TRUE(load(kPage));
  recorder.events.clear();
  const int before = recorder.dirty;
  browser->ExecuteJavascript("document.body.style.background=\"#406020\"");
  EXPECT_EQ(recorder.dirty, before);
  ASSERT_TRUE(host.pumpUntil([&] { return recorder.dirty > before; }));
  EXPECT_EQ(pixel(browser, 600, 300), 0xff406020u) << "OnDirty came before the image was ready";

  settle();
  const int still = recorder.dirty;
  host.pumpFor(500);
  EXPECT_EQ(recorder.dirty, still) << "a still page was painted";
}

// The engine is in the middle of a request then; the library carries the navigation out after it.
TEST_F(ListenersTest, MayNavigateInAnyEvent) {
  const std::string other = host.directory.write("other.html", "<title>Other</title>");
  for (const char* event : {"OnCreatingRequest", "OnLoadProgress", "OnLoadStarted", "OnUrlChanged",
                            "OnTitleChanged", "OnLoadFinished", "OnDirty"}) {
    SCOPED_TRACE(event);
    ASSERT_TRUE(load(kPage));
    bool navigated = false;
    recorder.onEvent = [&](const std::string& heard) {
      if (navigated || heard.compare(0, strlen(event), event) != 0) return;
      navigated = true;
      browser->Stop();
      browser->Navigate(other.c_str());
      host.manager->PumpEvents();
    };
    browser->Navigate(host.directory.write("next.html", kPage).c_str());
    EXPECT_TRUE(host.pumpUntil([&] { return navigated && browser->GetTitle() == "Other"; }));
    recorder.onEvent = nullptr;
  }
}

TEST_F(ListenersTest, DoNotHearThatAChildFrameFailed) {
  ASSERT_TRUE(load("<iframe src='http://127.0.0.1:1/'></iframe>"));
  recorder.events.clear();
  script("document.body.appendChild(document.createElement('iframe')).src='http://127.0.0.1:1/x'");
  ASSERT_TRUE(host.pumpUntil([this] { return recorder.count("OnLoadFinished") == 1; }));
  EXPECT_EQ(recorder.count("OnLoadFinished true"), 1);
}

TEST_F(ListenersTest, HearOfLinkNavigationsButNotOfScriptedOnes) {
  ASSERT_TRUE(load("<title>first</title>"));
  ASSERT_TRUE(load("<a href='#there'>go</a><form><button></button></form>"));
  EXPECT_EQ(recorder.count("OnAcceptNavigationRequest"), 0);
  const std::pair<std::function<void()>, int> rows[] = {
      {[this] { script("document.querySelector('a').click()"); }, 1},
      {[this] { script("location.href='#elsewhere'"); }, 0},
      {[this] { script("document.querySelector('button').click()"); }, 1},
      {[this] { browser->Reload(); }, 1},
      {[this] { browser->Back(); }, 1},
      {[this] { browser->Forward(); }, 1},
      {[this] { browser->Navigate("data:text/html,x"); }, 0},
  };
  for (const auto& row : rows) {
    recorder.events.clear();
    row.first();
    settle();
    EXPECT_EQ(recorder.count("OnAcceptNavigationRequest"), row.second) << &row - rows;
  }
}

}  // namespace
