// larka-shot: renders web pages into image files, through the library's public interface.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <list>
#include <utility>

#include "PageShot.h"
#include "ShotOptions.h"
#include "larka/larka.h"

namespace {

const int kPumpEveryMicroseconds = 1000;

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
Status report(const PageShot& page, const ShotOptions& options, Console* console) {
  if (!page.error().empty()) {
    console->error(page.shot(), page.error());
    return kFailed;
  }
  const bool complete = page.doubt().empty();
  if (!complete) console->error(page.shot(), page.doubt() + "; the image has what was there");
  const std::string whose = options.shots.size() > 1 ? page.shot().asked + ": " : "";
  if (options.script) console->done(whose + page.scriptValue());
  char seconds[32];
  snprintf(seconds, sizeof(seconds), " (%.2f s)", page.seconds());
  if (!options.quiet) console->done(page.shot().output + seconds);
  return complete ? kRendered : kIncomplete;
}

/// Renders every page, several at once. Returns the status of the worst.
Status render(LARKA::BrowserManager* manager, const ShotOptions& options, Console* console) {
  std::list<PageShot> running;
  size_t next = 0, done = 0;
  Status worst = kRendered;
  auto before = PageShot::Clock::now();
  console->progress(0);
  while (done < options.shots.size()) {
    while (running.size() < static_cast<size_t>(options.jobs) && next < options.shots.size())
      running.emplace_back(manager, options, options.shots[next++]);
    manager->PumpEvents();
    const auto now = PageShot::Clock::now();
    const auto turn = now - std::exchange(before, now);
    for (auto page = running.begin(); page != running.end();) {
      if (!page->advance(turn)) {
        ++page;
        continue;
      }
      const Status status = report(*page, options, console);
      if (status == kFailed || worst == kRendered) worst = status;
      page = running.erase(page);
      console->progress(++done);
    }
    usleep(kPumpEveryMicroseconds);
  }
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
  char platform[] = "-platform", offscreen[] = "offscreen";
  char* arguments[] = {argv[0], platform, offscreen, nullptr};
  LARKA::BrowserManager manager;
  manager.Initialize(3, arguments);
  const Status status = render(&manager, options, &console);
  manager.PumpEvents();
  manager.Shutdown(true);
  return exitStatus(status, console.stream());
}
