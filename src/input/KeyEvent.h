// SPDX-License-Identifier: MIT
#pragma once

#include <QEvent>

class QKeyEvent;

namespace LARKA {

/// Returns a new key event, owned by the caller, for a key and modifiers in the host's numbering;
/// see larka/KeyCodes.h. Plug-ins get the arrow keys as the characters 37 (left), 38 (up), 39
/// (right) and 40 (down).
QKeyEvent* createKeyEventFromVirtualKeyCode(int key, int modifiers, QEvent::Type type,
                                            bool forPlugin);

}  // namespace LARKA
