// The remote control, as keys of a keyboard. To lift: replace the table in Remote.cpp by your
// receiver's codes.
#pragma once

#include <SDL.h>

#include <string>

namespace tv {

enum class Key {
  None,
  Up,
  Down,
  Left,
  Right,
  Ok,
  Back,
  Home,
  PageUp,
  PageDown,
  Red,
  Green,
  Yellow,
  Blue,
  Digit,
  VolumeUp,
  VolumeDown,
  NextTab,
  CloseTab,
  FullScreen,
};

struct Press {
  Key key = Key::None;
  int digit = 0;  // of Key::Digit
};

// Returns what a key of the keyboard is on the remote control.
Press pressOf(SDL_Keycode code);

// Returns the key of the keyboard with a name as scripts and the help use it ("ok", "red", "7");
// SDLK_UNKNOWN if there is none.
SDL_Keycode codeOf(const std::string& name);

}  // namespace tv
