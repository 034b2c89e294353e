// SPDX-License-Identifier: MIT
#include "paint/ImageScale.h"

#include <algorithm>
#include <cmath>

namespace LARKA {

namespace {

const double kRounding = 1e-6;  // what a product may lack of a whole number

int inRange(double pixels) {
  const double kMost = 1 << 30;  // a page's rectangles reach the limits of an int
  return static_cast<int>(std::max(-kMost, std::min(pixels, kMost)));
}

int roundedDown(double pixels) { return inRange(std::floor(pixels + kRounding)); }

int roundedUp(double pixels) { return inRange(std::ceil(pixels - kRounding)); }

/// Returns the smallest rectangle that contains the scaled one.
QRect scaled(const QRect& rect, double factor) {
  const QPoint first(roundedDown(rect.x() * factor), roundedDown(rect.y() * factor));
  const QPoint end(roundedUp((rect.x() + double(rect.width())) * factor),
                   roundedUp((rect.y() + double(rect.height())) * factor));
  return QRect(first, end - QPoint(1, 1));
}

}  // namespace

QRect ImageScale::toImage(const QRect& view) const {
  return m_ratio == 1 ? view : scaled(view, m_ratio);
}

QRect ImageScale::insideImage(const QRect& view) const {
  if (m_ratio == 1) return view;
  const QPoint first(roundedUp(view.x() * m_ratio), roundedUp(view.y() * m_ratio));
  const QPoint end(roundedDown((view.x() + double(view.width())) * m_ratio),
                   roundedDown((view.y() + double(view.height())) * m_ratio));
  return QRect(first, end - QPoint(1, 1));
}

QRect ImageScale::toView(const QRect& image) const {
  return m_ratio == 1 ? image : scaled(image, 1 / m_ratio);
}

std::optional<QPoint> ImageScale::wholePixels(const QPoint& view) const {
  const QRect point = toImage(QRect(view, QSize(0, 0)));
  if (point.size() != QSize(0, 0)) return std::nullopt;
  return point.topLeft();
}

}  // namespace LARKA
