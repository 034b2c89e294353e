// SPDX-License-Identifier: MIT
#include "input/PageKeys.h"

#include <cstring>

namespace LARKA {

namespace {

// Up to here the number of a Qt key is the character that the key types.
const int kLastPrintable = Qt::Key_AsciiTilde;

bool isPrintableAscii(QChar character) {
  return character >= QChar(Qt::Key_Space) && character <= QChar(kLastPrintable);
}

/// Capital letters don't: without shift they look like caps lock.
bool needsShift(QChar character) {
  return strchr("~!@#$%^&*()_+{}|:\"<>?", character.toLatin1()) != nullptr;
}

/// QtWebKit has no key code for the keypad's "=".
bool isOnKeypad(const QKeyEvent& event) {
  if (event.key() == Qt::Key_Enter) return true;
  return event.modifiers() & Qt::KeypadModifier && event.key() <= kLastPrintable &&
         event.key() != Qt::Key_Equal;
}

/// Characters keep their text with control and with Alt: QtWebKit doesn't type it then, but finds
/// access keys by it, and sends a keypress even for an empty one.
QString typedText(const QKeyEvent& event) {
  QString nothing = QStringLiteral("");  // for a null text QtWebKit makes up its own
  const Qt::KeyboardModifiers modifiers = event.modifiers();
  if (event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter) {
    if (modifiers & (Qt::AltModifier | Qt::MetaModifier)) return nothing;
    return modifiers & Qt::ControlModifier ? QStringLiteral("\n") : QStringLiteral("\r");
  }
  if (event.key() > kLastPrintable) return nothing;
  return modifiers & Qt::KeypadModifier ? QString(QChar(event.key())) : event.text();
}

}  // namespace

QKeyEvent pageKeyEvent(const QKeyEvent& event) {
  int key = event.key();
  Qt::KeyboardModifiers modifiers = event.modifiers();
  const QChar character = event.text().at(0);
  if (key == 0 && isPrintableAscii(character)) {
    key = character.toUpper().unicode();
    if (needsShift(character)) modifiers |= Qt::ShiftModifier;
  }
  modifiers.setFlag(Qt::KeypadModifier, isOnKeypad(event));
  return QKeyEvent(event.type(), key, modifiers, typedText(event));
}

}  // namespace LARKA
