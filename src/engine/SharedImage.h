// SPDX-License-Identifier: MIT
#pragma once

#include <QRegion>
#include <vector>

#include "larka/extras.h"

namespace LARKA {

/// Two copies of an image, in memory that the host can map: it sees one of them while the other is
/// written.
class SharedImage {
 public:
  SharedImage() = default;
  ~SharedImage();
  SharedImage(const SharedImage&) = delete;
  SharedImage& operator=(const SharedImage&) = delete;

  /// Whether it has the copies of these pixels.
  bool isOf(const unsigned char* pixels, int stride, int rows) const {
    return m_source == pixels && m_stride == stride && m_rows == rows;
  }

  /// Makes a file with a new copy; the host is to see the first half. Nothing is made of null.
  /// Returns the file, which this closes with the next one; -1 if there is none.
  int make(const unsigned char* pixels, int stride, int rows);

  std::vector<Rectangle> whole() const {
    if (!m_copies) return {};
    return {{0, 0, m_stride / 4, m_rows}};
  }

  /// Returns the half that the host sees.
  int seen() const { return m_seen; }

  /// Brings the half that the host doesn't see up to date, for it to be seen from now on. `parts`
  /// have changed since the last time; what is outside of the image is taken out of them. Returns
  /// the half.
  int update(std::vector<Rectangle>* parts);

 private:
  void clear();
  size_t bytes() const;
  void copy(const QRegion& region) const;
  unsigned char* half() const;

  const unsigned char* m_source = nullptr;
  int m_stride = 0, m_rows = 0;
  int m_file = -1;
  unsigned char* m_copies = nullptr;
  int m_seen = 0;    // the half that the host sees
  QRegion m_missed;  // what the other one lacks
};

}  // namespace LARKA
