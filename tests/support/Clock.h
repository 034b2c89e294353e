// Clock.h: the clocks of the process, for tests that let time pass instead of waiting for it.
#pragma once

#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <QCoreApplication>
#include <cstdint>
#include <functional>

namespace test {

/// Runs as usual until it is stopped. From then on time passes only here, for QElapsedTimer,
/// QTimer, QDateTime and std::chrono alike: they all call the functions below instead of libc's.
class Clock {
 public:
  static void stop() {
    for (clockid_t clock : {CLOCK_REALTIME, CLOCK_MONOTONIC}) s_stoppedAt[clock] = real(clock);
  }

  /// Lets time pass without handling an event.
  static void skip(int milliseconds) { s_passed += milliseconds * 1000000LL; }

  /// Handles the events of every millisecond until `done`. Returns how many have passed.
  static int passUntil(const std::function<bool()>& done, int atMost = 5000) {
    int passed = 0;
    for (; passed < atMost && !done(); ++passed, QCoreApplication::processEvents()) skip(1);
    return passed;
  }
  static void pass(int milliseconds) {
    passUntil([] { return false; }, milliseconds);
  }

  /// In nanoseconds.
  static int64_t now(clockid_t clock) {
    const bool stands = clock <= CLOCK_MONOTONIC && s_stoppedAt[clock] != 0;
    return stands ? s_stoppedAt[clock] + s_passed : real(clock);
  }

 private:
  static int64_t real(clockid_t clock) {
    timespec time = {};
    syscall(SYS_clock_gettime, clock, &time);
    return time.tv_sec * 1000000000LL + time.tv_nsec;
  }

  static inline int64_t s_stoppedAt[2] = {}, s_passed = 0;
};

}  // namespace test

#define LARKA_BEFORE_LIBC extern "C" __attribute__((visibility("default"), used)) inline int

LARKA_BEFORE_LIBC clock_gettime(clockid_t clock, timespec* time) noexcept {
  const auto parts = lldiv(test::Clock::now(clock), 1000000000);
  *time = {static_cast<time_t>(parts.quot), static_cast<long>(parts.rem)};
  return 0;
}

LARKA_BEFORE_LIBC gettimeofday(timeval* time, void*) noexcept {
  const auto parts = lldiv(test::Clock::now(CLOCK_REALTIME) / 1000, 1000000);
  *time = {static_cast<time_t>(parts.quot), static_cast<suseconds_t>(parts.rem)};
  return 0;
}
