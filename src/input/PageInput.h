// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include "input/DoubleClick.h"

namespace LARKA {

/// Makes the events that a mouse and a keyboard would make of the host's calls, and remembers where
/// the pointer is. Positions are pixels of the view.
class PageInput {
 public:
  PageInput() { m_clock.start(); }

  QMouseEvent move(const QPoint& point);
  QMouseEvent press(const QPoint& point);
  QMouseEvent release(const QPoint& point);

  /// `delta` is positive upwards or to the left, in eighths of a degree.
  QWheelEvent wheel(int delta, Qt::Orientation orientation) const;

  /// `key` and `modifiers` are in the host's numbering; see larka/KeyCodes.h.
  static QKeyEvent key(QEvent::Type type, int key, int modifiers);

 private:
  QPoint m_pointer;  // of the last move
  Qt::MouseButtons m_heldButtons = Qt::NoButton;
  DoubleClick m_doubleClick;
  QElapsedTimer m_clock;  // of double clicks
};

}  // namespace LARKA
