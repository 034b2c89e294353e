#include "Focus.h"

#include <algorithm>
#include <cstdlib>

namespace tv {

namespace {

// How far an area lies ahead of another in a direction; negative if it doesn't.
int ahead(const SDL_Rect& area, const SDL_Rect& from, Key arrow) {
  switch (arrow) {
    case Key::Up:
      return from.y - (area.y + area.h);
    case Key::Down:
      return area.y - (from.y + from.h);
    case Key::Left:
      return from.x - (area.x + area.w);
    case Key::Right:
      return area.x - (from.x + from.w);
    default:
      return -1;
  }
}

// How far an area lies aside of the way: mostly the gap, and a little the distance of the middles.
int aside(int begin, int length, int fromBegin, int fromLength) {
  const int gap = std::max({0, begin - (fromBegin + fromLength), fromBegin - (begin + length)});
  return 8 * gap + std::abs(2 * begin + length - 2 * fromBegin - fromLength) / 4;
}

}  // namespace

int neighbour(const std::vector<SDL_Rect>& areas, int from, Key arrow) {
  const bool vertical = arrow == Key::Up || arrow == Key::Down;
  const SDL_Rect& origin = areas[from];
  int best = from, least = 0;
  for (int i = 0; i < static_cast<int>(areas.size()); ++i) {
    const SDL_Rect& area = areas[i];
    const int distance = ahead(area, origin, arrow);
    if (i == from || distance < 0) continue;
    const int cost = 4 * distance + (vertical ? aside(area.x, area.w, origin.x, origin.w)
                                              : aside(area.y, area.h, origin.y, origin.h));
    if (best != from && cost >= least) continue;
    best = i;
    least = cost;
  }
  return best;
}

int areaAt(const std::vector<SDL_Rect>& areas, SDL_Point point) {
  const auto found = std::find_if(areas.begin(), areas.end(),
                                  [&](const SDL_Rect& area) { return contains(area, point); });
  return found == areas.end() ? -1 : static_cast<int>(found - areas.begin());
}

}  // namespace tv
