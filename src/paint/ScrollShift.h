// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QMargins>
#include <QPoint>
#include <QRect>
#include <QRegion>

#include "paint/ImageScale.h"

namespace LARKA {

/// What has been scrolled since the page image was painted. If that was the page alone, and not a
/// frame in it, the image is moved, and only what has come into view is painted.
class ScrollShift {
 public:
  /// Notes that QtWebKit has scrolled `rect` of the view by `delta`.
  void add(const QPoint& delta, const QRect& rect);

  bool isPending() const { return !m_delta.isNull(); }

  /// Returns whether an image of the part `shown` of the view can be moved to the page's scroll
  /// position, now `position`.
  bool leadsTo(const QPoint& position, const QRect& shown, const ImageScale& scale) const;

  /// Returns how far what was announced of changes may have been scrolled since, or before.
  /// QtWebKit announces scrolls at once and changes later, so nobody knows which came first.
  QMargins reach() const;

  /// Moves the pixels and returns what has come into view, in pixels of the image. To be called
  /// only if leadsTo() is true.
  QRegion apply(QImage* image, const ImageScale& scale) const;

  /// Notes the scroll position of the page image after a paint. `whole` tells whether all of it has
  /// that position.
  void painted(const QPoint& position, bool whole);

 private:
  QPoint m_delta;
  QRect m_way{0, 0, 1, 1};  // spanned by m_delta after each scroll
  QRect m_rect;
  bool m_plain = false;  // whether m_delta and m_rect tell all
  QPoint m_position;     // of the page image
};

}  // namespace LARKA
