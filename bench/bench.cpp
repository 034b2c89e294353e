// SPDX-License-Identifier: MIT
//
// Compares the library with QtWebKit alone, or with another build of itself, and prints a table in
// Markdown. Each measurement is a process of its own (probe.cpp); those of both sides alternate.

#include <getopt.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "clock.h"

namespace {

const char kUsage[] =
    "usage: larka-bench [options]\n"
    "Compares the library with QtWebKit alone and prints a table.\n"
    "\n"
    "  --pairs N      how often each side is measured (default: 4)\n"
    "  --only TEXT    only scenarios with this text in their names, or only the loop run or pump\n"
    "  --against DIR  compare with the library in this directory, not with QtWebKit alone\n"
    "  --csv          print every measurement, not the table";

struct Options {
  int pairs = 4;
  std::string only;
  std::string against;
  bool csv = false;
  bool help = false;
};

struct Scenario {
  std::string name, loop, kind, page, more;
};

const std::string kPages = "file://" LARKA_SOURCE_DIR "/bench/pages/";
const std::string kPortal = "file://" LARKA_SOURCE_DIR "/share/demo/index.html";
const std::string kImageFile = LARKA_BINARY_DIR "/bench/shot.png";

const Scenario kScenarios[] = {
    {"start to first image: portal", "run", "start", kPortal, ""},
    {"start to first image: portal", "pump", "start", kPortal, ""},
    {"start to first image: article", "run", "start", kPages + "article.html", ""},
    {"larka-shot: portal", "-", "shot", kPortal, kImageFile},
    {"input", "run", "input", kPages + "field.html", ""},
    {"input", "pump", "input", kPages + "field.html", ""},
    {"full-view canvas", "run", "animation", kPages + "canvas-full.html", ""},
    {"full-view canvas", "pump", "animation", kPages + "canvas-full.html", ""},
    {"200x200 canvas", "run", "animation", kPages + "canvas-small.html", ""},
    {"200x200 canvas", "pump", "animation", kPages + "canvas-small.html", ""},
    {"200x200 canvas, 15 more open", "run", "crowd", kPages + "canvas-small.html",
     kPages + "still.html"},
    {"moving row of posters", "run", "animation", kPages + "posters.html", ""},
    {"moving row of posters", "pump", "animation", kPages + "posters.html", ""},
    {"two opposite corners", "run", "animation", kPages + "boxes.html?corners", ""},
    {"ten scattered boxes", "run", "animation", kPages + "boxes.html?scattered", ""},
    {"scrolling article", "run", "animation", kPages + "article.html?scroll", ""},
    {"still page", "run", "still", kPages + "still.html", ""},
    {"still page", "pump", "still", kPages + "still.html", ""},
    {"memory: portal", "-", "memory", kPortal, ""},
};

/// The results of one measure: for both sides one of each pair.
struct Row {
  const Scenario* scenario;
  std::string measure;
  std::vector<double> sides[2];
};

/// Returns the value below which the fraction `q` of the values lies.
double quantile(std::vector<double> values, double q) {
  std::sort(values.begin(), values.end());
  const double place = q * static_cast<double>(values.size() - 1);
  const auto below = static_cast<size_t>(place);
  const size_t above = std::min(below + 1, values.size() - 1);
  return values[below] + (place - static_cast<double>(below)) * (values[above] - values[below]);
}

double median(const std::vector<double>& values) { return quantile(values, 0.5); }

double spread(const std::vector<double>& values) {
  return quantile(values, 0.75) - quantile(values, 0.25);
}

std::string text(const char* format, double value) {
  char buffer[32];
  snprintf(buffer, sizeof(buffer), format, value);
  return buffer;
}

std::string withQuartiles(const std::vector<double>& values) {
  const char* format = median(values) < 10 ? "%.2f" : "%.1f";
  return text(format, median(values)) + " (" + text(format, quantile(values, 0.25)) + " to " +
         text(format, quantile(values, 0.75)) + ")";
}

class Bench {
 public:
  explicit Bench(const Options& options) : m_options(options) {}

  void run() {
    for (int pair = 0; pair < m_options.pairs; ++pair) {
      for (const Scenario& scenario : kScenarios) {
        if (!isWanted(scenario)) continue;
        if (isatty(STDERR_FILENO))
          fprintf(stderr, "\r\033[Kpair %d of %d: %s, %s", pair + 1, m_options.pairs,
                  scenario.name.c_str(), scenario.loop.c_str());
        measure(scenario, pair % 2);
        measure(scenario, 1 - pair % 2);
      }
    }
    if (isatty(STDERR_FILENO)) fputs("\r\033[K", stderr);
  }

  void printTable() const {
    printRow({"what", "loop", "measure", m_options.against.empty() ? "QtWebKit alone" : "other",
              "library", "ratio", "difference", "frames/s"});
    printf("|---|---|---|---|---|---|---|---|\n");
    for (const Row& row : m_rows)
      if (row.measure != kFrames) printRow(cells(row));
    printf(
        "\nMedians of %d pairs, in brackets the quartiles; frames of both sides. ~ means that the\n"
        "quartiles of one side lie further apart than the two medians.\n",
        m_options.pairs);
  }

