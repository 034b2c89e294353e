// KeyCodes.h: the numbers of the keys and modifiers that a host sends.
#pragma once

namespace LARKA {

/// A key for ILarkaBrowser::KeyDown and ILarkaBrowser::KeyUp. The numbers are part of the binary
/// interface.
///
/// Every other number up to 65535 stands for the character with that UTF-16 code: 'a' is 97, the
/// space 32, the euro sign 8364; a character beyond U+FFFF takes two, one press each. It is typed.
/// Of larger numbers the low 16 bits count.
///
/// Page script sees the events of a US keyboard: a comma has the keyCode 188, a plus sign 187 and
/// shift. Capital letters get no shift by themselves: send MODIFIER_LEFT_SHIFT too, or it looks
/// like caps lock. Characters beyond ASCII have the keyCode 0. Only return, enter and keys that
/// type a character have a keypress. The keypad types its digits and signs.
///
/// The characters U+0100 to U+0119, among them d, e and c with a caron or an ogonek, have the
/// numbers of keys and can't be sent: a d with a caron would send a form.
enum KeyCode {
  KEYCODE_BACKSPACE = 8,   ///< deletes before the caret
  KEYCODE_TAB = 9,         ///< moves the focus on; with shift, back
  KEYCODE_LINE_FEED = 10,  ///< the same key as KEYCODE_RETURN
  KEYCODE_RETURN = 13,     ///< follows a link, presses a button, sends a form, breaks a line
  KEYCODE_ESCAPE = 27,
  KEYCODE_SPACE = 32,  ///< presses the button or toggles the box that has the focus
  KEYCODE_0 = 48,      ///< the digits follow in order
  KEYCODE_9 = 57,
  KEYCODE_DELETE = 127,    ///< deletes after the caret
  KEYCODE_KEYPAD_0 = 256,  ///< the keypad's digits follow in order
  KEYCODE_KEYPAD_9 = 265,
  KEYCODE_KEYPAD_PERIOD = 266,
  KEYCODE_KEYPAD_SLASH = 267,
  KEYCODE_KEYPAD_ASTERISK = 268,
  KEYCODE_KEYPAD_MINUS = 269,
  KEYCODE_KEYPAD_PLUS = 270,
  KEYCODE_KEYPAD_ENTER = 271,
  KEYCODE_KEYPAD_EQUAL = 272,
  KEYCODE_UP = 273,
  KEYCODE_DOWN = 274,
  KEYCODE_RIGHT = 275,
  KEYCODE_LEFT = 276,
  KEYCODE_INSERT = 277,
  KEYCODE_HOME = 278,
  KEYCODE_END = 279,
  KEYCODE_PAGE_UP = 280,
  KEYCODE_PAGE_DOWN = 281
};

/// The modifier bits of ILarkaBrowser::KeyDown and ILarkaBrowser::KeyUp; they may be combined. Left
/// and right mean the same to a page. All other bits are ignored.
enum KeyModifier {
  MODIFIER_LEFT_CONTROL = 0x01,
  MODIFIER_RIGHT_CONTROL = 0x02,
  MODIFIER_LEFT_ALT = 0x04,
  MODIFIER_RIGHT_ALT = 0x08,
  MODIFIER_LEFT_SHIFT = 0x10,
  MODIFIER_RIGHT_SHIFT = 0x20,
  MODIFIER_META = 0x40
};

}  // namespace LARKA
