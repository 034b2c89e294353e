// SPDX-License-Identifier: MIT
/// @file
/// The numbers of keys and modifiers.
#pragma once

namespace LARKA {

/// A key for ILarkaBrowser::KeyDown and ILarkaBrowser::KeyUp. The numbers are part of the binary
/// interface.
///
/// Any other number up to 65535 types the character with that UTF-16 code: 97 types "a", 8364 the
/// euro sign. A character beyond U+FFFF takes two presses, one for each surrogate. Only the low 16
/// bits of a larger number count.
///
/// Page script sees the events of a US keyboard: a comma has the keyCode 188, a plus sign has 187
/// with shift. Capital letters don't imply shift: send MODIFIER_LEFT_SHIFT too, or the page takes
/// them for caps lock. Characters beyond ASCII have the keyCode 0. Only return, enter and keys that
/// type a character cause a keypress. The keypad types its digits and signs.
///
/// Letters and digits of ASCII are typed by their characters:
///
///     for (const int key : std::string("channel 5")) {
///       browser->KeyDown(key, 0);
///       browser->KeyUp(key, 0);
///     }
///
/// Keys have the numbers of the letters U+0100 to U+0119. Add 65536 to type these: 65807 types a d
/// with a caron (U+010F), 271 would submit a form.
enum KeyCode {
  KEYCODE_BACKSPACE = 8,        ///< deletes the character before the caret
  KEYCODE_TAB = 9,              ///< moves the focus on, with shift back
  KEYCODE_LINE_FEED = 10,       ///< the same key as #KEYCODE_RETURN
  KEYCODE_RETURN = 13,          ///< follows a link, presses a button, submits a form, breaks a line
  KEYCODE_ESCAPE = 27,          ///< ends the full screen of an element
  KEYCODE_SPACE = 32,           ///< presses the focused button, toggles the focused check box
  KEYCODE_0 = 48,               ///< the digits follow in order
  KEYCODE_9 = 57,               ///< types 9
  KEYCODE_DELETE = 127,         ///< deletes the character after the caret
  KEYCODE_KEYPAD_0 = 256,       ///< the keypad's digits follow in order
  KEYCODE_KEYPAD_9 = 265,       ///< types 9
  KEYCODE_KEYPAD_PERIOD = 266,  ///< types a period
  KEYCODE_KEYPAD_SLASH = 267,   ///< types /
  KEYCODE_KEYPAD_ASTERISK = 268,  ///< types an asterisk
  KEYCODE_KEYPAD_MINUS = 269,     ///< types -
  KEYCODE_KEYPAD_PLUS = 270,      ///< types +
  KEYCODE_KEYPAD_ENTER = 271,     ///< does what #KEYCODE_RETURN does
  KEYCODE_KEYPAD_EQUAL = 272,     ///< types =
  KEYCODE_UP = 273,               ///< scrolls up, or moves the caret or the choice in a field
  KEYCODE_DOWN = 274,             ///< likewise down
  KEYCODE_RIGHT = 275,            ///< likewise right
  KEYCODE_LEFT = 276,             ///< likewise left
  KEYCODE_INSERT = 277,           ///< types nothing; page script gets its events
  KEYCODE_HOME = 278,             ///< scrolls to the top, or moves the caret to the line's start
  KEYCODE_END = 279,              ///< scrolls to the bottom, or moves the caret to the line's end
  KEYCODE_PAGE_UP = 280,          ///< scrolls up by a view, also in a text field
  KEYCODE_PAGE_DOWN = 281         ///< likewise down
};

/// The modifier bits for ILarkaBrowser::KeyDown and ILarkaBrowser::KeyUp; combine them freely.
/// Pages don't distinguish left from right. All other bits are ignored.
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
