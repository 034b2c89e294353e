// SPDX-License-Identifier: MIT
#include "input/PageInput.h"

#include <memory>

#include "input/KeyEvent.h"
#include "input/PageKeys.h"

namespace LARKA {

namespace {

QMouseEvent mouseEvent(QEvent::Type type, const QPoint& point, Qt::MouseButton button,
                       Qt::MouseButtons buttons) {
  return QMouseEvent(type, point, point, point, button, buttons, Qt::NoModifier);
}

}  // namespace

QMouseEvent PageInput::move(const QPoint& point) {
  m_pointer = point;
  m_doubleClick.move(point);
  return mouseEvent(QEvent::MouseMove, point, Qt::NoButton, m_heldButtons);
}

// After the first press, moves say for good that the button is held; hosts rely on it.
QMouseEvent PageInput::press(const QPoint& point) {
  m_heldButtons = Qt::LeftButton;
  return mouseEvent(m_doubleClick.press(point, m_clock.elapsed()), point, Qt::LeftButton,
                    Qt::LeftButton);
}

QMouseEvent PageInput::release(const QPoint& point) {
  m_heldButtons = Qt::LeftButton;
  m_doubleClick.release(point);
  return mouseEvent(QEvent::MouseButtonRelease, point, Qt::LeftButton, Qt::NoButton);
}

QWheelEvent PageInput::wheel(int delta, Qt::Orientation orientation) const {
  const QPoint angle = orientation == Qt::Vertical ? QPoint(0, delta) : QPoint(delta, 0);
  return QWheelEvent(m_pointer, m_pointer, QPoint(), angle, Qt::NoButton, Qt::NoModifier,
                     Qt::NoScrollPhase, false);
}

QKeyEvent PageInput::key(QEvent::Type type, int key, int modifiers) {
  const std::unique_ptr<QKeyEvent> event(
      createKeyEventFromVirtualKeyCode(key, modifiers, type, false));
  return pageKeyEvent(*event);
}

}  // namespace LARKA
