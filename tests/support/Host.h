// Host.h: a host for tests, built on the public interface alone.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <QTemporaryDir>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "larka/larka.h"

namespace test {

/// A directory that is removed with everything in it.
class TemporaryDirectory {
 public:
  std::string path() const { return m_directory.path().toStdString(); }
  std::string file(const std::string& name) const { return path() + "/" + name; }

  /// Writes a file and returns its address.
  std::string write(const std::string& name, const std::string& content) const {
    std::ofstream(file(name), std::ios::binary) << content;
    return "file://" + file(name);
  }

 private:
  QTemporaryDir m_directory;
};

inline std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

/// A listener that writes down what it is told, as "OnTitleChanged Demo".
class Recorder : public LARKA::CallbacksAdapter {
 public:
  std::vector<std::string> events;
  std::vector<std::string>* sharedEvents = nullptr;  // events of several recorders in one list
  std::string name;
  std::function<void(const std::string&)> onEvent;  // called after each event is written down
  std::string promptAnswer, chosenFile;
  std::string larkaAnswer;                        // of OnExecuteInLarka
  std::vector<LARKA::LarkaPluginWidget> plugins;  // that were told
  bool confirms = false, answersPrompt = false, allowsDownload = true;
  int dirty = 0;
  LARKA::ILarkaBrowser* dirtyBrowser = nullptr;  // of the last OnDirty
  bool finished = false, ok = false;

  int count(const std::string& event) const {
    int n = 0;
    for (const std::string& e : events) n += e == event || e.rfind(event + " ", 0) == 0;
    return n;
  }

  void OnLoadStarted() override { add("OnLoadStarted"); }
  void OnLoadFinished(bool loaded) override {
    finished = true;
    ok = loaded;
    add("OnLoadFinished ", loaded);
  }
  void OnLoadProgress(int percent) override { add("OnLoadProgress ", percent); }
  void OnPrintRequested() override { add("OnPrintRequested"); }
  bool OnDownloadRequested() override { return add("OnDownloadRequested"), allowsDownload; }
  void OnTitleChanged(const char* title) override { add("OnTitleChanged ", title); }
  void OnStatusBarMessage(const char* text) override { add("OnStatusBarMessage ", text); }
  void OnGeometryChangeRequested(int width, int height) override {
    add("OnGeometryChangeRequested ", width, "x", height);
  }
  void OnCreatingRequest(const char* url) override { add("OnCreatingRequest ", url); }
  void OnUrlChanged(const char* url) override { add("OnUrlChanged ", url); }
  void OnPluginCreated(LARKA::LarkaPluginWidget* plugin) override {
    plugins.push_back(*plugin);
    add("OnPluginCreated ", plugin->GetID());
  }
  void OnPluginDirty(LARKA::LarkaPluginWidget* plugin) override {
    add("OnPluginDirty ", plugin->GetID());
  }
  std::string OnExecuteInLarka(const char* command) override {
    return add("OnExecuteInLarka ", command), larkaAnswer;
  }
  void OnDirty(LARKA::ILarkaBrowser* browser) override {
    ++dirty;
    dirtyBrowser = browser;
    add("OnDirty");
  }
  void OnJavaScriptAlert(const char* message) override { add("OnJavaScriptAlert ", message); }
  bool OnJavaScriptConfirm(const char* message) override {
    return add("OnJavaScriptConfirm ", message), confirms;
  }
  std::string OnJavaScriptPrompt(const char* message, const char* value, bool* handled) override {
    add("OnJavaScriptPrompt ", message, "|", value);
    *handled = answersPrompt;
    return promptAnswer;
  }
  void OnLinkHovered(bool hovering) override { add("OnLinkHovered ", hovering); }
  void OnRequestError() override { add("OnRequestError"); }
  void OnAcceptNavigationRequest() override { add("OnAcceptNavigationRequest"); }
  void OnMouseClick(LARKA::LarkaHTMLControl& control) override {
    add("OnMouseClick ", control.GetControlId());
  }
  void OnCreateWindow(bool modal, const char* url) override {
    add(modal ? "OnCreateWindow modal " : "OnCreateWindow ", url);
  }
  std::string OnChooseFile(const char* suggested) override {
    return add("OnChooseFile ", suggested), chosenFile;
  }
  void OnJavaScriptConsoleMessage(const char* message, int line, const char* source) override {
    const std::string file = source;
    add("OnJavaScriptConsoleMessage ", message, "|", line, "|", file.substr(file.rfind('/') + 1));
  }

