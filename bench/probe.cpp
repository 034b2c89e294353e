// SPDX-License-Identifier: MIT
//
// Measures one scenario once, with QtWebKit alone ("bare") or with the library. Prints one line of
// `name=value` pairs. end_to_end.cpp runs it in pairs and compares.
//
//   probe bare|larka run|pump SCENARIO PAGE [STARTED_MILLISECONDS]

#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <QApplication>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QRegion>
#include <QTimer>
#include <QUrl>
#include <QWebFrame>
#include <QWebPage>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "larka/larka.h"

namespace {

const int kWidth = 1280;
const int kHeight = 720;

double nowMilliseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
}

double cpuMilliseconds() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  const auto ms = [](const timeval& t) { return t.tv_sec * 1e3 + t.tv_usec / 1e3; };
  return ms(usage.ru_utime) + ms(usage.ru_stime);
}

double residentMebibytes() {
  long total = 0, resident = 0;
  FILE* statm = fopen("/proc/self/statm", "r");
  if (!statm || fscanf(statm, "%ld %ld", &total, &resident) != 2) abort();
  fclose(statm);
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

/// A page on either side: it can be loaded, scripted, and is painted into an image.
class Subject {
 public:
  virtual ~Subject() = default;
  virtual void load(const std::string& url) = 0;
  virtual void script(const std::string& code) = 0;
  virtual const unsigned char* image() = 0;

  /// Returns the last pixel of the image as 0xAARRGGBB; 0 if there is no image yet.
  unsigned cornerColour() {
    const unsigned char* pixels = image();
    unsigned colour = 0;
    if (pixels) memcpy(&colour, pixels + (kWidth * kHeight - 1) * 4, sizeof(colour));
    return colour;
  }

  int notices = 0;
  bool finished = false;
  std::function<void()> changed;  // called after each notice, and when the page has loaded

 protected:
  void tell() {
    if (changed) changed();
  }
};

/// QtWebKit alone: a page without a scene. When it asks for a repaint, the next turn of the event
/// loop renders it into an image.
class BarePage : public Subject {
 public:
  BarePage() : m_image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied) {
    m_page.setViewportSize(QSize(kWidth, kHeight));
    m_repaint.setSingleShot(true);
    QObject::connect(&m_page, &QWebPage::repaintRequested, [this](const QRect& rect) {
      m_region += rect;
      if (!m_repaint.isActive()) m_repaint.start(0);
    });
    QObject::connect(&m_page, &QWebPage::scrollRequested, [this] {
      m_region += m_image.rect();
      if (!m_repaint.isActive()) m_repaint.start(0);
    });
    QObject::connect(&m_page, &QWebPage::loadFinished, [this] {
      finished = true;
      tell();
    });
    QObject::connect(&m_repaint, &QTimer::timeout, [this] { repaint(); });
  }
  void load(const std::string& url) override {
    m_page.mainFrame()->load(QUrl::fromEncoded(url.c_str()));
  }
  void script(const std::string& code) override {
    m_page.mainFrame()->evaluateJavaScript(QString::fromStdString(code));
  }
  const unsigned char* image() override { return notices > 0 ? m_image.constBits() : nullptr; }

 private:
  void repaint() {
    QPainter painter(&m_image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing |
                           QPainter::SmoothPixmapTransform);
    const QRect rect = m_region.boundingRect();
    m_region = QRegion();
    painter.setClipRect(rect);
    m_page.mainFrame()->render(&painter, QRegion(rect));
    painter.end();
    ++notices;
    tell();
  }
  QWebPage m_page;
  QImage m_image;
  QRegion m_region;
  QTimer m_repaint;
};

class LarkaPage : public Subject, private LARKA::CallbacksAdapter {
 public:
  explicit LarkaPage(LARKA::BrowserManager* manager)
      : m_manager(manager), m_browser(manager->CreateBrowser()) {
    m_browser->AddListener(this);
    m_browser->Initialize(kWidth, kHeight, nullptr, nullptr, false, nullptr);
  }
  ~LarkaPage() override { m_manager->DestroyBrowser(m_browser, true); }
  void load(const std::string& url) override { m_browser->Navigate(url.c_str()); }
  void script(const std::string& code) override { m_browser->ExecuteJavascript(code.c_str()); }
  const unsigned char* image() override { return m_browser->GetBrowserImage(); }

