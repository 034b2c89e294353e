// SPDX-License-Identifier: MIT
//
// Measures one scenario once, on the side that it is linked with, and prints a line `NAME=VALUE`
// for each figure. bench.cpp runs it in pairs and compares.
//
//   probe run|pump SCENARIO URL STARTED [MORE]
//
//   run     the side's own event loop
//   pump    a host with a loop of its own, which pumps every 2 ms
//   STARTED when the process was started, in milliseconds of the monotonic clock
//   MORE    for "crowd" the URL of the pages that don't move, for "shot" the image file

#include <unistd.h>

#include <QImage>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "clock.h"
#include "side.h"

namespace {

const int kSettleMilliseconds = 100;
const int kRestMilliseconds = 400;  // the library looks once more at a page that has come to rest
const int kWindowMilliseconds = 500;
const int kBetweenInputsMilliseconds = 5;
const int kInputs = 20;
const int kCrowd = 16;
const int kFurtherPages = 4;

double residentMebibytes() {
  long total = 0, resident = 0;
  FILE* statm = fopen("/proc/self/statm", "r");
  if (!statm || fscanf(statm, "%ld %ld", &total, &resident) != 2) abort();
  fclose(statm);
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

void report(const char* name, double value) { printf("%s=%.4f\n", name, value); }

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

/// Returns the bottom left pixel of a page's image; 0 if there is no image yet.
unsigned cornerOf(Page* page) {
  unsigned colour = 0;
  if (const unsigned char* pixels = page->image())
    memcpy(&colour, pixels + kWidth * (kHeight - 1) * 4, sizeof(colour));
  return colour;
}

/// Runs a list of steps, each of which begins when the one before it is done. A host that pumps
/// begins them between its pumps.
class Session {
 public:
  Session(std::unique_ptr<Side> side, bool pump) : m_side(std::move(side)), m_pump(pump) {}

  Page* open() {
    m_pages.push_back(m_side->open());
    m_pages.back()->changed = [this] { notice(); };
    return m_pages.back().get();
  }

  void then(
      std::function<void()> begin, std::function<bool()> done = [] { return true; }) {
    m_steps.push_back({std::move(begin), std::move(done)});
  }

  void thenWait(int milliseconds) {
    auto over = std::make_shared<bool>(false);
    const auto end = [this, over] {
      *over = true;
      notice();
    };
    then([=] { QTimer::singleShot(milliseconds, Qt::PreciseTimer, end); }, [=] { return *over; });
  }

  /// Loads a page, then marks its bottom left corner: the image is complete when it has the mark.
  void thenLoad(Page* page, const std::string& url) {
    then([=] { page->load(url); }, [=] { return page->loaded; });
    const auto mark = [=] {
      page->script(
          "var m=document.createElement('div');m.id='mark';m.style.cssText='position:fixed;left:0;"
          "bottom:0;width:16px;height:16px';document.body.appendChild(m)");
    };
    then(mark);
    thenMark(page, 0xff12ab34u);
  }

  void thenMark(Page* page, unsigned colour) {
    const auto mark = [=] {
      char code[80];
      snprintf(code, sizeof(code), "document.getElementById('mark').style.background='#%06x'",
               colour & 0xffffff);
      page->script(code);
    };
    then(mark, [=] { return cornerOf(page) == colour; });
  }

  void run() {
    if (!m_pump) {
      QTimer::singleShot(0, [this] { proceed(); });
      m_side->run();
    }
    while (!finished()) {
      proceed();
      m_side->pump();
      usleep(2000);
    }
    m_pages.clear();
  }

 private:
  struct Step {
    std::function<void()> begin;
    std::function<bool()> done;
  };

  bool finished() const { return !m_underWay && m_next == m_steps.size(); }

  void notice() {
    if (!m_pump)
      proceed();
    else
      look();
  }

  void look() {
    if (m_underWay && m_steps[m_next - 1].done()) m_underWay = false;
  }

  void proceed() {
    if (m_proceeding) return;
    m_proceeding = true;
    for (look(); !m_underWay && m_next < m_steps.size(); look()) {
      m_underWay = true;
      m_steps[m_next++].begin();
    }
    m_proceeding = false;
    if (finished() && !m_pump) m_side->quit();
  }

  std::unique_ptr<Side> m_side;
  bool m_pump;
  std::vector<std::unique_ptr<Page>> m_pages;
  std::vector<Step> m_steps;
  size_t m_next = 0;
  bool m_underWay = false;
  bool m_proceeding = false;
};

void addStart(Session* session, const std::string& url, double started) {
  session->thenLoad(session->open(), url);
  session->then([=] {
    report("ms", nowMilliseconds() - started);
    report("CPU ms", cpuMilliseconds(RUSAGE_SELF));
  });
}

// Without the mark: QtWebKit scrolls a page with a fixed element in another way.
void addAnimation(Session* session, const std::string& url, int settleMilliseconds) {
  Page* page = session->open();
  session->thenLoad(page, url);
  session->then(
      [=] { page->script("document.body.removeChild(document.getElementById('mark'))"); });
  session->thenWait(settleMilliseconds);
  struct Start {
    double wall, cpu;
    int frames;
  };
  auto start = std::make_shared<Start>();
  session->then([=] { *start = {nowMilliseconds(), cpuMilliseconds(RUSAGE_SELF), page->frames}; });
  session->thenWait(kWindowMilliseconds);
  session->then([=] {
    const double seconds = (nowMilliseconds() - start->wall) / 1000;
    report("CPU ms/s", (cpuMilliseconds(RUSAGE_SELF) - start->cpu) / seconds);
    report("frames/s", (page->frames - start->frames) / seconds);
  });
}

void addCrowd(Session* session, const std::string& url, const std::string& stillUrl) {
  for (int i = 1; i < kCrowd; ++i) session->thenLoad(session->open(), stillUrl);
  addAnimation(session, url, kRestMilliseconds);
}

/// Adds a step many times, with a pause before each, and reports the median of the times from its
/// beginning to its end.
void addInputs(Session* session, const char* name, const std::function<void(int)>& addInput) {
  auto begun = std::make_shared<double>();
  auto times = std::make_shared<std::vector<double>>();
  for (int i = 0; i < kInputs; ++i) {
    session->thenWait(kBetweenInputsMilliseconds);
    session->then([=] { *begun = nowMilliseconds(); });
    addInput(i);
    session->then([=] { times->push_back(nowMilliseconds() - *begun); });
  }
  session->then([=] { report(name, median(*times)); });
}

void addInput(Session* session, const std::string& url) {
  Page* page = session->open();
  session->thenLoad(page, url);
  session->thenWait(kSettleMilliseconds);
  addInputs(session, "script to frame, ms",
            [=](int i) { session->thenMark(page, 0xff000001u + static_cast<unsigned>(i) * 7919); });
  auto frames = std::make_shared<int>();
  const auto addKey = [=](int i) {
    const auto press = [=] {
      *frames = page->frames;
      page->type(static_cast<char>('a' + i % 26));
    };
    session->then(press, [=] { return page->frames > *frames; });
  };
  addInputs(session, "key to frame, ms", addKey);
}

void addMemory(Session* session, const std::string& url) {
  session->thenLoad(session->open(), url);
  session->thenWait(kSettleMilliseconds);
  auto first = std::make_shared<double>();
  session->then([=] { *first = residentMebibytes(); });
  for (int i = 0; i < kFurtherPages; ++i) {
    auto page = std::make_shared<Page*>();
    const auto open = [=] {
      *page = session->open();
      (*page)->load(url);
    };
    session->then(open, [=] { return (*page)->loaded && (*page)->frames > 0; });
  }
  session->thenWait(kSettleMilliseconds);
  session->then([=] {
    report("MiB", *first);
    report("MiB each further page", (residentMebibytes() - *first) / kFurtherPages);
  });
}

void addShot(Session* session, const std::string& url, const char* file) {
  Page* page = session->open();
  auto frames = std::make_shared<int>();
  session->then([=] { page->load(url); }, [=] { return page->loaded; });
  session->then([=] { *frames = page->frames; }, [=] { return page->frames > *frames; });
  session->then([=] {
    const QImage image(page->image(), kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    if (!image.save(QString::fromLocal8Bit(file))) exit(1);
  });
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) {
    fputs(
        "usage: probe run|pump start|still|animation|crowd|input|memory|shot URL STARTED [MORE]\n",
        stderr);
    return 2;
  }
  alarm(20);  // ends a scenario that gets stuck
  const std::string loop = argv[1], scenario = argv[2], url = argv[3];
  const char* more = argc > 5 ? argv[5] : "";
  char name[] = "probe", platform[] = "-platform", offscreen[] = "offscreen";
  char* arguments[] = {name, platform, offscreen, nullptr};
  int count = 3;

  Session session(makeSide(count, arguments), loop == "pump");
  if (scenario == "start") addStart(&session, url, atof(argv[4]));
  if (scenario == "still") addAnimation(&session, url, kRestMilliseconds);
  if (scenario == "animation") addAnimation(&session, url, kSettleMilliseconds);
  if (scenario == "crowd") addCrowd(&session, url, more);
  if (scenario == "input") addInput(&session, url);
  if (scenario == "memory") addMemory(&session, url);
  if (scenario == "shot") addShot(&session, url, more);
  session.run();
}
