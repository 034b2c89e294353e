// The host's window: 1280x720 whatever the display has, or the whole screen. To lift: the renderer
// set-up with a logical size, and how a frame becomes a PNG file.
#pragma once

#include <string>

#include "Sdl.h"

namespace tv {

constexpr int kWidth = 1280;
constexpr int kHeight = 720;
constexpr SDL_Rect kScreen = {0, 0, kWidth, kHeight};

class Window {
 public:
  // Throws std::runtime_error where there is no display.
  explicit Window(bool fullScreen);
  ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  SDL_Renderer* renderer() const { return m_renderer.get(); }
  void toggleFullScreen();
  void present();

  // What is drawn so far; call these before present().
  bool save(const std::string& pngFile) const;
  std::string colourAt(SDL_Point point) const;  // as "#rrggbb"

 private:
  Owned<SDL_Window> m_window;
  Owned<SDL_Renderer> m_renderer;
};

}  // namespace tv
