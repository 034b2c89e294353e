// SPDX-License-Identifier: MIT
#include "larka/larka.h"
#include "side.h"

namespace {

class LibraryPage : public Page, private LARKA::CallbacksAdapter {
 public:
  explicit LibraryPage(LARKA::BrowserManager* manager)
      : m_manager(manager), m_browser(manager->CreateBrowser()) {
    m_browser->AddListener(this);
    m_browser->Initialize(kWidth, kHeight, nullptr, nullptr, false, nullptr);
  }
  ~LibraryPage() override { m_manager->DestroyBrowser(m_browser, true); }
  LibraryPage(const LibraryPage&) = delete;
  LibraryPage& operator=(const LibraryPage&) = delete;

  void load(const std::string& url) override { m_browser->Navigate(url.c_str()); }
  void script(const std::string& code) override { m_browser->ExecuteJavascript(code.c_str()); }
  void type(char letter) override {
    m_browser->KeyDown(letter, 0);
    m_browser->KeyUp(letter, 0);
  }
  const unsigned char* image() override { return m_browser->GetBrowserImage(); }

 private:
  void OnDirty(LARKA::ILarkaBrowser*) override { framePainted(); }
  void OnLoadFinished(bool) override { loadEnded(); }

  LARKA::BrowserManager* m_manager;
  LARKA::ILarkaBrowser* m_browser;
};

class LibrarySide : public Side {
 public:
  LibrarySide(int argc, char** argv) { m_manager.Initialize(argc, argv); }
  std::unique_ptr<Page> open() override { return std::make_unique<LibraryPage>(&m_manager); }
  void pump() override { m_manager.PumpEvents(); }
  void run() override { m_manager.RunEventLoop(); }
  void quit() override { m_manager.Shutdown(false); }

 private:
  LARKA::BrowserManager m_manager;
};

}  // namespace

std::unique_ptr<Side> makeSide(int& argc, char** argv) {
  return std::make_unique<LibrarySide>(argc, argv);
}
