// Owners for what SDL hands out, so that nothing is released by hand.
#pragma once

#include <SDL.h>
#include <SDL_ttf.h>

#include <memory>

namespace tv {

struct SdlRelease {
  void operator()(SDL_Window* window) const { SDL_DestroyWindow(window); }
  void operator()(SDL_Renderer* renderer) const { SDL_DestroyRenderer(renderer); }
  void operator()(SDL_Texture* texture) const { SDL_DestroyTexture(texture); }
  void operator()(SDL_Surface* surface) const { SDL_FreeSurface(surface); }
  void operator()(TTF_Font* font) const { TTF_CloseFont(font); }
};

template <typename Thing>
using Owned = std::unique_ptr<Thing, SdlRelease>;

using Colour = SDL_Color;
constexpr Colour kWhite = {244, 246, 251, 255};
constexpr Colour kGrey = {174, 187, 216, 255};
constexpr Colour kDark = {11, 18, 38, 255};
constexpr Colour kPanel = {30, 45, 82, 255};
constexpr Colour kGold = {255, 200, 69, 255};

inline bool contains(const SDL_Rect& area, SDL_Point point) {
  return SDL_PointInRect(&point, &area) == SDL_TRUE;
}

inline SDL_Rect grown(const SDL_Rect& area, int by) {
  return {area.x - by, area.y - by, area.w + 2 * by, area.h + 2 * by};
}

}  // namespace tv
