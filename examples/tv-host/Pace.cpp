#include "Pace.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tv {

namespace {

constexpr double kFrame = 1.0 / 60;
// Pages that stand still are looked after thirty times a second: their timers may start something.
constexpr int kRest = 33;
// What has moved is expected to move again within this time, in seconds.
constexpr double kStillMoving = 0.1;

// How often a screen that stands still is drawn, in seconds.
constexpr double kAtRest = 0.5;

}  // namespace

Pace::Pace(bool printed) : m_printed(printed) { m_reported = now(); }

double Pace::now() const {
  return static_cast<double>(SDL_GetPerformanceCounter()) /
         static_cast<double>(SDL_GetPerformanceFrequency());
}

bool Pace::moving() const { return now() - m_moved < kStillMoving; }

int Pace::patience() const {
  if (!moving()) return kRest;
  return std::clamp(static_cast<int>(1000 * (m_due - now())), 0, kRest);
}

// A wait is counted in milliseconds: what is nearer than one is now. At rest only a clock may
// change.
bool Pace::due() const { return moving() ? m_due - now() < 0.001 : now() - m_last >= kAtRest; }

void Pace::moves() { m_moved = now(); }

void Pace::shown() {
  const double time = now();
  const double late = time - m_last;
  if (moving() && late < kStillMoving)
    m_dropped += std::max(static_cast<int>(std::lround(late / kFrame)) - 1, 0);
  m_last = time;
  ++m_frames;
  m_due = std::max(m_due + kFrame, time);  // a late frame doesn't hurry the next ones
}

void Pace::report() {
  const double passed = now() - m_reported;
  if (!m_printed || passed < 1) return;
  printf("%.1f frames/s, %d dropped, %.2f MB/s uploaded\n", m_frames / passed, m_dropped,
         static_cast<double>(m_bytes) / passed / 1e6);
  fflush(stdout);
  m_reported = now();
  m_frames = m_dropped = 0;
  m_bytes = 0;
}

}  // namespace tv
