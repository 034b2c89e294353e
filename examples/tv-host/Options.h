// The command line.
#pragma once

#include <string>

namespace tv {

struct Options {
  bool help = false;
  bool fullScreen = false;
  bool stats = false;
  bool engineProcess = false;  // QtWebKit runs in a process of its own
  std::string script;          // a file; empty for none
  std::string pictures = ".";  // the folder for the script's screenshots
  std::string font;            // empty for the first of the usual ones that is there
  std::string demo = TV_DEMO;  // the folder with the bundled pages
  std::string address;         // to open at once; empty for the start screen
};

extern const char kHelp[];

// Throws std::runtime_error with one line that says what is wrong.
Options readOptions(int argc, char** argv);

}  // namespace tv
