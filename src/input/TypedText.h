// SPDX-License-Identifier: MIT
#pragma once

#include <QKeyEvent>
#include <QString>
#include <QStringList>

namespace LARKA {

/// Splits a text into what single keys type: characters with their accents, and a Return for each
/// kind of line end. Control characters other than the tab are left out.
QStringList keysOf(const QString& text);

/// Returns the event of a key that types an element of keysOf(). Characters that a US keyboard
/// doesn't have come without a key, so that the page gets 0 as their `keyCode`.
QKeyEvent typingEvent(QEvent::Type type, const QString& key);

}  // namespace LARKA
