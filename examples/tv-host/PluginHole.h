// The places of a page that the host fills itself. To lift: all of it.
#pragma once

#include <larka/larka.h>

#include <vector>

#include "Sdl.h"

namespace tv {

// Where a plug-in or a video is in the view.
struct PluginHole {
  SDL_Rect place;    // of the whole picture
  SDL_Rect visible;  // what of it can be seen
  void* data;        // the host's, of the element
  bool under;        // the page is transparent there, and lies over the picture
};

// Returns the holes of a page that can be seen. Ask again whenever the page was painted: scrolling,
// layout and script move them without an event.
std::vector<PluginHole> findHoles(LARKA::ILarkaBrowser* browser);

}  // namespace tv
