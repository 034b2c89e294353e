// A host that doesn't wait forever for a server, and passes any text to script. Without an address
// it loads from a server of its own that never answers.
//
//   careful-host [URL [SCRIPT]]
#include <arpa/inet.h>
#include <larka/larka.h>
#include <sys/socket.h>

#include <codecvt>
#include <cstdio>
#include <ctime>
#include <locale>
#include <string>

// Stops each load that takes longer than it may.
class Patience : public LARKA::CallbacksAdapter {
 public:
  Patience(LARKA::BrowserManager* manager, LARKA::ILarkaBrowser* browser, int milliseconds)
      : m_manager(manager),
        m_browser(browser),
        m_timer(manager->CreateTimer(giveUp, milliseconds, true, this)) {
    browser->AddListener(this);
  }
  ~Patience() override {  // before the browser is destroyed
    m_browser->RemoveListener(this);
    m_timer->Stop();
    m_manager->DisposeTimer(m_timer);
  }
  Patience(const Patience&) = delete;
  Patience& operator=(const Patience&) = delete;

  void OnLoadStarted() override { m_timer->Start(); }
  void OnLoadFinished(bool /*ok*/) override { m_timer->Stop(); }

 private:
  static void giveUp(LARKA::ITimer* /*timer*/, void* patience) {
    static_cast<Patience*>(patience)->m_browser->Stop();  // calls OnLoadFinished(false)
  }

  LARKA::BrowserManager* m_manager;
  LARKA::ILarkaBrowser* m_browser;
  LARKA::ITimer* m_timer;
};

// Writes a script in UTF-8 so that ExecuteJavascript runs it as it is.
std::string escaped(const std::string& script) {
  std::wstring_convert<std::codecvt_utf8_utf16<char16_t>, char16_t> converter("", u"");
  std::string result;
  for (const char16_t unit : converter.from_bytes(script)) {
    char code[8];
    const bool plain = unit >= ' ' && unit <= '~' && unit != '\\';
    snprintf(code, sizeof(code), plain ? "%c" : "\\u%04x", unit);
    result += code;
  }
  return result;
}

class Progress : public LARKA::CallbacksAdapter {
 public:
  void OnLoadFinished(bool ok) override {
    printf("%s\n", ok ? "loaded" : "failed or stopped");
    finished = true;
  }
  bool finished = false;
};

// Returns the address of a server that never answers.
std::string silentServer() {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  const int server = socket(AF_INET, SOCK_STREAM, 0);
  if (bind(server, generic, size) != 0 || listen(server, 1) != 0) return std::string();
  getsockname(server, generic, &size);
  return "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

int main(int argc, char** argv) {
  char platform[] = "-platform", offscreen[] = "offscreen";
  char* arguments[] = {argv[0], platform, offscreen, nullptr};
  LARKA::BrowserManager manager;
  manager.Initialize(3, arguments);
  LARKA::ILarkaBrowser* browser = manager.CreateBrowser();
  browser->Initialize(1280, 720, nullptr, nullptr, false, nullptr);
  {
    Patience patience(&manager, browser, argc > 1 ? 10000 : 1000);
    Progress progress;
    browser->AddListener(&progress);
    browser->Navigate(argc > 1 ? argv[1] : silentServer().c_str());
    const timespec frame = {0, 16 * 1000 * 1000};
    while (!progress.finished) {  // the host's own loop
      manager.PumpEvents();
      nanosleep(&frame, nullptr);
    }
    browser->RemoveListener(&progress);
    const std::string script = argc > 2 ? argv[2] : "// €\n'\\\\ is a backslash, € is not'";
    printf("%s\n", browser->ExecuteJavascript(escaped(script).c_str()).c_str());
  }
  manager.DestroyBrowser(browser, true);
  manager.Shutdown(true);
}
