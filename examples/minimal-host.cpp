// The smallest complete host: shows a page, and what changes on it, until the page has come to
// rest.
#include <larka/larka.h>
#include <cstdio>
#include <ctime>

class Screen : public LARKA::CallbacksAdapter {
 public:
  // The image changed: a real host uploads it as a texture here.
  void OnDirty(LARKA::ILarkaBrowser* browser) override {
    const unsigned char* pixels = browser->GetBrowserImage();
    const int stride = browser->GetBrowserStride();
    const unsigned char* centre = pixels + 360 * stride + 640 * 4;  // blue, green, red, alpha
    printf("painted; the centre is #%02x%02x%02x\n", centre[2], centre[1], centre[0]);
  }
  void OnTitleChanged(const char* title) override { printf("title: %s\n", title); }
  void OnLoadFinished(bool ok) override {
    printf("%s\n", ok ? "loaded" : "failed");
    finished = true;
  }
  bool finished = false;
};

int main(int argc, char** argv) {
  char platform[] = "-platform", offscreen[] = "offscreen";
  char* arguments[] = {argv[0], platform, offscreen, nullptr};
  LARKA::BrowserManager manager;
  manager.Initialize(3, arguments);

  Screen screen;
  LARKA::ILarkaBrowser* browser = manager.CreateBrowser();
  browser->AddListener(&screen);
  browser->Initialize(1280, 720, nullptr, nullptr, false, nullptr);
  const char* page = "data:text/html,<title>Hello</title><body bgcolor=teal><h1>Hello, sofa</h1>";
  browser->Navigate(argc > 1 ? argv[1] : page);

  const timespec frame = {0, 16 * 1000 * 1000};
  for (int idle = 0; idle < 30; idle += screen.finished) {  // the host's own loop
    manager.PumpEvents();
    nanosleep(&frame, nullptr);
  }
  manager.DestroyBrowser(browser, true);
  manager.Shutdown(true);
}
