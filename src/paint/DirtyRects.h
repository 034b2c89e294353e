// SPDX-License-Identifier: MIT
#pragma once

#include <QRect>
#include <vector>

namespace LARKA {

/// A rectangle to paint. Boxes up to `margin` beside it may reach into it.
struct DirtyRect {
  QRect rect;
  int margin;
};

/// Collects what has to be painted of a page, and merges what is cheaper to paint together.
class DirtyRects {
 public:
  /// Adds a rectangle that QtWebKit announced, with a margin around it.
  void add(const QRect& rect);

  /// Returns the rectangles to paint, which cover all that were added, and forgets them. They may
  /// overlap.
  std::vector<DirtyRect> take();

 private:
  DirtyRect bounds() const;
  void mergeNeighbours();

  std::vector<DirtyRect> m_rects;
};

}  // namespace LARKA
