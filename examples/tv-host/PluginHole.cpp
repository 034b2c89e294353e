#include "PluginHole.h"

namespace tv {

namespace {

// The browser has no device pixel ratio: its image has the size of the view.
SDL_Rect toSdl(const LARKA::Rectangle& rect) { return {rect.x, rect.y, rect.width, rect.height}; }

bool findHole(LARKA::ILarkaBrowser* browser, LARKA::LarkaPluginWidget& plugin, PluginHole& hole) {
  if (!plugin.IsVisible()) return false;
  const LARKA::PluginPlace place = LARKA::GetPluginPlace(browser, &plugin);
  hole.place = toSdl(place.area);
  hole.visible = toSdl(place.visible);
  hole.data = plugin.GetUserData();
  hole.under = plugin.GetTagName() == "VIDEO";
  return !SDL_RectEmpty(&hole.visible);
}

}  // namespace

std::vector<PluginHole> findHoles(LARKA::ILarkaBrowser* browser) {
  std::vector<PluginHole> holes;
  for (LARKA::LarkaPluginWidget& plugin : browser->GetPluginWidgets()) {
    PluginHole hole = {};
    if (findHole(browser, plugin, hole)) holes.push_back(hole);
  }
  return holes;
}

}  // namespace tv
