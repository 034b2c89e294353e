#include "TestPicture.h"

#include <algorithm>
#include <cmath>

#include "Clock.h"

namespace tv {

namespace {

constexpr double kTurn = 6.283185307179586;
constexpr Colour kBars[] = {{180, 180, 180, 255}, {180, 180, 16, 255}, {16, 180, 180, 255},
                            {16, 180, 16, 255},   {180, 16, 180, 255}, {180, 16, 16, 255},
                            {16, 16, 180, 255}};

double seconds() { return SDL_GetTicks64() / 1000.0; }

// From 0 to 1 and back, once in `period` seconds.
double swing(double period) { return 1 - std::abs(std::fmod(seconds() / period, 1.0) * 2 - 1); }

// A point on a circle; turns are clockwise from the top.
SDL_FPoint around(const SDL_Rect& place, double turn, double radius) {
  return {static_cast<float>(place.x + place.w / 2.0 + radius * std::sin(turn * kTurn)),
          static_cast<float>(place.y + place.h / 2.0 - radius * std::cos(turn * kTurn))};
}

void drawSector(Canvas& canvas, const SDL_Rect& place, double turn, double radius, Colour colour) {
  constexpr int steps = 24;
  const SDL_FPoint centre = around(place, 0, 0);
  for (int i = 0; i < steps; ++i)
    canvas.triangle(centre, around(place, turn * i / steps, radius),
                    around(place, turn * (i + 1) / steps, radius), colour);
}

}  // namespace

void drawLiveTelevision(Canvas& canvas, const SDL_Rect& place) {
  const int bars = std::size(kBars), low = place.h / 5;
  for (int i = 0; i < bars; ++i) {
    const int left = place.w * i / bars, right = place.w * (i + 1) / bars;
    canvas.fill({place.x + left, place.y, right - left, place.h - low}, kBars[i]);
  }
  canvas.fill({place.x, place.y + place.h - low, place.w, low}, {16, 16, 24, 255});
  const int sweep = static_cast<int>(swing(4) * (place.w - low));
  canvas.fillGradient({place.x + sweep, place.y + place.h - low, low, low}, {60, 60, 80, 255},
                      kGold);
  const int side = place.h / 4;
  const SDL_Rect ball = {place.x + static_cast<int>(swing(6) * (place.w - side)),
                         place.y + static_cast<int>(swing(3.7) * (place.h - low - side)), side,
                         side};
  canvas.fillRounded(ball, side / 2, kWhite);
  canvas.label(clockText(), ball, std::max(side / 5, 10), kDark);
}

void drawFilm(Canvas& canvas, const SDL_Rect& place, double seconds) {
  const double countdown = 5 - std::fmod(seconds, 5);
  const double passed = 1 - std::fmod(countdown, 1.0);
  const int radius = place.h * 2 / 5;
  canvas.fill(place, {214, 206, 186, 255});
  drawSector(canvas, place, passed, std::hypot(place.w, place.h) / 2, {184, 174, 150, 255});
  const int x = place.x + place.w / 2, y = place.y + place.h / 2;
  canvas.fill({place.x, y - 1, place.w, 3}, kDark);
  canvas.fill({x - 1, place.y, 3, place.h}, kDark);
  canvas.fillRounded({x - radius, y - radius, 2 * radius, 2 * radius}, radius, kDark);
  const int inner = radius * 15 / 16;
  canvas.fillRounded({x - inner, y - inner, 2 * inner, 2 * inner}, inner, {228, 222, 206, 255});
  canvas.label(std::to_string(static_cast<int>(std::ceil(countdown))),
               {x - inner, y - inner, 2 * inner, 2 * inner}, std::max(radius, 10), kDark);
}

}  // namespace tv
