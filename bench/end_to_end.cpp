// SPDX-License-Identifier: MIT
//
// Compares the library with QtWebKit alone: each measurement in a process of its own, in
// alternating pairs. Prints the medians and their ratios as a table.
//
//   larka-end-to-end [PAIRS [run|pump]]    (default: 5 pairs, both loops; about two minutes a pair)

#include <limits.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace {

struct Scenario {
  const char* name;
  const char* kind;
  const char* page;
};

const Scenario kScenarios[] = {
    {"process start to first complete image", "start", "share/demo/index.html"},
    {"script change to notice", "script", "bench/pages/still.html"},
    {"full-view canvas", "steady", "bench/pages/canvas-full.html"},
    {"200x200 canvas", "steady", "bench/pages/canvas-small.html"},
    {"moving row of posters", "steady", "bench/pages/posters.html"},
    {"still page", "steady", "bench/pages/still.html"},
    {"resident memory", "memory", "share/demo/index.html"},
};

using Values = std::map<std::string, std::vector<double>>;

/// Runs one probe and adds the `name=value` pairs that it prints to `values`.
void measure(const std::string& probe, const std::string& side, const std::string& loop,
             const Scenario& scenario, Values* values) {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  char started[64];
  snprintf(started, sizeof(started), "%.3f", now.tv_sec * 1e3 + now.tv_nsec / 1e6);
  const std::string command = probe + " " + side + " " + loop + " " + scenario.kind + " file://" +
                              LARKA_SOURCE_DIR "/" + scenario.page + " " + started + " 2>/dev/null";
  FILE* output = popen(command.c_str(), "r");
  char word[128];
  bool any = false;
  while (output && fscanf(output, "%127s", word) == 1) {
    const std::string pair = word;
    const size_t equals = pair.find('=');
    if (equals == std::string::npos) continue;
    (*values)[pair.substr(0, equals)].push_back(atof(pair.c_str() + equals + 1));
    any = true;
  }
  if (!output || pclose(output) != 0 || !any) {
    fprintf(stderr, "larka-end-to-end: no result from: %s\n", command.c_str());
    exit(1);
  }
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

std::string probePath() {
  char self[PATH_MAX] = "";
  if (readlink("/proc/self/exe", self, sizeof(self) - 1) < 0) exit(1);
  const std::string path = self;
  return path.substr(0, path.rfind('/')) + "/larka-probe";
}

}  // namespace

int main(int argc, char** argv) {
  const int pairs = argc > 1 ? atoi(argv[1]) : 5;
  const std::string only = argc > 2 ? argv[2] : "";
  if (pairs < 1 || !(only.empty() || only == "run" || only == "pump")) {
    fprintf(stderr, "usage: larka-end-to-end [PAIRS [run|pump]]\n");
    return 2;
  }
  const std::string probe = probePath();
  printf("| loop | what | measure | QtWebKit alone | library | ratio | difference |\n");
  printf("|---|---|---|---|---|---|---|\n");
  for (const char* loop : {"run", "pump"}) {
    if (!only.empty() && only != loop) continue;
    for (const Scenario& scenario : kScenarios) {
      Values bare, larka;
      for (int i = 0; i < pairs; ++i) {
        measure(probe, "bare", loop, scenario, &bare);
        measure(probe, "larka", loop, scenario, &larka);
      }
      for (const auto& [name, values] : bare) {
        const double b = median(values), l = median(larka[name]);
        char ratio[32] = "–";
        if (b > 0) snprintf(ratio, sizeof(ratio), "%.2f", l / b);
        printf("| %s | %s | %s | %.2f | %.2f | %s | %+.2f |\n", loop, scenario.name, name.c_str(),
               b, l, ratio, l - b);
        fflush(stdout);
      }
    }
  }
}
