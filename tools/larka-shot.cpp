// larka-shot: renders web pages into image files, through the library's public interface.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <list>
#include <numeric>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "PageShot.h"
#include "ShotOptions.h"
#include "larka/larka.h"

namespace {

/// What a caller has closed goes nowhere, instead of into the next file that is opened.
void openStandardStreams() {
  int stream = open("/dev/null", O_RDWR);
  while (stream >= 0 && stream <= STDERR_FILENO) stream = open("/dev/null", O_RDWR);
  close(stream);
}

enum Status { kRendered = 0, kFailed = 1, kWrongUsage = 2, kIncomplete = 3 };

/// Returns the exit status. It is that of a failure if standard output could not be written, which
/// is reported on `errors`.
int exitStatus(Status status, FILE* errors) {
  if (fflush(stdout) == 0 && !ferror(stdout)) return status;
  fprintf(errors, "larka-shot: can't write to the standard output\n");
  return kFailed;
}

/// The standard error stream as a person sees it. The library's diagnostics go there too, unless
/// they are sent away.
class Console {
 public:
  explicit Console(const ShotOptions& options)
      : m_stream(fdopen(dup(STDERR_FILENO), "w")),
        m_total(options.shots.size()),
        m_showsBar(m_total > 1 && !options.quiet && isatty(STDERR_FILENO)) {
    if (options.verbose) return;
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
  }
  ~Console() {
    clearBar();
    fclose(m_stream);
  }
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  void error(const std::string& text) {
    clearBar();
    fprintf(m_stream, "larka-shot: %s\n", text.c_str());
    fflush(m_stream);
  }
  void error(const Shot& shot, const std::string& text) { error(shot.asked + ": " + text); }

  void done(const std::string& text) {
    clearBar();
    printf("%s\n", text.c_str());
    fflush(stdout);
  }

  FILE* stream() { return m_stream; }

  void progress(size_t done) {
    if (!m_showsBar) return;
    const size_t kWidth = 40;
    const size_t filled = done * kWidth / m_total;
    fprintf(m_stream, "\r[%s%s] %zu/%zu", std::string(filled, '#').c_str(),
            std::string(kWidth - filled, '.').c_str(), done, m_total);
    fflush(m_stream);
  }

 private:
  void clearBar() {
    if (!m_showsBar) return;
    fputs("\r\033[K", m_stream);
    fflush(m_stream);
  }

  FILE* m_stream;
  size_t m_total;
  bool m_showsBar;
};

/// Says what became of a page.
Status report(const Shot& shot, const Outcome& outcome, const ShotOptions& options,
              Console* console) {
  if (!outcome.error.empty()) {
    console->error(shot, outcome.error);
    return kFailed;
  }
  const bool complete = outcome.doubt.empty();
  if (!complete) console->error(shot, outcome.doubt + "; the image has what was there");
  const bool ran = outcome.scriptError.empty();
  if (!ran) console->error(shot, "--script " + outcome.scriptError);
  const std::string whose = options.shots.size() > 1 ? shot.asked + ": " : "";
  if (options.script) console->done(whose + outcome.scriptValue);
  char seconds[32];
  snprintf(seconds, sizeof(seconds), " (%.2f s)", outcome.seconds);
  if (!options.quiet) console->done(shot.asked + ": " + shot.output + seconds);
  return complete && ran ? kRendered : kIncomplete;
}

/// A manager with an engine process of its own, which renders one page after the other.
class Job {
 public:
  explicit Job(const ShotOptions& options) : m_options(options) {
    static char name[] = "larka-shot", platform[] = "-platform", offscreen[] = "offscreen";
    static char process[] = "--engine-process";
    char* arguments[] = {name, platform, offscreen, process, nullptr};
    if (options.inProcess) arguments[3] = nullptr;
    m_manager.Initialize(options.inProcess ? 3 : 4, arguments);
  }
  ~Job() {
    endPage();
    m_manager.Shutdown(true);
  }
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;

  /// Begins with the next page.
  void begin(size_t index) {
    endPage();
    LARKA::RestartEngine(&m_manager);  // if pages have ended too many of them
    m_index = index;
    m_page.emplace(&m_manager, m_options, m_options.shots[index]);
    m_before = PageShot::Clock::now();
  }

  /// Goes on with the page. Returns whether that is done with.
  bool advance() {
    m_manager.PumpEvents();
    const auto now = PageShot::Clock::now();
    const bool done = m_page->advance(now - std::exchange(m_before, now));
    m_works = m_works || m_options.inProcess || m_page->sawEngineStart();
    return done;
  }

