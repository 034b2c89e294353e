// SPDX-License-Identifier: MIT
#pragma once

#include <sys/resource.h>
#include <time.h>

inline double nowMilliseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
}

/// Returns the processor time of this process (RUSAGE_SELF), or of its children that have ended
/// (RUSAGE_CHILDREN).
inline double cpuMilliseconds(int whose) {
  rusage usage;
  getrusage(whose, &usage);
  const auto ms = [](const timeval& t) { return t.tv_sec * 1e3 + t.tv_usec / 1e3; };
  return ms(usage.ru_utime) + ms(usage.ru_stime);
}
