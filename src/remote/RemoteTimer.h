// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

#include "larka/ITimer.h"

namespace LARKA {

/// A timer of a host whose QtWebKit runs in another process: it has no event loop of Qt's.
class RemoteTimer : public ITimer {
 public:
  using Clock = std::chrono::steady_clock;

  RemoteTimer(TimerCallback callback, int interval, bool singleShot, void* userData)
      : m_callback(callback),
        m_userData(userData),
        m_interval(interval),
        m_singleShot(singleShot) {}

  void SetInterval(int milliseconds) override { m_interval = milliseconds; }
  void Stop() override { m_started = false; }
  void Start() override {
    m_running = m_interval;
    m_started = m_interval >= 0;
    m_due = Clock::now() + std::chrono::milliseconds(m_running);
  }
  bool IsSingleShot() override { return m_singleShot; }

  /// When it fires next; never while it is stopped, or its callback runs.
  Clock::time_point due() const { return m_started && !m_fires ? m_due : Clock::time_point::max(); }

  /// Calls the callback.
  void fire() {
    if (m_singleShot) m_started = false;
    m_due = Clock::now() + std::chrono::milliseconds(m_running);
    if (!m_callback) return;
    m_fires = true;
    m_callback(this, m_userData);
    m_fires = false;
  }

 private:
  TimerCallback m_callback;
  void* m_userData;
  int m_interval;
  int m_running = 0;  // the interval of the last start
  bool m_singleShot;
  bool m_started = false;
  bool m_fires = false;
  Clock::time_point m_due;
};

}  // namespace LARKA
