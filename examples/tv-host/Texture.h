// The page image as a texture. To lift: the upload of what changed, and nothing else.
#pragma once

#include <larka/larka.h>

#include <vector>

#include "Sdl.h"

namespace tv {

class Texture {
 public:
  explicit Texture(SDL_Renderer* renderer) : m_renderer(renderer) {}

  // Takes over what changed: call it in OnDirty. Returns how many bytes it uploaded.
  long long update(LARKA::ILarkaBrowser* browser);

  // Draws the top left of the image, as large as `place`. With `seeThrough` what is there already
  // shows where the page is transparent.
  void draw(const SDL_Rect& place, bool seeThrough) const;

  // Returns a picture of the image, a quarter as wide and high.
  Owned<SDL_Texture> thumbnail(LARKA::ILarkaBrowser* browser) const;

 private:
  long long upload(const LARKA::Rectangle& part, const unsigned char* image, int stride);

  SDL_Renderer* m_renderer;
  int m_width = 0, m_height = 0;
  Owned<SDL_Texture> m_texture;
  std::vector<Uint32> m_straight;  // a part whose alpha isn't premultiplied
};

}  // namespace tv
