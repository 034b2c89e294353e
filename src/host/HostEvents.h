// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>

#include "host/StackUse.h"

class QObject;

namespace LARKA {

// QtWebKit sends most of its signals from the middle of its loader. A listener that navigates, runs
// script or pumps there pulls the ground from under it. So no listener is called while QtWebKit is
// on the stack: events wait in one queue, in order, and are delivered
//
//  - at the end of the host's call that caused them (WebKitCall),
//  - else from the event loop,
//  - and before an event whose answer page script waits for (ScriptWait). That event, and those
//    delivered before it, are the only ones below which QtWebKit is running. What its page would
//    not survive there waits in whenIdle.
//
// All browsers share the queue. Everything here belongs on the thread that pumps events.

/// Stands around a call into a page, or into one that isn't known. At the end of the outermost one
/// the events that it caused are delivered.
class WebKitCall {
 public:
  explicit WebKitCall(const StackUse& page = webKitUse());
  ~WebKitCall();

 private:
  std::optional<OnStack> m_webKit;
};

/// Stands around an event that a page waits for. The events before it are delivered first.
class ScriptWait {
 public:
  explicit ScriptWait(const StackUse& page);

 private:
  OnStack m_webKit;
};

/// Queues `event`, of a page or of one that isn't known, for delivery. It is dropped if `receiver`
/// is destroyed before. When very many are waiting they are delivered at once, as before an event
/// that the page waits for: script that logs for ever must not fill the memory.
void postHostEvent(QObject* receiver, const StackUse& page, std::function<void()> event);

/// Calls `operation` at once or, while `use` is on the stack, as soon as it has left it. Operations
/// that wait for the same use are called in the order in which they came. One is dropped if its
/// `receiver` is destroyed before; with a null receiver it is called in any case.
void whenIdle(const StackUse& use, QObject* receiver, std::function<void()> operation);

/// Calls the operations that need no longer wait.
void runIdleOperations();

}  // namespace LARKA
