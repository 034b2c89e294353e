// A host that doesn't wait forever for a server, and passes any text to script. Without an address
// it loads from a server of its own that never answers. It can write the page image, too.
//
//   careful-host [URL [SCRIPT [PICTURE.ppm]]]
#include <arpa/inet.h>
#include <larka/larka.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
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

// Runs a script in UTF-8, and prints its value as JSON or why it has none.
void run(LARKA::ILarkaBrowser* browser, const std::string& script) {
  const LARKA::ScriptResult result = LARKA::EvaluateScript(browser, script.c_str());
  if (result.ok)
    printf("%s\n", result.json.c_str());
  else
    printf("line %d: %s\n%s\n", result.line, result.message.c_str(), result.stack.c_str());
}

// Keeps the size of the page image, and writes the image into a file.
class Picture : public LARKA::CallbacksAdapter {
 public:
  void OnDirty(LARKA::ILarkaBrowser* browser) override {
    if (m_width > 0) return;  // the image keeps the size of its first paint
    m_width = std::min(browser->GetWidth(), 1280);
    m_height = std::min(browser->GetHeight(), 720);
  }

  // Writes a PPM file. Call it in OnDirty or between two pumps.
  bool save(LARKA::ILarkaBrowser* browser, const char* path) const {
    const unsigned char* row = browser->GetBrowserImage();
    FILE* file = row ? fopen(path, "wb") : nullptr;
    if (!file) return false;
    fprintf(file, "P6 %d %d 255\n", m_width, m_height);
    for (int y = 0; y < m_height; ++y, row += browser->GetBrowserStride())
      for (const unsigned char* pixel = row; pixel < row + 4 * m_width; pixel += 4)
        for (const int colour : {2, 1, 0}) putc(pixel[colour], file);  // red, green, blue
    const bool written = !ferror(file);
    return fclose(file) == 0 && written;
  }

 private:
  int m_width = 0, m_height = 0;
};

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
    Picture picture;
    browser->AddListener(&progress);
    browser->AddListener(&picture);
    browser->Navigate(argc > 1 ? argv[1] : silentServer().c_str());
    const timespec frame = {0, 16 * 1000 * 1000};
    while (!progress.finished) {  // the host's own loop
      manager.PumpEvents();
      nanosleep(&frame, nullptr);
    }
    for (int i = 0; i < 30; ++i) {  // what the page still paints
      manager.PumpEvents();
      nanosleep(&frame, nullptr);
    }
    run(browser, argc > 2 ? argv[2] : "// €\n'\\\\ is a backslash, € is not'");
    if (argc > 3 && !picture.save(browser, argv[3])) fprintf(stderr, "can't write %s\n", argv[3]);
    browser->RemoveListener(&picture);
    browser->RemoveListener(&progress);
  }
  manager.DestroyBrowser(browser, true);
  manager.Shutdown(true);
}
