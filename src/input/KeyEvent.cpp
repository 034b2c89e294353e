// SPDX-License-Identifier: MIT
#include "input/KeyEvent.h"

#include <QKeyEvent>
#include <algorithm>
#include <iterator>

#include "larka/KeyCodes.h"

namespace LARKA {

namespace {

enum : bool { kMainKey = false, kKeypad = true };

struct Key {
  int code;
  int qtKey;
  bool keypad;
};

const Key kKeys[] = {
    {KEYCODE_BACKSPACE, Qt::Key_Backspace, kMainKey},
    {KEYCODE_TAB, Qt::Key_Tab, kMainKey},
    {KEYCODE_LINE_FEED, Qt::Key_Return, kMainKey},
    {KEYCODE_RETURN, Qt::Key_Return, kMainKey},
    {KEYCODE_ESCAPE, Qt::Key_Escape, kMainKey},
    {KEYCODE_DELETE, Qt::Key_Delete, kMainKey},
    {KEYCODE_KEYPAD_PERIOD, Qt::Key_Period, kKeypad},
    {KEYCODE_KEYPAD_SLASH, Qt::Key_Slash, kKeypad},
    {KEYCODE_KEYPAD_ASTERISK, Qt::Key_Asterisk, kKeypad},
    {KEYCODE_KEYPAD_MINUS, Qt::Key_Minus, kKeypad},
    {KEYCODE_KEYPAD_PLUS, Qt::Key_Plus, kKeypad},
    {KEYCODE_KEYPAD_ENTER, Qt::Key_Enter, kMainKey},
    {KEYCODE_KEYPAD_EQUAL, Qt::Key_Equal, kKeypad},
    {KEYCODE_UP, Qt::Key_Up, kKeypad},
    {KEYCODE_DOWN, Qt::Key_Down, kKeypad},
    {KEYCODE_RIGHT, Qt::Key_Right, kKeypad},
    {KEYCODE_LEFT, Qt::Key_Left, kKeypad},
    {KEYCODE_INSERT, Qt::Key_Insert, kMainKey},
    {KEYCODE_HOME, Qt::Key_Home, kMainKey},
    {KEYCODE_END, Qt::Key_End, kMainKey},
    {KEYCODE_PAGE_UP, Qt::Key_PageUp, kMainKey},
    {KEYCODE_PAGE_DOWN, Qt::Key_PageDown, kMainKey},
};

struct Modifier {
  int bits;
  Qt::KeyboardModifier qtModifier;
};

const Modifier kModifiers[] = {
    {MODIFIER_LEFT_CONTROL | MODIFIER_RIGHT_CONTROL, Qt::ControlModifier},
    {MODIFIER_LEFT_ALT | MODIFIER_RIGHT_ALT, Qt::AltModifier},
    {MODIFIER_LEFT_SHIFT | MODIFIER_RIGHT_SHIFT, Qt::ShiftModifier},
    {MODIFIER_META, Qt::MetaModifier},
};

bool within(int key, int first, int last) { return key >= first && key <= last; }

Key keyForCode(int code) {
  if (within(code, KEYCODE_0, KEYCODE_9) || within(code, 'A', 'Z')) return {code, code, kMainKey};
  if (within(code, 'a', 'z')) return {code, code - 'a' + 'A', kMainKey};
  if (within(code, KEYCODE_KEYPAD_0, KEYCODE_KEYPAD_9))
    return {code, code - KEYCODE_KEYPAD_0 + Qt::Key_0, kKeypad};
  const Key* key = std::find_if(std::begin(kKeys), std::end(kKeys),
                                [=](const Key& k) { return k.code == code; });
  return key != std::end(kKeys) ? *key : Key{code, 0, kMainKey};
}

/// Returns the key that a plug-in gets, with its character in `text`.
Key pluginKeyForCode(int code, int* text) {
  switch (code) {
    case KEYCODE_LEFT:
      *text = 37;
      return {code, 0, kMainKey};
    case KEYCODE_UP:
      *text = 38;
      return {code, 0, kMainKey};
    case KEYCODE_RIGHT:
      *text = 39;
      return {code, 0, kMainKey};
    case KEYCODE_DOWN:
      *text = 40;
      return {code, 0, kMainKey};
    case 37:
    case 38:
    case 39:
    case 40:
      *text = 0;
      return {code, code, kMainKey};
    case KEYCODE_BACKSPACE:
      return {code, 0, kMainKey};
    default:
      return keyForCode(code);
  }
}

}  // namespace

QKeyEvent* createKeyEventFromVirtualKeyCode(int key, int modifiers, QEvent::Type type,
                                            bool forPlugin) {
  int text = key;
  const Key found = forPlugin ? pluginKeyForCode(key, &text) : keyForCode(key);
  Qt::KeyboardModifiers qtModifiers = found.keypad ? Qt::KeypadModifier : Qt::NoModifier;
  for (const Modifier& modifier : kModifiers)
    if (modifiers & modifier.bits) qtModifiers |= modifier.qtModifier;
  return new QKeyEvent(type, found.qtKey, qtModifiers, 0, 0, 0, QString(QChar(text)));
}

}  // namespace LARKA
