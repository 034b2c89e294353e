// SPDX-License-Identifier: MIT
#pragma once

#include <QEvent>
#include <QPoint>

namespace LARKA {

/// Finds out which press is the second of a double click, as Qt does for a mouse. Times are
/// milliseconds of any clock that never goes back.
class DoubleClick {
 public:
  /// Returns QEvent::MouseButtonDblClick if the press follows a click soon enough and at the same
  /// place, else QEvent::MouseButtonPress.
  QEvent::Type press(const QPoint& point, qint64 now);
  void release(const QPoint& point);
  void move(const QPoint& point);

 private:
  bool isSamePlace(const QPoint& point) const;

  enum { kNothing, kPressed, kClicked } m_first = kNothing;
  QPoint m_point;     // of the first press
  qint64 m_time = 0;  // of the first press
};

}  // namespace LARKA
