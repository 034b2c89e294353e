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
const size_t kMostReplaced = 4;

/// Whether a file has both halves and keeps them: else reading them could end the host.
bool hasHalves(int file, int stride, int rows) {
  struct stat status = {};
  const int seals = fcntl(file, F_GET_SEALS);
  return seals >= 0 && (seals & F_SEAL_SHRINK) && fstat(file, &status) == 0 &&
         status.st_size >= 2 * halfOfImageFile(stride, rows);
}

}  // namespace

RemoteImage::~RemoteImage() {
  replace(&m_page, 0, 0);
  replace(&m_plugin, 0, 0);
  if (m_file >= 0) close(m_file);
}

// An image of the same size gets its address.
void RemoteImage::replace(Place* place, int stride, int rows) {
  if (place->stride == stride && place->rows == rows) return;
  const auto unmap = [bytes = place->bytes()](void* image) { munmap(image, bytes); };
  if (place->address) m_replaced.emplace_back(place->address, unmap);
  if (m_replaced.size() > kMostReplaced) m_replaced.erase(m_replaced.begin());
  *place = {stride, rows};
}

// What the host should write into it stays the host's.
bool RemoteImage::map(Place* place, int half) const {
  void* memory = mmap(place->address, place->bytes(), PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_NORESERVE | (place->address ? MAP_FIXED : 0), m_file,
                      static_cast<off_t>(half * halfOfImageFile(place->stride, place->rows)));
  if (memory != MAP_FAILED) place->address = static_cast<unsigned char*>(memory);
  return memory != MAP_FAILED;
}

bool RemoteImage::show(qint64 id, bool isPage, int file, int stride, int rows) {
  m_id = id;
  m_shown = nullptr;
  if (id == 0) {
    if (file >= 0) close(file);
    return true;
  }
  const bool fits = stride > 0 && stride % 4 == 0 && stride <= kLongestSide * 4 && rows > 0 &&
                    rows <= kLongestSide && qint64(stride) * rows <= kMostBytes &&
                    hasHalves(file, stride, rows);
  std::swap(m_file, file);
  if (file >= 0) close(file);
  if (!fits) return false;
  m_shown = isPage ? &m_page : &m_plugin;
  replace(m_shown, stride, rows);
  return map(m_shown, 0);
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
