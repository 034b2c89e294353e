// SPDX-License-Identifier: MIT
#include "paint/ImageScale.h"

#include <QtMath>
#include <algorithm>

namespace LARKA {

namespace {

const double kRounding = 1e-6;  // what a product may lack of a whole number

double inRange(double pixels) {
  const double kMost = 1 << 30;  // a page's rectangles reach the limits of an int
  return std::max(-kMost, std::min(pixels, kMost));
}

int roundedDown(double pixels) { return qFloor(inRange(pixels) + kRounding); }

int roundedUp(double pixels) { return qCeil(inRange(pixels) - kRounding); }

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

QPoint ImageScale::scrolled(const QPoint& position) const {
  return QPoint(qFloor(position.x() * m_ratio + 0.5), qFloor(position.y() * m_ratio + 0.5));
}

QTransform ImageScale::transform(const QPoint& position) const {
  const QPointF rest = QPointF(position) * m_ratio - scrolled(position);
  return QTransform(m_ratio, 0, 0, m_ratio, rest.x(), rest.y());
}

}  // namespace LARKA
