// ShotWorkers.h: several pages at once, each in a process of its own.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

/// What became of a page.
struct Outcome {
  std::string error;  // why there is no image; empty when there is one
  std::string doubt;  // why the page in the image may be incomplete; empty when it is complete
  std::string scriptValue;  // what the script of the options gave
  std::string scriptError;  // why that script failed; empty if it didn't
  double seconds = 0;
};

using RenderPage = std::function<Outcome(size_t index)>;

/// Renders `count` pages in at most `workers` processes, one page at a time in each. A process is a
/// copy of this one: it calls `makeRenderer` once, then what that returns for each of its pages,
/// and ends. `done` is called here with each page as it is done with. A page that ends its process
/// is reported like any other failure, and so is one that takes longer than `limit`: its process is
/// ended.
void renderInWorkers(size_t count, size_t workers, std::chrono::seconds limit,
                     const std::function<RenderPage()>& makeRenderer,
                     const std::function<void(size_t index, const Outcome&)>& done);