  size_t index() const { return m_index; }
  const PageShot& page() const { return *m_page; }

  /// Whether its engine process could be started, once the first page is done with.
  bool works() const { return m_works; }

 private:
  void endPage() {
    const bool isStuck = m_page && m_page->isStuck();
    m_page.reset();
    if (isStuck) LARKA::EndEngine(&m_manager);
    m_manager.PumpEvents();  // what there is to hear of that is not for the next page
  }

  const ShotOptions& m_options;
  LARKA::BrowserManager m_manager;
  std::optional<PageShot> m_page;
  size_t m_index = 0;
  PageShot::Clock::time_point m_before;
  bool m_works = false;
};

/// Renders every page, and reports them in the order of the list.
class Renderer {
 public:
  Renderer(const ShotOptions& options, Console* console)
      : m_options(options),
        m_console(console),
        m_mostJobs(static_cast<size_t>(options.jobs)),
        m_waiting(options.shots.size()),
        m_outcomes(options.shots.size()) {
    std::iota(m_waiting.begin(), m_waiting.end(), 0);
    LARKA::EngineSettings settings;
    settings.startLimit = 0;
    settings.answerLimit = kAnswerMilliseconds;
    settings.memoryLimit = kMemoryLimit;
    settings.reload = false;
    LARKA::SetEngineSettings(settings);
  }

  /// Returns the status of the worst page.
  Status run() {
    m_console->progress(0);
    for (;;) {
      while (m_jobs.size() < m_mostJobs && findNext()) begin(&m_jobs.emplace_back(m_options));
      if (m_jobs.empty()) return m_worst;
      std::chrono::microseconds pause = PageShot::longestPause();
      for (auto job = m_jobs.begin(); job != m_jobs.end();) {
        if (!job->advance()) {
          pause = std::min(pause, (job++)->page().pause());
          continue;
        }
        pause = pause.zero();
        if (job->works())
          done(job->index(), job->page().outcome());
        else if (!goOnWithout(*job))
          return kFailed;
        if (job->works() && findNext())
          begin(&*job++);
        else
          job = m_jobs.erase(job);
      }
      std::this_thread::sleep_for(pause);
    }
  }

 private:
  // A busy engine process holds the others up for so long.
  static const int kAnswerMilliseconds = 100;
  static const long long kMemoryLimit = 1LL << 30;

  /// Returns whether a page is left that can be asked for.
  bool findNext() {
    for (; !m_waiting.empty(); m_waiting.pop_front()) {
      Outcome outcome;
      outcome.error = whatIsWrongWith(m_options.shots[m_waiting.front()]);
      if (outcome.error.empty()) return true;
      done(m_waiting.front(), outcome);
    }
    return false;
  }

  void begin(Job* job) {
    job->begin(m_waiting.front());
    m_waiting.pop_front();
  }

  /// There may be too many processes. The other jobs take over the page, if there are any.
  bool goOnWithout(const Job& job) {
    m_waiting.push_front(job.index());
    m_mostJobs = m_jobs.size() - 1;
    if (m_mostJobs == 0) m_console->error("can't start larka-engine; --verbose says more");
    return m_mostJobs > 0;
  }

  void done(size_t index, const Outcome& outcome) {
    m_outcomes[index] = outcome;
    for (; m_reported < m_outcomes.size() && m_outcomes[m_reported]; ++m_reported) {
      const Shot& shot = m_options.shots[m_reported];
      const Status status = report(shot, *m_outcomes[m_reported], m_options, m_console);
      if (status == kFailed || m_worst == kRendered) m_worst = status;
    }
    m_console->progress(++m_done);
  }

  const ShotOptions& m_options;
  Console* m_console;
  size_t m_mostJobs;
  std::list<Job> m_jobs;
  std::deque<size_t> m_waiting;  // pages
  std::vector<std::optional<Outcome>> m_outcomes;
  size_t m_done = 0, m_reported = 0;
  Status m_worst = kRendered;
};

}  // namespace

int main(int argc, char** argv) {
  openStandardStreams();
  ShotOptions options;
  const std::string wrong = parseOptions(argc, argv, &options);
  if (!wrong.empty()) {
    fprintf(stderr, "larka-shot: %s\n", wrong.c_str());
    return kWrongUsage;
  }
  if (!options.answer.empty()) {
    fputs(options.answer.c_str(), stdout);
    return exitStatus(kRendered, stderr);
  }

  Console console(options);
  return exitStatus(Renderer(options, &console).run(), console.stream());
}
