// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>
#include <QPointer>

#include "host/HostEvents.h"

namespace LARKA {

/// The host's listeners of one kind of one browser, and the ways to call them. Each listener may
/// destroy the browser, and this object with it.
template <typename Listener>
class Listeners {
 public:
  /// `page` is the browser's page, for whose script some events are answers; `calls` are those of
  /// listeners that are on the stack.
  Listeners(QObject* browser, const StackUse& page, const StackUse& calls)
      : m_browser(browser), m_page(page), m_calls(calls) {}

  void add(Listener* listener) { m_listeners.append(listener); }
  void remove(Listener* listener) { m_listeners.removeAll(listener); }
  bool isEmpty() const { return m_listeners.isEmpty(); }
  bool contains(Listener* listener) const { return m_listeners.contains(listener); }

  /// Forgets all listeners; calls that are under way end with the present one.
  void abandon() {
    m_abandoned = true;
    m_listeners.clear();
  }

  /// Calls `call` with each listener, in the order of registration, until it returns true. The
  /// listeners are those registered at the start.
  template <typename Call>
  void notifyUntil(Call call) {
    const QList<Listener*> listeners = m_listeners;
    const QPointer<QObject> browser(m_browser);
    const OnStack calling(m_calls);
    for (Listener* listener : listeners) {
      if (!listener) continue;
      if (call(listener) || !browser || m_abandoned) return;
    }
  }

  /// Calls `call` with each listener, in the order of registration.
  template <typename Call>
  void notify(Call call) {
    notifyUntil([&call](Listener* listener) {
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
  StackUse m_calls;
  QList<Listener*> m_listeners;
  bool m_abandoned = false;
};

}  // namespace LARKA
