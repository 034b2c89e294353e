#include "PluginHole.h"

#include <cmath>
#include <cstdio>

namespace tv {

namespace {

// How much of the element the boxes around it leave to be seen: its left, top, right and bottom
// edge, in pixels from the element's top left. The handle knows of the page's edges alone.
constexpr char kClip[] =
    "(function (element) {"
    "  var own = element.getBoundingClientRect();"
    "  var clip = [0, 0, own.width, own.height];"
    "  for (var box = element.parentElement; box; box = box.parentElement) {"
    "    if (box == document.body || box == document.webkitFullscreenElement) break;"
    "    if (getComputedStyle(box).overflow == 'visible') continue;"
    "    var edge = box.getBoundingClientRect();"
    "    clip = [Math.max(clip[0], edge.left - own.left), Math.max(clip[1], edge.top - own.top),"
    "            Math.min(clip[2], edge.right - own.left),"
    "            Math.min(clip[3], edge.bottom - own.top)];"
    "  }"
    "  return clip.join(' ');"
    "})(this)";

// The pixels between two edges of the page, in the view.
SDL_Rect inView(LARKA::ILarkaBrowser* browser, double left, double top, double right,
                double bottom) {
  int viewX = 0, viewY = 0;
  browser->GetViewPort(&viewX, &viewY, nullptr, nullptr);
  const double zoom = browser->GetZoomLevel() / 100;
  const int x = static_cast<int>(std::lround((left - viewX) * zoom));
  const int y = static_cast<int>(std::lround((top - viewY) * zoom));
  return {x, y, static_cast<int>(std::lround((right - viewX) * zoom)) - x,
          static_cast<int>(std::lround((bottom - viewY) * zoom)) - y};
}

bool findHole(LARKA::ILarkaBrowser* browser, LARKA::LarkaPluginWidget& plugin, PluginHole& hole) {
  if (!plugin.IsVisible()) return false;
  const double x = plugin.GetX(), y = plugin.GetY();
  hole.place = inView(browser, x, y, x + plugin.GetWidth(), y + plugin.GetHeight());
  hole.visible = hole.place;
  double left = 0, top = 0, right = 0, bottom = 0;
  const std::string clip = plugin.ExecuteJS(kClip);
  if (sscanf(clip.c_str(), "%lf %lf %lf %lf", &left, &top, &right, &bottom) == 4)
    hole.visible = inView(browser, x + left, y + top, x + right, y + bottom);
  hole.data = plugin.GetUserData();
  hole.under = plugin.GetTagName() == "VIDEO";
  const SDL_Rect view = {0, 0, browser->GetWidth(), browser->GetHeight()};
  return SDL_IntersectRect(&hole.visible, &view, &hole.visible) == SDL_TRUE;
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
