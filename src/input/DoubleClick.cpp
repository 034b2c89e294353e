// SPDX-License-Identifier: MIT
#include "input/DoubleClick.h"

#include <QApplication>
#include <QPointF>

namespace LARKA {

QEvent::Type DoubleClick::press(const QPoint& point, qint64 now) {
  const bool second = m_first == kClicked && isSamePlace(point) &&
                      now - m_time <= QApplication::doubleClickInterval();
  m_first = second ? kNothing : kPressed;
  m_point = point;
  m_time = now;
  return second ? QEvent::MouseButtonDblClick : QEvent::MouseButtonPress;
}

void DoubleClick::release(const QPoint& point) {
  move(point);
  if (m_first == kPressed) m_first = kClicked;
}

void DoubleClick::move(const QPoint& point) {
  if (!isSamePlace(point)) m_first = kNothing;
}

// The distance within which QtWebKit counts the third click.
bool DoubleClick::isSamePlace(const QPoint& point) const {
  return (QPointF(point) - m_point).manhattanLength() < QApplication::startDragDistance();
}

}  // namespace LARKA
