// SPDX-License-Identifier: MIT
#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>
#include <QTransform>

namespace LARKA {

/// How many pixels of the page image a pixel of the view is, and the way from the one to the other.
class ImageScale {
 public:
  explicit ImageScale(double ratio = 1) : m_ratio(ratio) {}

  double ratio() const { return m_ratio; }

  /// Returns the pixels of the image that a rectangle of the view touches.
  QRect toImage(const QRect& view) const;

  /// Returns the pixels of the image that a rectangle of the view covers.
  QRect insideImage(const QRect& view) const;

  /// Returns the pixels of the view that a rectangle of the image touches.
  QRect toView(const QRect& image) const;

  /// Returns how many pixels of the image a page is scrolled that is scrolled to `position`.
  QPoint scrolled(const QPoint& position) const;

  /// Returns the transformation from the view to the image, for a page that is scrolled to
  /// `position`. QtWebKit aligns what it paints with whole pixels of the image, counted from the
  /// top left of the page. So these have to be whole pixels of the image, too.
  QTransform transform(const QPoint& position) const;

 private:
  double m_ratio;
};

}  // namespace LARKA