 private:
  void OnDirty(LARKA::ILarkaBrowser*) override {
    ++notices;
    tell();
  }
  void OnLoadFinished(bool) override {
    finished = true;
    tell();
  }
  LARKA::BrowserManager* m_manager;
  LARKA::ILarkaBrowser* m_browser;
};

/// Runs a list of steps on one side, under one kind of loop. Each step begins when the one before
/// it is done.
class Runner {
 public:
  struct Step {
    std::function<void()> begin;
    std::function<bool()> done;
  };

  Runner(bool larka, bool pump, int argc, char** argv) : m_pump(pump) {
    if (larka) {
      m_manager = std::make_unique<LARKA::BrowserManager>();
      m_manager->Initialize(argc, argv);
    } else {
      static int count = argc;
      m_application = std::make_unique<QApplication>(count, argv);
    }
  }

  Subject* add() {
    if (m_manager)
      m_subjects.push_back(std::make_unique<LarkaPage>(m_manager.get()));
    else
      m_subjects.push_back(std::make_unique<BarePage>());
    m_subjects.back()->changed = [this] { advance(); };
    return m_subjects.back().get();
  }

  void then(std::function<void()> begin, std::function<bool()> done) {
    m_steps.push_back({std::move(begin), std::move(done)});
  }

  void thenWait(double milliseconds) {
    auto end = std::make_shared<double>();
    then([=] { *end = nowMilliseconds() + milliseconds; },
         [=] { return nowMilliseconds() >= *end; });
  }

  /// Loads a page, then marks its bottom right corner: the image is complete when it has the mark.
  void thenLoad(Subject* subject, const std::string& url) {
    then([=] { subject->load(url); }, [=] { return subject->finished; });
    then(
        [=] {
          subject->script(
              "var m=document.createElement('div');m.id='mark';m.style.cssText='position:fixed;"
              "right:0;bottom:0;width:16px;height:16px;background:#12ab34';"
              "document.body.appendChild(m)");
        },
        [=] { return subject->cornerColour() == 0xff12ab34u; });
  }

  void run() {
    advance();
    if (m_pump)
      runPumping();
    else if (m_manager)
      runLibraryLoop();
    else
      runQtLoop();
    m_subjects.clear();
  }

 private:
  // A host with a loop of its own, which pumps every 2 ms.
  void runPumping() {
    while (!finished()) {
      if (m_manager)
        m_manager->PumpEvents();
      else
        QCoreApplication::processEvents();
      advance();
      usleep(2000);
    }
  }

  void runLibraryLoop() {
    LARKA::ITimer* poll = m_manager->CreateTimer(
        [](LARKA::ITimer*, void* self) { static_cast<Runner*>(self)->advance(); }, 20, false, this);
    poll->Start();
    m_quit = [this] { m_manager->Shutdown(false); };
    if (finished()) return;
    m_manager->RunEventLoop();
  }

  void runQtLoop() {
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [this] { advance(); });
    poll.start(20);
    m_quit = [] { QCoreApplication::quit(); };
    if (finished()) return;
    QCoreApplication::exec();
  }

  bool finished() const { return m_next == m_steps.size() && !m_begun; }

  void advance() {
    if (m_advancing) return;
    m_advancing = true;
    while (m_next < m_steps.size() || m_begun) {
      if (!m_begun) {
        m_current = m_steps[m_next++];
        m_begun = true;
        if (m_current.begin) m_current.begin();
      }
      if (m_current.done && !m_current.done()) break;
      m_begun = false;
    }
    m_advancing = false;
    if (finished() && m_quit) m_quit();
  }

  bool m_pump;
  std::unique_ptr<LARKA::BrowserManager> m_manager;
  std::unique_ptr<QApplication> m_application;
  std::vector<std::unique_ptr<Subject>> m_subjects;
  std::vector<Step> m_steps;
  Step m_current;
  size_t m_next = 0;
  bool m_begun = false;
  bool m_advancing = false;
  std::function<void()> m_quit;
};