  void printCsv() const {
    printf("scenario,loop,measure,side,pair,value\n");
    for (const Row& row : m_rows)
      for (int side = 0; side < 2; ++side)
        for (size_t pair = 0; pair < row.sides[side].size(); ++pair)
          printf("\"%s\",%s,\"%s\",%s,%zu,%.4f\n", row.scenario->name.c_str(),
                 row.scenario->loop.c_str(), row.measure.c_str(), side ? "library" : "other",
                 pair + 1, row.sides[side][pair]);
  }

  bool empty() const { return m_rows.empty(); }

 private:
  static constexpr char kFrames[] = "frames/s";

  bool isWanted(const Scenario& scenario) const {
    return scenario.name.find(m_options.only) != std::string::npos ||
           scenario.loop == m_options.only;
  }

  std::string command(const Scenario& scenario, int side) const {
    const bool bare = side == 0 && m_options.against.empty();
    std::vector<std::string> words = {"exec", "env"};
    if (side == 0 && !bare) words.push_back("LD_LIBRARY_PATH=" + m_options.against);
    if (scenario.kind == "shot" && !bare)
      words.insert(words.end(), {LARKA_SHOT, "--quiet", "-o", scenario.more, scenario.page});
    else
      words.insert(words.end(), {bare ? LARKA_BARE_PROBE : LARKA_PROBE,
                                 scenario.loop == "pump" ? "pump" : "run", scenario.kind,
                                 scenario.page, std::to_string(nowMilliseconds()), scenario.more});
    std::string line;
    for (const std::string& word : words) line += "'" + word + "' ";
    return line + "2>/dev/null";
  }

  /// Runs one process and notes what it prints. Only "shot" is measured from here.
  void measure(const Scenario& scenario, int side) {
    const double started = nowMilliseconds(), cpu = cpuMilliseconds(RUSAGE_CHILDREN);
    const std::string what = command(scenario, side);
    FILE* output = popen(what.c_str(), "r");
    char line[128];
    bool any = scenario.kind == "shot";
    while (output && fgets(line, sizeof(line), output)) {
      char* equals = strchr(line, '=');
      if (!equals) continue;
      add(scenario, std::string(line, equals), side, atof(equals + 1));
      any = true;
    }
    if (!output || pclose(output) != 0 || !any) {
      fprintf(stderr, "larka-bench: no result from: %s\n", what.c_str());
      exit(1);
    }
    if (scenario.kind != "shot") return;
    add(scenario, "ms", side, nowMilliseconds() - started);
    add(scenario, "CPU ms", side, cpuMilliseconds(RUSAGE_CHILDREN) - cpu);
  }

  void add(const Scenario& scenario, const std::string& measure, int side, double value) {
    auto row = std::find_if(m_rows.begin(), m_rows.end(), [&](const Row& each) {
      return each.scenario == &scenario && each.measure == measure;
    });
    if (row == m_rows.end()) row = m_rows.insert(row, {&scenario, measure, {}});
    row->sides[side].push_back(value);
  }

  std::vector<std::string> cells(const Row& row) const {
    const double other = median(row.sides[0]), library = median(row.sides[1]);
    const double widest = std::max(spread(row.sides[0]), spread(row.sides[1]));
    const bool unclear = widest > std::fabs(library - other);
    std::string frames;
    for (const Row& each : m_rows)
      if (each.scenario == row.scenario && each.measure == kFrames)
        frames = text("%.0f", median(each.sides[0])) + ", " + text("%.0f", median(each.sides[1]));
    return {row.scenario->name,
            row.scenario->loop,
            row.measure,
            withQuartiles(row.sides[0]),
            withQuartiles(row.sides[1]),
            text("%.2f", library / other) + (unclear ? " ~" : ""),
            text("%+.2f", library - other),
            frames};
  }

  static void printRow(const std::vector<std::string>& cells) {
    const int widths[] = {30, 4, 21, 22, 22, 6, 10, 8};
    for (size_t i = 0; i < cells.size(); ++i) printf("| %-*s ", widths[i], cells[i].c_str());
    printf("|\n");
  }

  Options m_options;
  std::vector<Row> m_rows;
};

bool parse(int argc, char** argv, Options* options) {
  const option known[] = {
      {"pairs", required_argument, nullptr, 'p'},   {"only", required_argument, nullptr, 'o'},
      {"against", required_argument, nullptr, 'a'}, {"csv", no_argument, nullptr, 'c'},
      {"help", no_argument, nullptr, 'h'},          {nullptr, 0, nullptr, 0}};
  for (int found; (found = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
    if (found == 'p') options->pairs = atoi(optarg);
    if (found == 'o') options->only = optarg;
    if (found == 'a') options->against = optarg;
    if (found == 'c') options->csv = true;
    if (found == 'h') options->help = true;
    if (found == '?') return false;
  }
  return optind == argc && options->pairs > 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse(argc, argv, &options)) {
    fprintf(stderr, "%s\n", kUsage);
    return 2;
  }
  if (options.help) return puts(kUsage) < 0;
  // Without this the library would be compared with itself.
  if (!options.against.empty() && access((options.against + "/" LARKA_LIBRARY).c_str(), R_OK)) {
    fprintf(stderr, "larka-bench: no " LARKA_LIBRARY " in %s\n", options.against.c_str());
    return 2;
  }
  Bench bench(options);
  bench.run();
  if (bench.empty()) {
    fprintf(stderr, "larka-bench: no scenario has \"%s\" in its name\n", options.only.c_str());
    return 2;
  }
  if (options.csv)
    bench.printCsv();
  else
    bench.printTable();
}
