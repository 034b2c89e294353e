// Moves a focus among rectangles with the arrow keys. To lift: for any screen that is drawn from
// rectangles; the start screen, the keyboard and the dialogs share it.
#pragma once

#include <vector>

#include "Remote.h"
#include "Sdl.h"

namespace tv {

// Returns which area is next to areas[from] in the direction of an arrow key; `from` if none is.
int neighbour(const std::vector<SDL_Rect>& areas, int from, Key arrow);

// Returns which area a point is in; -1 if none.
int areaAt(const std::vector<SDL_Rect>& areas, SDL_Point point);

}  // namespace tv
