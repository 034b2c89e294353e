// What the host shows over its screens for a while: how a page loads, and the volume. To lift: the
// progress bar.
#pragma once

#include "Browser.h"
#include "Canvas.h"

namespace tv {

class InfoBar {
 public:
  // The state of a page, or the volume, has changed: it is shown for some seconds.
  void touchPage() { m_page = SDL_GetTicks64(); }
  void touchVolume() { m_volume = SDL_GetTicks64(); }

  // Each is drawn only as long as it is shown.
  void drawPage(Canvas& canvas, const Browser& browser) const;
  void drawVolume(Canvas& canvas, int percent) const;

 private:
  Uint64 m_page = 0, m_volume = 0;
};

}  // namespace tv
