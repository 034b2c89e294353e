#include "Texture.h"

#include <algorithm>

namespace tv {

namespace {

constexpr int kThumbnail = 4;  // pixels of the image in one of the thumbnail, each way

// Larka's pixels are premultiplied. SDL blends them with SDL_ComposeCustomBlendMode, but not in its
// software renderer, so that this host undoes it. A host with shaders doesn't need this.
Uint32 straight(Uint32 pixel) {
  const Uint32 alpha = pixel >> 24U;
  if (alpha == 255 || alpha == 0) return pixel;
  Uint32 result = alpha << 24U;
  for (const Uint32 shift : {0U, 8U, 16U})
    result |= std::min(255U, (pixel >> shift & 255U) * 255U / alpha) << shift;
  return result;
}

const Uint32* rowOf(const unsigned char* image, int stride, int y) {
  return reinterpret_cast<const Uint32*>(image + static_cast<std::ptrdiff_t>(y) * stride);
}

// The mean of a square of pixels.
Uint32 mean(const unsigned char* image, int stride, int left, int top) {
  Uint32 sum[3] = {};
  for (int y = top; y < top + kThumbnail; ++y)
    for (int x = left; x < left + kThumbnail; ++x)
      for (const int i : {0, 1, 2}) sum[i] += rowOf(image, stride, y)[x] >> (8U * i) & 255U;
  constexpr Uint32 count = kThumbnail * kThumbnail;
  return 0xFF000000U | sum[2] / count << 16U | sum[1] / count << 8U | sum[0] / count;
}

}  // namespace

long long Texture::update(LARKA::ILarkaBrowser* browser) {
  const unsigned char* image = browser->GetBrowserImage();
  const LARKA::ImageSize size = LARKA::GetImageSize(browser);
  if (!image || size.width < 1 || size.height < 1) return 0;
  const int stride = browser->GetBrowserStride();
  if (m_texture && size.width == m_width && size.height == m_height) {
    long long bytes = 0;
    for (const LARKA::Rectangle& part : LARKA::GetChangedRectangles(browser))
      bytes += upload(part, image, stride);
    return bytes;
  }
  m_width = size.width;
  m_height = size.height;
  m_texture.reset(SDL_CreateTexture(m_renderer, SDL_PIXELFORMAT_ARGB8888,
                                    SDL_TEXTUREACCESS_STREAMING, m_width, m_height));
  return upload({0, 0, m_width, m_height}, image, stride);
}

long long Texture::upload(const LARKA::Rectangle& part, const unsigned char* image, int stride) {
  m_straight.clear();
  for (int y = part.y; y < part.y + part.height; ++y) {
    const Uint32* row = rowOf(image, stride, y) + part.x;
    std::transform(row, row + part.width, std::back_inserter(m_straight), straight);
  }
  const SDL_Rect place = {part.x, part.y, part.width, part.height};
  SDL_UpdateTexture(m_texture.get(), &place, m_straight.data(), 4 * part.width);
  return 4LL * part.width * part.height;
}

void Texture::draw(const SDL_Rect& place, bool seeThrough) const {
  if (!m_texture) return;
  SDL_SetTextureBlendMode(m_texture.get(), seeThrough ? SDL_BLENDMODE_BLEND : SDL_BLENDMODE_NONE);
  const SDL_Rect from = {0, 0, std::min(place.w, m_width), std::min(place.h, m_height)};
  const SDL_Rect to = {place.x, place.y, from.w, from.h};
  SDL_RenderCopy(m_renderer, m_texture.get(), &from, &to);
}

Owned<SDL_Texture> Texture::thumbnail(LARKA::ILarkaBrowser* browser) const {
  const unsigned char* image = browser->GetBrowserImage();
  const int width = m_width / kThumbnail, height = m_height / kThumbnail;
  if (!image || width < 1 || height < 1) return nullptr;
  std::vector<Uint32> pixels;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      pixels.push_back(mean(image, browser->GetBrowserStride(), x * kThumbnail, y * kThumbnail));
  Owned<SDL_Texture> picture(SDL_CreateTexture(m_renderer, SDL_PIXELFORMAT_ARGB8888,
                                               SDL_TEXTUREACCESS_STATIC, width, height));
  SDL_UpdateTexture(picture.get(), nullptr, pixels.data(), 4 * width);
  return picture;
}

}  // namespace tv
