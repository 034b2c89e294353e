// PageKeys.h: key events as page script expects them.
#pragma once

#include <QKeyEvent>

namespace LARKA {

/// Returns the event that a US keyboard would make for the key or character of `event`, which
/// createKeyEventFromVirtualKeyCode has made for the page. Printable ASCII gets its key, and shift
/// where the keyboard needs it; only what types a character has a text.
QKeyEvent pageKeyEvent(const QKeyEvent& event);

}  // namespace LARKA
