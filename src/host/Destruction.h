// SPDX-License-Identifier: MIT
#pragma once

#include <QEvent>
#include <QEventLoop>

#include "host/StackUse.h"

class QObject;

namespace LARKA {

// Nothing is destroyed while it, the host's code that it is calling, or QtWebKit is on the stack.
// Qt alone can't see to that: a listener that is called because the host ran a script, with no
// event handler below it, and that destroys its browser and pumps, would have the browser destroyed
// under its feet.

/// Asks for the deferred destruction of one of the library's objects.
void destroyLater(QObject* object);

/// For an object's event(): returns true if `event` is the object's deferred destruction and has to
/// wait, for the host's code that the object is calling (`calls`), for QtWebKit, or for the end of
/// the outermost pump. The object's destruction is asked for again then.
bool postponesDestruction(QEvent* event, QObject* object, const StackUse& calls);

/// The type of an event that is delivered at the end of a pump, even if it was posted in that pump;
/// other events wait for the next one.
QEvent::Type endOfPump();

/// Processes the events that are waiting, with `flags`. The outermost pump then destroys what
/// destroyLater was called for and, if `everything` is set, what anyone asked Qt to destroy: Qt
/// does so only when an event loop of its own returns to where it was asked for, never while a host
/// only pumps.
void pump(QEventLoop::ProcessEventsFlags flags, bool everything);

/// Destroys as the end of a pump does.
void carryOutDestructions(bool everything);

}  // namespace LARKA
