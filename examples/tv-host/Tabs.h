// The open pages, with a strip of tabs above them if there are several. To lift: how browsers that
// aren't seen rest.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Browser.h"
#include "Canvas.h"

namespace tv {

class Tabs {
 public:
  Tabs(LARKA::BrowserManager& manager, BrowserOwner& owner, SDL_Renderer* renderer);

  // Null without any.
  Browser* active() const;
  int count() const { return static_cast<int>(m_browsers.size()); }
  int activeIndex() const { return m_active; }
  // How many rows of the screen the strip takes; the page has the rest.
  int stripHeight() const { return count() > 1 ? kStrip : 0; }

  // Opens a page in the active tab, or in a new one.
  void open(const std::string& address);
  void openNew(const std::string& address);
  void close();
  void next();
  // Shows the active browser, or lets all of them rest.
  void show(bool visible);

  void click(SDL_Point point);
  void draw(Canvas& canvas) const;

 private:
  static constexpr int kStrip = 48;

  void activate(int index);
  SDL_Rect area(int index) const;

  LARKA::BrowserManager& m_manager;
  BrowserOwner& m_owner;
  SDL_Renderer* m_renderer;
  std::vector<std::unique_ptr<Browser>> m_browsers;
  int m_active = 0;
};

}  // namespace tv
