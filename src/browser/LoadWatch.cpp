// SPDX-License-Identifier: MIT
#include "browser/LoadWatch.h"

#include <utility>

namespace LARKA {

namespace {

const int kLooks = 4;

}  // namespace

LoadWatch::LoadWatch(std::function<bool()> isBusy, std::function<void()> ended,
                     int quietMilliseconds)
    : m_isBusy(std::move(isBusy)), m_ended(std::move(ended)) {
  m_timer.setInterval(quietMilliseconds / kLooks);
  QObject::connect(&m_timer, &QTimer::timeout, [this] { look(); });
}

void LoadWatch::begin() {
  m_endedHere = false;
  m_quietLooks = 0;
  m_timer.start();
}

bool LoadWatch::end() {
  m_timer.stop();
  return !std::exchange(m_endedHere, false);
}

void LoadWatch::look() {
  m_quietLooks = m_isBusy() ? 0 : m_quietLooks + 1;
  if (m_quietLooks < kLooks) return;
  m_timer.stop();
  m_endedHere = true;
  m_ended();
}

}  // namespace LARKA
