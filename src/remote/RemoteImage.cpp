// SPDX-License-Identifier: MIT
#include "remote/RemoteImage.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "channel/ImageFile.h"

namespace LARKA {

namespace {

const int kLongestSide = 1 << 15;
const qint64 kMostBytes = qint64(1) << 28;

/// Whether a file has both halves and keeps them: else reading them could end the host.
bool hasHalves(int file, int stride, int rows) {
  struct stat status = {};
  const int seals = fcntl(file, F_GET_SEALS);
  return seals >= 0 && (seals & F_SEAL_SHRINK) && fstat(file, &status) == 0 &&
         status.st_size >= 2 * halfOfImageFile(stride, rows);
}

}  // namespace

RemoteImage::~RemoteImage() {
  clear(&m_page);
  clear(&m_other);
  if (m_file >= 0) close(m_file);
}

void RemoteImage::clear(Place* place) {
  if (place->address) munmap(place->address, place->bytes());
  place->address = nullptr;
}

// What the host should write into it stays the host's.
bool RemoteImage::map(Place* place, int half) const {
  void* memory = mmap(place->address, place->bytes(), PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_NORESERVE | (place->address ? MAP_FIXED : 0), m_file,
                      static_cast<off_t>(half * halfOfImageFile(place->stride, place->rows)));
  if (memory != MAP_FAILED) place->address = static_cast<unsigned char*>(memory);
  return memory != MAP_FAILED;
}

RemoteImage::Place* RemoteImage::placeFor(qint64 id, int stride, int rows) {
  const bool isPage =
      m_page.id == id || (m_page.id == 0 && m_page.hasSize(stride, rows)) || !m_page.address;
  Place* place = isPage ? &m_page : &m_other;
  if (!place->hasSize(stride, rows)) clear(place);
  place->id = id;
  place->stride = stride;
  place->rows = rows;
  return place;
}

bool RemoteImage::show(qint64 id, int file, int stride, int rows) {
  if (id == 0) {
    m_shown = nullptr;
    if (file >= 0) close(file);
    return true;
  }
  const bool fits = stride > 0 && stride % 4 == 0 && stride <= kLongestSide * 4 && rows > 0 &&
                    rows <= kLongestSide && qint64(stride) * rows <= kMostBytes &&
                    hasHalves(file, stride, rows);
  std::swap(m_file, file);
  if (file >= 0) close(file);
  m_shown = fits ? placeFor(id, stride, rows) : nullptr;
  return fits && map(m_shown, 0);
}

bool RemoteImage::showHalf(int half, const std::vector<Rectangle>& parts) {
  const int columns = m_shown->stride / 4, rows = m_shown->rows;
  for (const Rectangle& part : parts) {
    if (part.x < 0 || part.y < 0 || part.width < 1 || part.height < 1 || part.x >= columns ||
        part.y >= rows || part.width > columns - part.x || part.height > rows - part.y)
      return false;
  }
  return (half == 0 || half == 1) && map(m_shown, half);
}

}  // namespace LARKA
