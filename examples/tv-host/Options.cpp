#include "Options.h"

#include <sys/stat.h>

#include <initializer_list>
#include <stdexcept>

namespace tv {

const char kHelp[] =
    "tv-host: shows web pages as a television does, with Larka.\n"
    "\n"
    "  tv-host [OPTION]... [ADDRESS]\n"
    "\n"
    "  --fullscreen        uses the whole screen\n"
    "  --engine-process    has QtWebKit run in a process of its own\n"
    "  --stats             prints frames, dropped frames and uploads each second\n"
    "  --script FILE       presses keys and checks what they lead to; see tour.script\n"
    "  --pictures FOLDER   where the script's screenshots go (this folder)\n"
    "  --demo FOLDER       where the bundled pages are\n"
    "  --font FILE         a TrueType font (DejaVu Sans)\n"
    "  --help              prints this text\n"
    "\n"
    "Keys: the arrows, Return (OK), Escape (back), Home, the digits, F1 to F4 (colours), page up\n"
    "and down, F7 and F8 (volume), Tab (next tab), F10 (close tab), F11 (full screen). Backspace\n"
    "is Escape, but deletes while the on-screen keyboard is there.\n";

namespace {

constexpr const char* kFonts[] = {"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
                                  "/usr/share/fonts/dejavu/DejaVuSans.ttf",
                                  "/usr/share/fonts/TTF/DejaVuSans.ttf"};

bool isFolder(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isFile(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

void check(Options& options) {
  for (const char* font : kFonts)
    if (options.font.empty() && isFile(font)) options.font = font;
  if (options.font.empty())
    throw std::runtime_error("no DejaVu Sans here: install fonts-dejavu-core, or use --font");
  if (!isFile(options.font)) throw std::runtime_error("no such file: " + options.font);
  for (const std::string& folder : {options.pictures, options.demo})
    if (!isFolder(folder)) throw std::runtime_error("no such folder: " + folder);
}

}  // namespace

Options readOptions(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    const auto value = [&]() -> std::string {
      if (i + 1 >= argc) throw std::runtime_error(argument + " needs a value");
      return argv[++i];
    };
    if (argument == "--help")
      options.help = true;
    else if (argument == "--fullscreen")
      options.fullScreen = true;
    else if (argument == "--stats")
      options.stats = true;
    else if (argument == "--engine-process")
      options.engineProcess = true;
    else if (argument == "--script")
      options.script = value();
    else if (argument == "--pictures")
      options.pictures = value();
    else if (argument == "--demo")
      options.demo = value();
    else if (argument == "--font")
      options.font = value();
    else if (argument.rfind('-', 0) == 0 || !options.address.empty())
      throw std::runtime_error("unknown argument: " + argument + " (see --help)");
    else
      options.address = argument;
  }
  if (!options.help) check(options);
  return options;
}

}  // namespace tv