void addStart(Runner* runner, const std::string& url, double started) {
  Subject* subject = runner->add();
  runner->thenLoad(subject, url);
  runner->then([=] { printf("first_image_ms=%.2f\n", nowMilliseconds() - started); }, nullptr);
}

// Measures from before the script to the notice after the paint, with the new colour in the image.
void addScript(Runner* runner, const std::string& url) {
  Subject* subject = runner->add();
  runner->thenLoad(subject, url);
  runner->thenWait(500);
  auto times = std::make_shared<std::vector<double>>();
  for (int i = 0; i < 301; ++i) {
    const unsigned colour = 0xff000000u | static_cast<unsigned>(i * 7919 + 1);
    auto begun = std::make_shared<double>();
    runner->thenWait(5);
    runner->then(
        [=] {
          char code[96];
          snprintf(code, sizeof(code), "document.getElementById('mark').style.background='#%06x'",
                   colour & 0xffffff);
          *begun = nowMilliseconds();
          subject->script(code);
        },
        [=] {
          if (subject->cornerColour() != colour) return false;
          times->push_back(nowMilliseconds() - *begun);
          return true;
        });
  }
  runner->then(
      [=] {
        std::sort(times->begin(), times->end());
        printf("script_ms=%.3f\n", (*times)[times->size() / 2]);
      },
      nullptr);
}

void addSteady(Runner* runner, const std::string& url, double milliseconds) {
  Subject* subject = runner->add();
  runner->thenLoad(subject, url);
  runner->thenWait(1000);
  struct Start {
    double wall, cpu;
    int notices;
  };
  auto start = std::make_shared<Start>();
  runner->then([=] { *start = {nowMilliseconds(), cpuMilliseconds(), subject->notices}; }, nullptr);
  runner->thenWait(milliseconds);
  runner->then(
      [=] {
        const double seconds = (nowMilliseconds() - start->wall) / 1000;
        printf("cpu_ms_per_s=%.3f notices_per_s=%.2f\n", (cpuMilliseconds() - start->cpu) / seconds,
               (subject->notices - start->notices) / seconds);
      },
      nullptr);
}

void addMemory(Runner* runner, const std::string& url) {
  const int kFurther = 10;
  runner->thenLoad(runner->add(), url);
  runner->thenWait(500);
  auto first = std::make_shared<double>();
  runner->then([=] { *first = residentMebibytes(); }, nullptr);
  for (int i = 0; i < kFurther; ++i) {
    auto subject = std::make_shared<Subject*>(nullptr);
    runner->then([=] { (*subject = runner->add())->load(url); },
                 [=] { return (*subject)->finished; });
    runner->thenWait(300);
  }
  runner->then(
      [=] {
        printf("first_mib=%.2f further_mib=%.2f\n", *first,
               (residentMebibytes() - *first) / kFurther);
      },
      nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) {
    fprintf(stderr,
            "usage: probe bare|larka run|pump start|script|steady|memory URL [STARTED_MS]\n");
    return 2;
  }
  alarm(60);  // ends a scenario that gets stuck
  const std::string side = argv[1], loop = argv[2], scenario = argv[3], url = argv[4];
  const double started = argc > 5 ? atof(argv[5]) : nowMilliseconds();
  char name[] = "probe", platform[] = "-platform", offscreen[] = "offscreen";
  char* arguments[] = {name, platform, offscreen, nullptr};

  Runner runner(side == "larka", loop == "pump", 3, arguments);
  if (scenario == "start")
    addStart(&runner, url, started);
  else if (scenario == "script")
    addScript(&runner, url);
  else if (scenario == "steady")
    addSteady(&runner, url, 5000);
  else
    addMemory(&runner, url);
  runner.run();
}
