// larka-shot: renders web pages into image files, through the library's public interface.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "PageShot.h"
#include "ShotOptions.h"
#include "ShotWorkers.h"
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

  void error(const Shot& shot, const std::string& text) {
    clearBar();
    fprintf(m_stream, "larka-shot: %s: %s\n", shot.asked.c_str(), text.c_str());
    fflush(m_stream);
  }

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

/// The library, and the pages that it renders one after the other.
class Renderer {
 public:
  explicit Renderer(const ShotOptions& options) : m_options(options) {
    static char name[] = "larka-shot", platform[] = "-platform", offscreen[] = "offscreen";
    static char* arguments[] = {name, platform, offscreen, nullptr};
    m_manager.Initialize(3, arguments);
  }
  ~Renderer() {
    m_manager.PumpEvents();
    m_manager.Shutdown(true);
  }
  Renderer(const Renderer&) = delete;
  Renderer& operator=(const Renderer&) = delete;

  Outcome render(const Shot& shot) {
    PageShot page(&m_manager, m_options, shot);
    auto before = PageShot::Clock::now();
    for (bool done = false; !done;) {
      m_manager.PumpEvents();
      const auto now = PageShot::Clock::now();
      done = page.advance(now - std::exchange(before, now));
      if (!done) std::this_thread::sleep_for(page.pause());
    }
    return page.outcome();
  }

 private:
  const ShotOptions& m_options;
  LARKA::BrowserManager m_manager;
};

/// How long a page may take before its process doesn't answer any more: its load, what it goes on
/// loading, --wait twice, and something for the rest.
std::chrono::seconds longest(const ShotOptions& options) {
  const int kRestSeconds = 10;
  return std::chrono::seconds(2 * options.timeoutSeconds + 2 * options.waitMilliseconds / 1000 +
                              kRestSeconds);
}

/// Renders every page, and reports them in the order of the list. Returns the status of the worst.
Status render(const ShotOptions& options, Console* console) {
  const std::vector<Shot>& shots = options.shots;
  std::vector<std::optional<Outcome>> outcomes(shots.size());
  size_t count = 0, reported = 0;
  Status worst = kRendered;
  const auto done = [&](size_t index, const Outcome& outcome) {
    outcomes[index] = outcome;
    for (; reported < outcomes.size() && outcomes[reported]; ++reported) {
      const Status status = report(shots[reported], *outcomes[reported], options, console);
      if (status == kFailed || worst == kRendered) worst = status;
    }
    console->progress(++count);
  };
  console->progress(0);
  const auto makeRenderer = [&options]() -> RenderPage {
    const auto renderer = std::make_shared<Renderer>(options);
    return [&options, renderer](size_t index) { return renderer->render(options.shots[index]); };
  };
  renderInWorkers(shots.size(), static_cast<size_t>(options.jobs), longest(options), makeRenderer,
                  done);
  return worst;
}

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
  return exitStatus(render(options, &console), console.stream());
}