 private:
  template <typename... Parts>
  void add(const Parts&... parts) {
    std::ostringstream text;
    (text << std::boolalpha << ... << parts);
    events.push_back(text.str());
    if (sharedEvents) sharedEvents->push_back(name + " " + text.str());
    if (onEvent) onEvent(text.str());
  }
};

/// The library, started without a display and with its files in a directory of its own.
class Host {
 public:
  Host() {
    setenv("XDG_DATA_HOME", directory.path().c_str(), 1);
    setenv("HOME", directory.path().c_str(), 1);
    setenv("no_proxy", "127.0.0.1", 1);
    manager = std::make_unique<LARKA::BrowserManager>();
  }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  void initialize() {
    // The toolkit keeps these until the process ends.
    static char* arguments[] = {strdup("test"), strdup("-platform"),
                                strdup(getenv("LARKA_TEST_XCB") ? "xcb" : "offscreen"), nullptr};
    manager->Initialize(3, arguments);
  }

  LARKA::ILarkaBrowser* createBrowser(LARKA::ILarkaCallbacks* listener, int width = 640,
                                      int height = 360, bool scriptObject = false,
                                      const char* storage = nullptr, const char* jar = nullptr) {
    LARKA::ILarkaBrowser* browser = manager->CreateBrowser();
    if (!browser) return nullptr;
    if (listener) browser->AddListener(listener);
    browser->Initialize(width, height, jar, storage, scriptObject, nullptr);
    return browser;
  }

  /// Pumps until `done`; false when that takes too long.
  bool pumpUntil(const std::function<bool()>& done, int milliseconds = 20000) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!done()) {
      if (std::chrono::steady_clock::now() > end) return false;
      manager->PumpEvents();
      usleep(1000);
    }
    return true;
  }

  /// Pumps until nothing has been painted for a while.
  void settle(const Recorder& recorder) {
    int dirty = -1;
    for (int quiet = 0; quiet < 3;) {
      quiet = dirty == recorder.dirty ? quiet + 1 : 0;
      dirty = recorder.dirty;
      pumpFor(40);
    }
  }

  void pumpFor(int milliseconds) {
    pumpUntil([] { return false; }, milliseconds);
  }

  /// Loads a page from a file and waits until it has been painted.
  bool load(LARKA::ILarkaBrowser* browser, Recorder* recorder, const std::string& html) {
    static int pages = 0;
    const std::string name = "page" + std::to_string(++pages) + ".html";
    return visit(browser, recorder, directory.write(name, html));
  }

  /// Loads an address and waits until it has been painted.
  bool visit(LARKA::ILarkaBrowser* browser, Recorder* recorder, const std::string& url) {
    recorder->finished = false;
    browser->Navigate(url.c_str());
    if (!pumpUntil([&] { return recorder->finished; }) || !recorder->ok) return false;
    settle(*recorder);
    return browser->GetBrowserImage() != nullptr;
  }

  TemporaryDirectory directory;
  std::unique_ptr<LARKA::BrowserManager> manager;
};

/// The pixel of a browser's page image as 0xAARRGGBB.
inline unsigned pixel(LARKA::ILarkaBrowser* browser, int x, int y) {
  unsigned value;
  memcpy(&value, browser->GetBrowserImage() + y * browser->GetBrowserStride() + x * 4, 4);
  return value;
}

/// A started library with one browser and a listener to it.
class BrowserTest : public testing::Test {
 protected:
  void SetUp() override {
    host.initialize();
    browser = host.createBrowser(&recorder);
    ASSERT_NE(browser, nullptr);
  }
  void TearDown() override {
    if (browser) host.manager->DestroyBrowser(browser, true);
    host.manager->Shutdown(true);
  }
  bool load(const std::string& html) { return host.load(browser, &recorder, html); }
  bool visit(const std::string& url) { return host.visit(browser, &recorder, url); }
  void settle() { host.settle(recorder); }
  std::string script(const std::string& code) { return browser->ExecuteJavascript(code.c_str()); }

  void press(int key, int modifiers = 0) {
    browser->KeyDown(key, modifiers);
    browser->KeyUp(key, modifiers);
  }
  void type(const std::u16string& text) {
    for (char16_t character : text) press(character);
  }

  /// The element with an id; one of no kind when there is none.
  LARKA::LarkaHTMLControl control(LARKA::ControlType type, const std::string& id) {
    LARKA::LarkaHTMLControl found;
    for (LARKA::LarkaHTMLControl* control : browser->GetControls(type)) {
      if (control->GetControlId() == id) found = *control;
      delete control;
    }
    return found;
  }

  Host host;
  Recorder recorder;
  LARKA::ILarkaBrowser* browser = nullptr;
};

}  // namespace test
