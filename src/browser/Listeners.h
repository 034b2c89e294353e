// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>
#include <QPointer>

#include "host/HostEvents.h"

namespace LARKA {

class ILarkaCallbacks;

/// The host's listeners of one browser, and the ways to call them. Each listener may destroy the
/// browser, and this object with it.
class Listeners {
 public:
  /// `page` is the browser's page, for whose script some events are answers.
  Listeners(QObject* browser, const StackUse& page) : m_browser(browser), m_page(page) {}

  void add(ILarkaCallbacks* listener) { m_listeners.append(listener); }
  void remove(ILarkaCallbacks* listener) { m_listeners.removeAll(listener); }
  bool contains(ILarkaCallbacks* listener) const { return m_listeners.contains(listener); }

  /// Forgets all listeners; calls that are under way end with the present one.
  void abandon() {
    m_abandoned = true;
    m_listeners.clear();
  }

  /// The calls of listeners that are on the stack.
  const StackUse& calls() const { return m_calls; }

  /// Calls `call` with each listener, in the order of registration, until it returns true. The
  /// listeners are those registered at the start.
  template <typename Call>
  void notifyUntil(Call call) {
    const QList<ILarkaCallbacks*> listeners = m_listeners;
    const QPointer<QObject> browser(m_browser);
    const OnStack calling(m_calls);
    for (ILarkaCallbacks* listener : listeners) {
      if (!listener) continue;
      if (call(listener) || !browser || m_abandoned) return;
    }
  }

  /// Calls `call` with each listener, in the order of registration.
  template <typename Call>
  void notify(Call call) {
    notifyUntil([&call](ILarkaCallbacks* listener) {
      call(listener);
      return false;
    });
  }

  /// Calls notify() once QtWebKit is off the stack; see HostEvents.h.
  template <typename Call>
  void post(Call call) {
    postHostEvent(m_browser, m_page, [this, call] { notify(call); });
  }

  /// Calls notifyUntil() while page script waits for the answer.
  template <typename Call>
  void ask(Call call) {
    const ScriptWait wait(m_page);
    notifyUntil(call);
  }

 private:
  QObject* m_browser;
  StackUse m_page;
  StackUse m_calls = StackUse::partOf(hostCodeUse());
  QList<ILarkaCallbacks*> m_listeners;
  bool m_abandoned = false;
};

}  // namespace LARKA
