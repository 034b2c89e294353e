// SPDX-License-Identifier: MIT
#pragma once

#include <QKeyEvent>

namespace LARKA {

/// Returns the event that a US keyboard would send for the key or character of `event`, which comes
/// from createKeyEventFromVirtualKeyCode. Printable ASCII characters get their key, and shift where
/// the keyboard needs it. Only keys that type a character have a text.
QKeyEvent pageKeyEvent(const QKeyEvent& event);

}  // namespace LARKA
