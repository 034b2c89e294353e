// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <functional>
#include <utility>

#include "host/HostEvents.h"

namespace LARKA {

/// Begins and ends the loads of one browser's page when the page is able to. A page that waits for
/// the host can neither begin nor end a load. Of what it is asked for meanwhile the last counts:
/// QtWebKit doesn't survive some sequences of loads that never got anywhere.
class Navigation {
 public:
  Navigation(QObject* browser, const StackUse& page) : m_browser(browser), m_page(page) {}

  /// Calls `operation` at once or, while the page is on the stack, as soon as it has left it. Drops
  /// the operation that was waiting, and this one if the browser is destroyed before.
  void carryOut(std::function<void()> operation) {
    const bool isWaiting = static_cast<bool>(m_waiting);
    m_waiting = std::move(operation);
    if (isWaiting) return;
    whenIdle(m_page, m_browser, [this] {
      const auto navigation = std::exchange(m_waiting, nullptr);
      const WebKitCall call(m_page);
      navigation();
    });
  }

 private:
  QObject* m_browser;
  StackUse m_page;
  std::function<void()> m_waiting;
};

}  // namespace LARKA
