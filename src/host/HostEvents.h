// HostEvents.h: when the host hears of what QtWebKit does.
#pragma once

#include <functional>
#include <optional>

class QObject;

namespace LARKA {

// QtWebKit sends most of its signals from the middle of its loader. A listener that navigates, runs
// script or pumps there pulls the ground from under it. So the host hears of nothing while QtWebKit
// is on the stack: events wait in one queue, in order, and are delivered
//
//  - at the end of the host's call that caused them (EngineCall),
//  - else from the event loop,
//  - and before an event whose answer page script waits for (ScriptWait). That event, and those
//    delivered before it, are the only ones below which QtWebKit is running. What its page would
//    not survive there is put off with whenIdle.
//
// The queue is one for all browsers. Everything here belongs on the thread that pumps events.

/// Knows whether a page is on the stack, as far as EngineOnStack and its like say so.
class EngineUse {
 public:
  EngineUse() = default;
  EngineUse(const EngineUse&) = delete;
  EngineUse& operator=(const EngineUse&) = delete;

  bool isIdle() const { return m_depth == 0; }

  /// That of all pages together.
  static EngineUse& ofAnyPage();

 private:
  friend class EngineOnStack;
  int m_depth = 0;
};

/// Stands where a page, or one that isn't known (null), is on the stack.
class EngineOnStack {
 public:
  explicit EngineOnStack(EngineUse* page);
  ~EngineOnStack();
  EngineOnStack(const EngineOnStack&) = delete;
  EngineOnStack& operator=(const EngineOnStack&) = delete;

 private:
  EngineUse* m_page;
};

/// Stands around a call into a page, or into one that isn't known (null). At the end of the
/// outermost one the events that it caused are delivered.
class EngineCall {
 public:
  explicit EngineCall(EngineUse* page);
  ~EngineCall();

 private:
  std::optional<EngineOnStack> m_engine;
};

/// Stands around an event that a page waits for. The events before it are delivered first.
class ScriptWait {
 public:
  explicit ScriptWait(EngineUse* page);

 private:
  EngineOnStack m_engine;
};

/// Queues `event`, of a page if one is given, for delivery. It is dropped when `receiver` goes
/// before. When very many are waiting they are delivered at once, as before an event that the page
/// waits for: script that logs for ever must not fill the memory.
void postHostEvent(QObject* receiver, EngineUse* page, std::function<void()> event);

/// Calls `operation` at once or, while `page` is on the stack, as soon as it has left it. The
/// operations of a page are called in the order in which they came. One is dropped when its
/// `receiver` goes before; with a null receiver it is called in any case.
void whenIdle(const EngineUse& page, QObject* receiver, std::function<void()> operation);

}  // namespace LARKA
