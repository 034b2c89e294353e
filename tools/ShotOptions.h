// ShotOptions.h: the command line of larka-shot.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ShotKeys.h"
#include "larka/ProxyType.h"

const int kMostJobs = 64;

struct Size {
  int width = 0;
  int height = 0;
};

/// One page to render: the words it was asked for with, its address in encoded form or, if that is
/// empty, what is wrong with those words, and its file.
struct Shot {
  std::string asked;
  std::string url;
  std::string wrong;
  std::string output;
};

/// A proxy for every request; none when the host is empty.
struct ShotProxy {
  LARKA::ProxyType type = LARKA::PROXY_HTTP;
  std::string host, user, password;
  int port = 0;
};

struct ShotOptions {
  std::string answer;  // to --help or --version, instead of rendering
  std::vector<Shot> shots;
  Size size{1280, 720};
  Size thumbnail;  // empty for the full size
  int waitMilliseconds = 0;
  int timeoutSeconds = 30;
  int jobs = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 4, kMostJobs);
  std::optional<std::string> userAgent, script;
  std::vector<std::pair<std::string, std::string>> cookies;
  std::string cookieJar;  // empty: each page forgets its cookies
  std::string cache;      // empty for none
  ShotProxy proxy;
  double zoomPercent = 100;
  double scale = 1;  // pixels of the image for one of the view
  bool transparent = false;
  std::vector<ShotKey> keys;
  bool quiet = false;
  bool verbose = false;
  bool inProcess = false;
};

/// Reads the command line. Returns an empty text, or what is wrong with it in one line.
std::string parseOptions(int argc, char** argv, ShotOptions* options);
