#include "Window.h"

#include <png.h>

#include <cstdio>
#include <stdexcept>
#include <vector>

namespace tv {

Window::Window(bool fullScreen) {
  SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "linear");
  // SDL's software renderer would otherwise show its frames with OpenGL, which may be software too.
  SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
  if (SDL_Init(SDL_INIT_VIDEO) != 0) throw std::runtime_error(SDL_GetError());
  const Uint32 flags = fullScreen ? SDL_WINDOW_FULLSCREEN_DESKTOP : SDL_WINDOW_RESIZABLE;
  m_window.reset(SDL_CreateWindow("Larka television", SDL_WINDOWPOS_CENTERED,
                                  SDL_WINDOWPOS_CENTERED, kWidth, kHeight, flags));
  // Without SDL_RENDERER_PRESENTVSYNC: the host's loop keeps the time itself (Pace.h), because a
  // software renderer has nothing to wait for.
  if (m_window) m_renderer.reset(SDL_CreateRenderer(m_window.get(), -1, 0));
  if (!m_renderer || SDL_RenderSetLogicalSize(m_renderer.get(), kWidth, kHeight) != 0)
    throw std::runtime_error(SDL_GetError());
  if (fullScreen) SDL_ShowCursor(SDL_DISABLE);
}

Window::~Window() {
  m_renderer.reset();
  m_window.reset();
  SDL_Quit();
}

void Window::toggleFullScreen() {
  const bool full = SDL_GetWindowFlags(m_window.get()) & SDL_WINDOW_FULLSCREEN_DESKTOP;
  SDL_SetWindowFullscreen(m_window.get(), full ? 0 : SDL_WINDOW_FULLSCREEN_DESKTOP);
  SDL_ShowCursor(full ? SDL_ENABLE : SDL_DISABLE);
}

void Window::present() { SDL_RenderPresent(m_renderer.get()); }

bool Window::save(const std::string& pngFile) const {
  int width = 0, height = 0;
  SDL_GetRendererOutputSize(m_renderer.get(), &width, &height);
  std::vector<unsigned char> pixels(static_cast<std::size_t>(width) * height * 3);
  if (SDL_RenderReadPixels(m_renderer.get(), nullptr, SDL_PIXELFORMAT_RGB24, pixels.data(),
                           width * 3) != 0)
    return false;
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(width);
  image.height = static_cast<png_uint_32>(height);
  image.format = PNG_FORMAT_RGB;
  return png_image_write_to_file(&image, pngFile.c_str(), 0, pixels.data(), 0, nullptr) != 0;
}

std::string Window::colourAt(SDL_Point point) const {
  const SDL_Rect place = {point.x, point.y, 1, 1};
  unsigned char colour[3] = {};
  SDL_RenderReadPixels(m_renderer.get(), &place, SDL_PIXELFORMAT_RGB24, colour, 3);
  char text[8];
  snprintf(text, sizeof(text), "#%02x%02x%02x", colour[0], colour[1], colour[2]);
  return text;
}

}  // namespace tv
