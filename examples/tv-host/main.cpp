// A television host: shows web pages with Larka inside an interface of its own, on SDL 2. Start at
// Host.h; each unit says what of it can be taken over.
#include <larka/larka.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "Host.h"
#include "Options.h"

namespace {

int run(const tv::Options& options) {
  char name[] = "tv-host", platform[] = "-platform", offscreen[] = "offscreen";
  char process[] = "--engine-process";
  char* arguments[] = {name, platform, offscreen, process, nullptr};
  if (!options.engineProcess) arguments[3] = nullptr;
  LARKA::EngineSettings settings;
  settings.reload = false;  // a browser loads its page again when that is seen
  LARKA::SetEngineSettings(settings);
  LARKA::BrowserManager manager;
  manager.Initialize(options.engineProcess ? 4 : 3, arguments);
  const int status = tv::Host(manager, options).run();
  manager.Shutdown(true);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const tv::Options options = tv::readOptions(argc, argv);
    if (options.help) return fputs(tv::kHelp, stdout) < 0 ? EXIT_FAILURE : EXIT_SUCCESS;
    LARKA::SilenceDiagnostics();
    return run(options);
  } catch (const std::exception& error) {
    fprintf(stderr, "tv-host: %s\n", error.what());
    return 2;
  }
}
