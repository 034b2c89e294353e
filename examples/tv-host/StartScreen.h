// The host's first screen: tiles, an address field, and the pages seen last. To lift: the recent
// pages with their thumbnails.
#pragma once

#include <string>
#include <vector>

#include "Browser.h"
#include "Canvas.h"
#include "Keyboard.h"

namespace tv {

class StartScreen {
 public:
  // `demoFolder` has the bundled pages.
  explicit StartScreen(const std::string& demoFolder);

  // Each returns what the viewer chose: an address, kTelevision, or nothing yet.
  std::string press(Key key);
  std::string click(SDL_Point point);

  // Puts a browser's page first among the recent ones.
  void remember(const Browser& browser);

  Keyboard& keyboard() { return m_keyboard; }
  std::string focused() const;
  void draw(Canvas& canvas) const;

  static constexpr char kTelevision[] = "television";

 private:
  struct Tile {
    std::string label, sign, address;
    Colour colour;
  };
  struct Recent {
    std::string title, address;
    Owned<SDL_Texture> picture;
  };

  std::vector<SDL_Rect> areas() const;
  std::string choose(int index);
  std::string takeTyped();
  void drawTile(Canvas& canvas, const Tile& tile, const SDL_Rect& area) const;
  void drawRecent(Canvas& canvas, const Recent& recent, const SDL_Rect& area) const;

  std::vector<Tile> m_tiles;
  std::vector<Recent> m_recent;
  std::string m_typed = "http://";
  bool m_entered = false;
  Keyboard m_keyboard;
  int m_focus = 1;  // the first tile; 0 is the address field
};

// Returns the address that a viewer means: "/a/page.html", "example.com" or a whole one.
std::string addressOf(const std::string& typed);

}  // namespace tv
