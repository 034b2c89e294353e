// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

namespace LARKA {

/// Where the second half of an image's file begins, whatever the size of a page of memory.
inline qint64 halfOfImageFile(int stride, int rows) {
  const qint64 kAlignment = 1 << 16;
  return (qint64(stride) * rows + kAlignment - 1) / kAlignment * kAlignment;
}

}  // namespace LARKA
