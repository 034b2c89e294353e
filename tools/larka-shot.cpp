// larka-shot: renders web pages into image files, through the library's public interface.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <list>

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

/// The exit status: also that of a failure where what was said on standard output hasn't arrived
/// there, which is told on `errors`.
int exitStatus(bool failed, FILE* errors) {
  if (fflush(stdout) == 0 && !ferror(stdout)) return failed ? 1 : 0;
  fprintf(errors, "larka-shot: can't write to the standard output\n");
  return 1;
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

/// Says on standard output what became of a page.
void report(const PageShot& page, const ShotOptions& options, Console* console) {
  const std::string whose = options.shots.size() > 1 ? page.shot().asked + ": " : "";
  if (options.hasScript) console->done(whose + page.scriptValue());
  if (options.quiet) return;
  char seconds[32];
  snprintf(seconds, sizeof(seconds), " (%.2f s)", page.seconds());
  console->done(page.shot().output + seconds);
}

/// Renders every page, several at once. Returns how many failed.
size_t render(LARKA::BrowserManager* manager, const ShotOptions& options, Console* console) {
  std::list<PageShot> running;
  size_t next = 0, done = 0, failed = 0;
  console->progress(0);
  while (done < options.shots.size()) {
    while (running.size() < static_cast<size_t>(options.jobs) && next < options.shots.size())
      running.emplace_back(manager, options, options.shots[next++]);
    manager->PumpEvents();
    for (auto page = running.begin(); page != running.end();) {
      if (!page->advance()) {
        ++page;
        continue;
      }
      ++done;
      if (!page->error().empty()) {
        ++failed;
        console->error(page->shot(), page->error());
      } else {
        report(*page, options, console);
      }
      page = running.erase(page);
      console->progress(done);
    }
    usleep(kPumpEveryMicroseconds);
  }
  return failed;
}

}  // namespace

int main(int argc, char** argv) {
  openStandardStreams();
  ShotOptions options;
  const std::string wrong = parseOptions(argc, argv, &options);
  if (!wrong.empty()) {
    fprintf(stderr, "larka-shot: %s\n", wrong.c_str());
    return 2;
  }
  if (options.action == ShotOptions::kHelp) {
    fputs(helpText(), stdout);
    return exitStatus(false, stderr);
  }
  if (options.action == ShotOptions::kVersion) {
    puts("larka-shot " LARKA_VERSION_STRING);
    return exitStatus(false, stderr);
  }

  Console console(options);
  char platform[] = "-platform", offscreen[] = "offscreen";
  char* arguments[] = {argv[0], platform, offscreen, nullptr};
  LARKA::BrowserManager manager;
  manager.Initialize(3, arguments);
  const size_t failed = render(&manager, options, &console);
  manager.PumpEvents();
  manager.Shutdown(true);
  return exitStatus(failed > 0, console.stream());
}
