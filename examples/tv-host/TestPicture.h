// Moving pictures of the host's own. To lift: nothing; put your decoder's frames in their place.
#pragma once

#include "Canvas.h"

namespace tv {

// "Live television": colour bars, a moving ball, the time.
void drawLiveTelevision(Canvas& canvas, const SDL_Rect& place);

// A "film": the leader that counts down before it, at a time in seconds.
void drawFilm(Canvas& canvas, const SDL_Rect& place, double seconds);

}  // namespace tv
