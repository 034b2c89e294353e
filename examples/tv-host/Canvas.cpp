#include "Canvas.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>
#include <vector>

#include "Utf8.h"

namespace tv {

namespace {

constexpr std::size_t kMostTexts = 400;

SDL_Rect sizeOf(SDL_Texture* texture) {
  SDL_Rect size = {};
  if (texture) SDL_QueryTexture(texture, nullptr, nullptr, &size.w, &size.h);
  return size;
}

Uint32 numberOf(Colour colour) {
  return static_cast<Uint32>(colour.a) << 24U | colour.r << 16U | colour.g << 8U | colour.b;
}

// How much of a pixel a disc covers, from 0 to 255: its edge is smooth.
Uint32 coverage(int x, int y, int radius) {
  const double distance = std::hypot(x + 0.5 - radius, y + 0.5 - radius);
  return static_cast<Uint32>(255 * std::clamp(radius - distance + 0.5, 0.0, 1.0));
}

}  // namespace

Canvas::Canvas(SDL_Renderer* renderer, std::string fontFile)
    : m_renderer(renderer), m_fontFile(std::move(fontFile)) {
  if (TTF_Init() != 0 || !font(20)) throw std::runtime_error(TTF_GetError());
}

Canvas::~Canvas() {
  m_fonts.clear();
  TTF_Quit();
}

void Canvas::fill(const SDL_Rect& area, Colour colour) {
  SDL_SetRenderDrawBlendMode(m_renderer,
                             colour.a == 255 ? SDL_BLENDMODE_NONE : SDL_BLENDMODE_BLEND);
  SDL_SetRenderDrawColor(m_renderer, colour.r, colour.g, colour.b, colour.a);
  SDL_RenderFillRect(m_renderer, &area);
}

void Canvas::fillRounded(const SDL_Rect& area, int radius, Colour colour) {
  const int side = 2 * radius;
  const SDL_Rect& a = area;
  fill({a.x + radius, a.y, a.w - side, a.h}, colour);
  fill({a.x, a.y + radius, radius, a.h - side}, colour);
  fill({a.x + a.w - radius, a.y + radius, radius, a.h - side}, colour);
  SDL_Texture* corners = disc(radius);
  SDL_SetTextureColorMod(corners, colour.r, colour.g, colour.b);
  SDL_SetTextureAlphaMod(corners, colour.a);
  for (const int right : {0, 1}) {
    for (const int low : {0, 1}) {
      const SDL_Rect from = {right * radius, low * radius, radius, radius};
      const SDL_Rect to = {a.x + right * (a.w - radius), a.y + low * (a.h - radius), radius,
                           radius};
      SDL_RenderCopy(m_renderer, corners, &from, &to);
    }
  }
}

void Canvas::fillGradient(const SDL_Rect& area, Colour top, Colour bottom) {
  SDL_RenderCopy(m_renderer, gradient(area, top, bottom), nullptr, &area);
}

void Canvas::triangle(SDL_FPoint a, SDL_FPoint b, SDL_FPoint c, Colour colour) {
  const SDL_Vertex corners[] = {{a, colour, {}}, {b, colour, {}}, {c, colour, {}}};
  SDL_RenderGeometry(m_renderer, nullptr, corners, 3, nullptr, 0);
}

int Canvas::text(const std::string& text, int x, int y, int size, Colour colour, int room) {
  return copy(rendered(room > 0 ? shortened(text, size, room) : text, size, colour, 0), x, y).w;
}

void Canvas::label(const std::string& text, const SDL_Rect& area, int size, Colour colour) {
  SDL_Texture* picture = rendered(shortened(text, size, area.w), size, colour, 0);
  const SDL_Rect taken = sizeOf(picture);
  copy(picture, area.x + (area.w - taken.w) / 2, area.y + (area.h - taken.h) / 2);
}

void Canvas::button(const std::string& text, const SDL_Rect& area, bool focused) {
  fillRounded(area, std::min(area.h / 2, 26), focused ? kGold : kPanel);
  label(text, area, 24, focused ? kDark : kWhite);
}

int Canvas::paragraph(const std::string& text, int x, int y, int width, int size, Colour colour) {
  return copy(rendered(text, size, colour, width), x, y).h;
}

// Draws a texture as it is, and returns where; null is empty.
SDL_Rect Canvas::copy(SDL_Texture* texture, int x, int y) {
  SDL_Rect place = sizeOf(texture);
  place.x = x;
  place.y = y;
  if (texture) SDL_RenderCopy(m_renderer, texture, nullptr, &place);
  return place;
}

// Makes a texture of pixels with alpha.
SDL_Texture* Canvas::make(const std::vector<Uint32>& pixels, int width, SDL_BlendMode mode) {
  const int height = static_cast<int>(pixels.size()) / width;
  SDL_Texture* texture = SDL_CreateTexture(m_renderer, SDL_PIXELFORMAT_ARGB8888,
                                           SDL_TEXTUREACCESS_STATIC, width, height);
  SDL_UpdateTexture(texture, nullptr, pixels.data(), width * 4);
  SDL_SetTextureBlendMode(texture, mode);
  return texture;
}

TTF_Font* Canvas::font(int size) {
  Owned<TTF_Font>& found = m_fonts[size];
  if (!found) found.reset(TTF_OpenFont(m_fontFile.c_str(), size));
  return found.get();
}

SDL_Texture* Canvas::rendered(const std::string& text, int size, Colour colour, int width) {
  if (text.empty() || !font(size)) return nullptr;
  const TextKey key(text, size, numberOf(colour), width);
  const auto found = m_texts.find(key);
  if (found != m_texts.end()) return found->second.get();
  if (m_texts.size() >= kMostTexts) m_texts.clear();
  const Owned<SDL_Surface> surface(
      width > 0 ? TTF_RenderUTF8_Blended_Wrapped(font(size), text.c_str(), colour,
                                                 static_cast<Uint32>(width))
                : TTF_RenderUTF8_Blended(font(size), text.c_str(), colour));
  Owned<SDL_Texture>& texture = m_texts[key];
  if (surface) texture.reset(SDL_CreateTextureFromSurface(m_renderer, surface.get()));
  return texture.get();
}

SDL_Texture* Canvas::disc(int radius) {
  Owned<SDL_Texture>& found = m_discs[radius];
  if (found) return found.get();
  const int side = 2 * radius;
  std::vector<Uint32> pixels(static_cast<std::size_t>(side) * side);
  for (int y = 0; y < side; ++y)
    for (int x = 0; x < side; ++x)
      pixels[static_cast<std::size_t>(y) * side + x] = coverage(x, y, radius) << 24U | 0xFFFFFF;
  found.reset(make(pixels, side, SDL_BLENDMODE_BLEND));
  return found.get();
}

SDL_Texture* Canvas::gradient(const SDL_Rect& area, Colour top, Colour bottom) {
  Owned<SDL_Texture>& found =
      m_gradients[GradientKey(area.w, area.h, numberOf(top), numberOf(bottom))];
  if (found) return found.get();
  std::vector<Uint32> pixels;
  for (int y = 0; y < area.h; ++y) {
    const auto between = [&](int from, int to) {
      return static_cast<Uint8>(from + (to - from) * y / area.h);
    };
    const Colour row = {between(top.r, bottom.r), between(top.g, bottom.g),
                        between(top.b, bottom.b), 255};
    pixels.insert(pixels.end(), area.w, numberOf(row));
  }
  found.reset(make(pixels, area.w, SDL_BLENDMODE_NONE));
  return found.get();
}

std::string Canvas::shortened(const std::string& text, int size, int room) {
  int width = 0, count = 0;
  if (!font(size) || TTF_SizeUTF8(font(size), text.c_str(), &width, nullptr) != 0 || width <= room)
    return text;
  TTF_MeasureUTF8(font(size), text.c_str(), room, nullptr, &count);
  return firstOf(text, std::max(count - 1, 0)) + "…";
}

}  // namespace tv
