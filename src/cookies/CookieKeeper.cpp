// SPDX-License-Identifier: MIT
#include "cookies/CookieKeeper.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "cookies/CookieJar.h"

namespace LARKA {

namespace {

using Clock = std::chrono::steady_clock;

const std::chrono::milliseconds kKeepFor(1500);
const std::chrono::milliseconds kTryAgainAfter(100);

struct Kept {
  Clock::time_point due;
  std::vector<CookieKeeper::Change> changes;
};

/// What the store's thread and the keeper's share. The keeper has it locked while it saves, so that
/// nothing is saved here that the store has changed since.
struct Shared {
  std::mutex mutex;
  std::condition_variable hasChanges;
  std::map<QString, Kept> files;
  bool hasThread = false;
};

Shared* g_shared = nullptr;  // never destroyed: the thread has no end

void keep(Shared* shared) {
  std::unique_lock<std::mutex> lock(shared->mutex);
  for (;;) {
    auto next = Clock::time_point::max();
    const auto now = Clock::now();
    for (auto file = shared->files.begin(); file != shared->files.end();) {
      Kept& kept = file->second;
      if (kept.due <= now && CookieJar::addToFile(file->first, kept.changes)) {
        file = shared->files.erase(file);
        continue;
      }
      if (kept.due <= now) kept.due = now + kTryAgainAfter;
      next = std::min(next, kept.due);
      ++file;
    }
    if (shared->files.empty())
      shared->hasChanges.wait(lock);
    else
      shared->hasChanges.wait_until(lock, next);
  }
}

}  // namespace

void CookieKeeper::use() {
  if (!g_shared) g_shared = new Shared;
}

// The thread starts late: it is to be locked down like the rest of the process.
void CookieKeeper::add(const QString& fileName, const Change& change) {
  if (!g_shared) return;
  const std::lock_guard<std::mutex> lock(g_shared->mutex);
  Kept& kept = g_shared->files[fileName];
  if (kept.changes.empty()) kept.due = Clock::now() + kKeepFor;
  kept.changes.push_back(change);
  if (!std::exchange(g_shared->hasThread, true)) std::thread(keep, g_shared).detach();
  g_shared->hasChanges.notify_one();
}

void CookieKeeper::forget(const QString& fileName) {
  if (!g_shared) return;
  const std::lock_guard<std::mutex> lock(g_shared->mutex);
  g_shared->files.erase(fileName);
}

}  // namespace LARKA
