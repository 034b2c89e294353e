// SPDX-License-Identifier: MIT
#pragma once

#include <QMargins>
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

  /// Adds a part that comes into view. Text around it may reach into it.
  void addExposed(const QRect& rect);

  /// Makes the rectangles larger that were added so far.
  void extend(const QMargins& margins);

  /// Returns the rectangles to paint, which cover all that were added, and forgets them. They may
  /// overlap.
  std::vector<DirtyRect> take();

 private:
  void add(const DirtyRect& added);
  DirtyRect bounds() const;
  void mergeNeighbours();

  std::vector<DirtyRect> m_rects;
};

}  // namespace LARKA
