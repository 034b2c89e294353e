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
  m_quietLooks = 0;
  m_timer.start();
}

bool LoadWatch::end() {
  const bool wasLoading = isLoading();
  m_timer.stop();
  return wasLoading;
}

void LoadWatch::look() {
  m_quietLooks = m_isBusy() ? 0 : m_quietLooks + 1;
  if (m_quietLooks < kLooks) return;
  m_timer.stop();
  m_ended();
}

}  // namespace LARKA
