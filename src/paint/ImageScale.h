// SPDX-License-Identifier: MIT
#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>
#include <QTransform>
#include <optional>

namespace LARKA {

/// How many pixels of the page image a pixel of the view is, and the way from the one to the other.
class ImageScale {
 public:
  explicit ImageScale(double ratio = 1) : m_ratio(ratio) {}

  double ratio() const { return m_ratio; }

  /// Returns the transformation from the view to the image.
  QTransform transform() const { return QTransform::fromScale(m_ratio, m_ratio); }

  /// Returns the pixels of the image that a rectangle of the view touches.
  QRect toImage(const QRect& view) const;

  /// Returns the pixels of the image that a rectangle of the view covers.
  QRect insideImage(const QRect& view) const;

  /// Returns the pixels of the view that a rectangle of the image touches.
  QRect toView(const QRect& image) const;

  /// Returns a distance in pixels of the image, if it is one in whole pixels.
  std::optional<QPoint> wholePixels(const QPoint& view) const;

 private:
  double m_ratio;
};

}  // namespace LARKA
