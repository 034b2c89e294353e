// Draws the host's own interface: rectangles with round corners, and text. To lift: the cache of
// rendered texts, which makes a frame without new text cost a few copies.
#pragma once

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "Sdl.h"

namespace tv {

class Canvas {
 public:
  // `fontFile` is a TrueType font. Throws std::runtime_error if it can't be read.
  Canvas(SDL_Renderer* renderer, std::string fontFile);
  ~Canvas();
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  SDL_Renderer* renderer() const { return m_renderer; }

  void fill(const SDL_Rect& area, Colour colour);
  void fillRounded(const SDL_Rect& area, int radius, Colour colour);
  void fillGradient(const SDL_Rect& area, Colour top, Colour bottom);
  // A filled triangle, for pictures.
  void triangle(SDL_FPoint a, SDL_FPoint b, SDL_FPoint c, Colour colour);

  // Draws one line of text and returns its width. What is wider than `room` ends with "…"; 0 is no
  // limit.
  int text(const std::string& text, int x, int y, int size, Colour colour, int room = 0);
  // Draws one line in the middle of an area.
  void label(const std::string& text, const SDL_Rect& area, int size, Colour colour);
  // Draws a button, in gold if it has the focus.
  void button(const std::string& text, const SDL_Rect& area, bool focused);
  // Draws several lines, broken at `width`, and returns their height.
  int paragraph(const std::string& text, int x, int y, int width, int size, Colour colour);

 private:
  using TextKey = std::tuple<std::string, int, Uint32, int>;  // text, size, colour, width
  using GradientKey = std::tuple<int, int, Uint32, Uint32>;   // width, height, colours

  SDL_Rect copy(SDL_Texture* texture, int x, int y);
  SDL_Texture* make(const std::vector<Uint32>& pixels, int width, SDL_BlendMode mode);
  TTF_Font* font(int size);
  SDL_Texture* rendered(const std::string& text, int size, Colour colour, int width);
  SDL_Texture* disc(int radius);
  SDL_Texture* gradient(const SDL_Rect& area, Colour top, Colour bottom);
  std::string shortened(const std::string& text, int size, int room);

  SDL_Renderer* m_renderer;
  std::string m_fontFile;
  std::map<int, Owned<TTF_Font>> m_fonts;
  std::map<int, Owned<SDL_Texture>> m_discs;
  std::map<TextKey, Owned<SDL_Texture>> m_texts;
  std::map<GradientKey, Owned<SDL_Texture>> m_gradients;
};

}  // namespace tv
