// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>
#include <utility>

#include "browser/Listeners.h"
#include "larka/extras.h"

namespace LARKA {

/// A question of a page's that a listener may take over, to answer it at any later time. There is
/// one at a time; each has a number of its own.
class HostQuestion {
 public:
  /// `owner` is what this is a member of.
  HostQuestion(QObject* owner, Listeners<IExtraCallbacks>* listeners)
      : m_owner(owner), m_listeners(listeners) {}

  /// The number of the question; 0 if there is none.
  int id() const { return m_id; }
  bool isTaken() const { return m_taker; }

  /// Begins a question and returns its number.
  int begin() {
    static int last = 0;
    m_taker = nullptr;
    return m_id = ++last;
  }

  /// Calls `ask` with each listener until it returns true: that listener has the question. Returns
  /// false if the question has ended meanwhile. This may be gone then.
  template <typename Ask>
  bool offer(Ask ask) {
    const QPointer<QObject> owner(m_owner);
    m_listeners->notifyUntil([&, id = m_id](IExtraCallbacks* listener) {
      const bool takes = ask(listener);
      if (!owner || m_id != id) return true;
      if (takes) m_taker = listener;
      return takes;
    });
    return owner && m_id != 0;
  }

  /// Ends the question, which has an answer.
  void end() {
    m_id = 0;
    m_taker = nullptr;
  }

  /// Ends the question, which has no answer. `notify` is called with the listener that has it and
  /// the number.
  template <typename Notify>
  void end(Notify notify) {
    const int id = std::exchange(m_id, 0);
    IExtraCallbacks* taker = std::exchange(m_taker, nullptr);
    if (!taker) return;
    m_listeners->post([=](IExtraCallbacks* listener) {
      if (listener == taker) notify(listener, id);
    });
  }

  /// Whether the listener that has the question was removed: nobody will answer.
  bool isForsaken() const { return m_taker && !m_listeners->contains(m_taker); }

 private:
  QObject* m_owner;
  Listeners<IExtraCallbacks>* m_listeners;
  int m_id = 0;
  IExtraCallbacks* m_taker = nullptr;
};

}  // namespace LARKA
