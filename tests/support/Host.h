// Host.h: a host for tests, built on the public interface alone.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <QTemporaryDir>
#include <algorithm>
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

/// A listener that writes its events down, as "OnTitleChanged Demo".
class Recorder : public LARKA::CallbacksAdapter, public LARKA::IExtraCallbacks {
 public:
  std::vector<std::string> events;
  std::function<void(const std::string&)> onEvent;  // called after each event is written down
  std::string promptAnswer, chosenFile, larkaAnswer;
  std::vector<LARKA::LarkaPluginWidget> plugins;  // that were announced
  bool confirms = false, answersPrompt = false, takesOver = false;
  int question = 0;  // the last one that can be taken over
  int dirty = 0;
  LARKA::ILarkaBrowser* dirtyBrowser = nullptr;  // of the last OnDirty
  bool finished = false, ok = false;

  int count(const std::string& event) const {
    int n = 0;
    for (const std::string& each : events) n += (each + " ").rfind(event + " ", 0) == 0;
    return n;
  }

  void OnLoadStarted() override { add(__func__); }
  void OnLoadFinished(bool loaded) override {
    finished = true;
    ok = loaded;
    add(__func__, loaded);
  }
  void OnLoadProgress(int percent) override { add(__func__, percent); }
  bool OnListOpened(LARKA::ILarkaBrowser*, const LARKA::ListRequest& list) override {
    std::string entries;
    for (const LARKA::ListEntry& entry : list.entries)
      entries += (entry.selected ? " *" : entry.enabled ? " " : " -") + entry.group + entry.text;
    question = list.id;
    return add(__func__, list.control.x, ",", list.control.y, entries), takesOver;
  }
  void OnListClosed(LARKA::ILarkaBrowser*, int id) override { add(__func__, id == question); }
  bool OnColorOpened(LARKA::ILarkaBrowser*, int id, const LARKA::Rectangle& control,
                     const char* color) override {
    question = id;
    return add(__func__, control.x, ",", control.y, " ", color), takesOver;
  }
  void OnColorClosed(LARKA::ILarkaBrowser*, int id) override { add(__func__, id == question); }
  void OnPrintRequested() override { add(__func__); }
  bool OnDownloadRequested() override { return add(__func__), true; }
  void OnTitleChanged(const char* title) override { add(__func__, title); }
  void OnStatusBarMessage(const char* text) override { add(__func__, text); }
  void OnGeometryChangeRequested(int w, int h) override { add(__func__, w, "x", h); }
  void OnCreatingRequest(const char* url) override { add(__func__, url); }
  void OnUrlChanged(const char* url) override { add(__func__, url); }
  void OnPluginCreated(LARKA::LarkaPluginWidget* plugin) override {
    plugins.push_back(*plugin);
    plugin->SetUserData(this);
    add(__func__, plugin->GetID());
  }
  void OnMediaRequest(LARKA::ILarkaBrowser*, LARKA::LarkaPluginWidget* player,
                      LARKA::MediaAction action, double value) override {
    EXPECT_TRUE(player->GetUserData());
    add(__func__, player->GetID(), " ", action, " ", value);
  }
  void OnPluginDirty(LARKA::LarkaPluginWidget* plugin) override {
    EXPECT_TRUE(plugin->GetUserData());
    add(__func__, plugin->GetID());
  }
  std::string OnExecuteInLarka(const char* text) override {
    return add(__func__, text), larkaAnswer;
  }
  void OnMessage(LARKA::ILarkaBrowser*, const char* json, const char* address) override {
    add(__func__, json, " ", address);
  }
  void OnDirty(LARKA::ILarkaBrowser* browser) override {
    ++dirty;
    dirtyBrowser = browser;
    add(__func__);
  }
  void OnJavaScriptAlert(const char* message) override { add(__func__, message); }
  bool OnJavaScriptConfirm(const char* text) override { return add(__func__, text), confirms; }
  std::string OnJavaScriptPrompt(const char* message, const char* value, bool* handled) override {
    if (answersPrompt) *handled = true;
    return add(__func__, message, "|", value), promptAnswer;
  }
  void OnLinkHovered(bool hovering) override { add(__func__, hovering); }
  void OnRequestError() override { add(__func__); }
  void OnAcceptNavigationRequest() override { add(__func__); }
  void OnMouseClick(LARKA::LarkaHTMLControl& on) override { add(__func__, on.GetControlId()); }
  void OnCreateWindow(bool m, const char* url) override { add(__func__, m ? "modal " : "", url); }
  std::string OnChooseFile(const char* path) override { return add(__func__, path), chosenFile; }
  void OnJavaScriptConsoleMessage(const char* message, int line, const char* source) override {
    const std::string file = source;
    add(__func__, message, "|", line, "|", file.substr(file.rfind('/') + 1));
  }

 protected:
  template <typename... Parts>
  void add(const char* event, const Parts&... parts) {
    std::ostringstream text;
    text << std::boolalpha << event << (sizeof...(parts) ? " " : "");
    static_cast<void>((text << ... << parts));
    events.push_back(text.str());
    if (onEvent) onEvent(text.str());
  }
};

/// Whether QtWebKit runs in a process of its own.
inline bool hasEngineProcess() { return getenv("LARKA_TEST_ENGINE") != nullptr; }

/// The library, started without a display and with its files in a directory of its own.
class Host {
 public:
  Host() {
    setenv("XDG_DATA_HOME", directory.path().c_str(), 1);
    setenv("HOME", directory.path().c_str(), 1);
    setenv("no_proxy", "127.0.0.1", 1);
    manager = std::make_unique<LARKA::BrowserManager>();
  }

  void initialize() {
    // Qt keeps these until the process ends.
    static char program[] = "test", option[] = "-platform", xcb[] = "xcb", none[] = "offscreen";
    static char process[] = "--engine-process";
    char* arguments[] = {program, option, getenv("LARKA_TEST_XCB") ? xcb : none, process, nullptr};
    static char* kept[5];
    std::copy(arguments, arguments + 5, kept);
    LARKA::EngineSettings settings;
    settings.directories = {qgetenv("XDG_DATA_HOME").toStdString()};
    SetEngineSettings(settings);
    manager->Initialize(hasEngineProcess() ? 4 : 3, kept);
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
    // An engine process paints when it gets to it.
    const int enough = hasEngineProcess() ? 5 : 3;
    int quiet = 0;
    for (int dirty = -1; quiet < enough; dirty = recorder.dirty, pumpFor(40))
      quiet = dirty == recorder.dirty ? quiet + 1 : 0;
  }

  void pumpFor(int milliseconds) {
    pumpUntil([] { return false; }, milliseconds);
  }

  /// Loads a page from a file and waits until it has been painted.
  bool load(LARKA::ILarkaBrowser* browser, Recorder* recorder, const std::string& html) {
    static int pages = 0;
    return visit(browser, recorder, directory.write(std::to_string(++pages) + ".html", html));
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

  Host host;
  Recorder recorder;
  LARKA::ILarkaBrowser* browser = nullptr;
};

}  // namespace test
