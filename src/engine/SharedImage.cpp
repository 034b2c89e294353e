// SPDX-License-Identifier: MIT
#include "engine/SharedImage.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "channel/ImageFile.h"

namespace LARKA {

namespace {

QRegion regionOf(const std::vector<Rectangle>& parts) {
  QRegion region;
  for (const Rectangle& part : parts) region |= QRect(part.x, part.y, part.width, part.height);
  return region;
}

/// A file that is mapped here.
struct MappedFile {
  int file = -1;
  size_t bytes = 0;
  void* memory = nullptr;
};

/// The file of the last browser that was destroyed, for the next one.
MappedFile g_free;

void release(const MappedFile& mapped) {
  if (mapped.memory) munmap(mapped.memory, mapped.bytes);
  if (mapped.file >= 0) close(mapped.file);
}

/// Makes a file of this size, which the host may rely on: it is sealed. Without memory it failed.
MappedFile makeFile(size_t bytes) {
  MappedFile made = {memfd_create("larka-image", MFD_CLOEXEC | MFD_ALLOW_SEALING), bytes, nullptr};
  if (made.file < 0 || ftruncate(made.file, static_cast<off_t>(bytes)) != 0) return made;
  fcntl(made.file, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL);
  void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, made.file, 0);
  if (memory != MAP_FAILED) made.memory = memory;
  return made;
}

}  // namespace

// The host has no use for it any more. Memory that is in use already is there faster.
SharedImage::~SharedImage() {
  if (m_copies)
    release(std::exchange(g_free, {m_file, bytes(), m_copies}));
  else
    clear();
}

size_t SharedImage::bytes() const {
  return static_cast<size_t>(2 * halfOfImageFile(m_stride, m_rows));
}

void SharedImage::clear() {
  release({m_file, bytes(), m_copies});
  m_copies = nullptr;
  m_file = -1;
  m_source = nullptr;
  m_stride = m_rows = 0;
}

int SharedImage::make(const unsigned char* pixels, int stride, int rows) {
  clear();
  if (!pixels || halfOfImageFile(stride, rows) == 0) return -1;
  m_source = pixels;
  m_stride = stride;
  m_rows = rows;
  m_seen = 0;
  m_missed = QRect(0, 0, stride / 4, rows);
  const MappedFile file =
      g_free.bytes == bytes() ? std::exchange(g_free, MappedFile()) : makeFile(bytes());
  m_file = file.file;
  m_copies = static_cast<unsigned char*>(file.memory);
  if (!m_copies) return -1;
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
