#include "Remote.h"

namespace tv {

namespace {

struct Button {
  const char* name;
  SDL_Keycode code;
  Key key;
};

// The first code of a name is the one that scripts press.
constexpr Button kButtons[] = {
    {"up", SDLK_UP, Key::Up},
    {"down", SDLK_DOWN, Key::Down},
    {"left", SDLK_LEFT, Key::Left},
    {"right", SDLK_RIGHT, Key::Right},
    {"ok", SDLK_RETURN, Key::Ok},
    {"ok", SDLK_KP_ENTER, Key::Ok},
    {"back", SDLK_ESCAPE, Key::Back},
    {"backspace", SDLK_BACKSPACE, Key::Back},
    {"home", SDLK_HOME, Key::Home},
    {"pageup", SDLK_PAGEUP, Key::PageUp},
    {"pagedown", SDLK_PAGEDOWN, Key::PageDown},
    {"red", SDLK_F1, Key::Red},
    {"green", SDLK_F2, Key::Green},
    {"yellow", SDLK_F3, Key::Yellow},
    {"blue", SDLK_F4, Key::Blue},
    {"louder", SDLK_F8, Key::VolumeUp},
    {"quieter", SDLK_F7, Key::VolumeDown},
    {"tab", SDLK_TAB, Key::NextTab},
    {"close", SDLK_F10, Key::CloseTab},
    {"fullscreen", SDLK_F11, Key::FullScreen},
};

}  // namespace

Press pressOf(SDL_Keycode code) {
  if (code >= SDLK_0 && code <= SDLK_9) return {Key::Digit, code - SDLK_0};
  for (const Button& button : kButtons)
    if (button.code == code) return {button.key, 0};
  return {};
}

SDL_Keycode codeOf(const std::string& name) {
  if (name.size() == 1 && name[0] >= '0' && name[0] <= '9') return name[0];
  for (const Button& button : kButtons)
    if (name == button.name) return button.code;
  return SDLK_UNKNOWN;
}

}  // namespace tv
