// SPDX-License-Identifier: MIT
#include "engine/SharedImage.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "channel/ImageFile.h"

namespace LARKA {

namespace {

QRegion regionOf(const std::vector<Rectangle>& parts) {
  QRegion region;
  for (const Rectangle& part : parts) region |= QRect(part.x, part.y, part.width, part.height);
  return region;
}

}  // namespace

SharedImage::~SharedImage() { clear(); }

void SharedImage::clear() {
  if (m_copies) munmap(m_copies, static_cast<size_t>(2 * halfOfImageFile(m_stride, m_rows)));
  if (m_file >= 0) close(m_file);
  m_copies = nullptr;
  m_file = -1;
  m_source = nullptr;
  m_stride = m_rows = 0;
}

// The host may rely on the size: it is sealed.
int SharedImage::make(const unsigned char* pixels, int stride, int rows) {
  clear();
  const auto bytes = 2 * halfOfImageFile(stride, rows);
  if (!pixels || bytes == 0) return -1;
  m_source = pixels;
  m_stride = stride;
  m_rows = rows;
  m_seen = 0;
  m_missed = QRect(0, 0, stride / 4, rows);
  m_file = memfd_create("larka-image", MFD_CLOEXEC | MFD_ALLOW_SEALING);
  if (m_file < 0 || ftruncate(m_file, static_cast<off_t>(bytes)) != 0) return -1;
  fcntl(m_file, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL);
  void* memory =
      mmap(nullptr, static_cast<size_t>(bytes), PROT_READ | PROT_WRITE, MAP_SHARED, m_file, 0);
  if (memory == MAP_FAILED) return -1;
  m_copies = static_cast<unsigned char*>(memory);
  copy(m_missed);
  return m_file;
}

unsigned char* SharedImage::half() const {
  return m_copies + m_seen * halfOfImageFile(m_stride, m_rows);
}

void SharedImage::copy(const QRegion& region) const {
  for (const QRect& part : region) {
    for (int row = part.top(); row <= part.bottom(); ++row) {
      const ptrdiff_t at = ptrdiff_t(row) * m_stride + ptrdiff_t(part.left()) * 4;
      memcpy(half() + at, m_source + at, static_cast<size_t>(part.width()) * 4);
    }
  }
}

int SharedImage::update(std::vector<Rectangle>* parts) {
  const auto isOutside = [this](Rectangle& part) {
    const int right = std::min(part.x + part.width, m_stride / 4);
    const int bottom = std::min(part.y + part.height, m_rows);
    part.x = std::max(part.x, 0);
    part.y = std::max(part.y, 0);
    part.width = right - part.x;
    part.height = bottom - part.y;
    return part.width <= 0 || part.height <= 0;
  };
  parts->erase(std::remove_if(parts->begin(), parts->end(), isOutside), parts->end());
  if (!m_copies) return m_seen;
  m_seen = 1 - m_seen;
  const QRegion changed = regionOf(*parts);
  copy(m_missed | changed);
  m_missed = changed;
  return m_seen;
}

}  // namespace LARKA
