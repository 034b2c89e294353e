// SPDX-License-Identifier: MIT
#include "paint/ScrollShift.h"

#include <cstring>

namespace LARKA {

void ScrollShift::add(const QPoint& delta, const QRect& rect) {
  if (m_delta.isNull()) m_rect = rect;
  if (m_rect != rect) m_plain = false;
  m_delta += delta;
  m_way |= QRect(m_delta, QSize(1, 1));
}

bool ScrollShift::leadsTo(const QPoint& position, const QRect& image) const {
  if (!m_plain || m_position - m_delta != position) return false;
  const QRect kept = (m_rect & image) & (m_rect & image).translated(m_delta);
  const bool keepsMost = 2 * kept.width() * kept.height() > image.width() * image.height();
  return m_delta.isNull() || keepsMost;
}

QMargins ScrollShift::reach() const {
  return QMargins(m_way.right() - m_delta.x(), m_way.bottom() - m_delta.y(),
                  m_delta.x() - m_way.left(), m_delta.y() - m_way.top());
}

QRegion ScrollShift::apply(QImage* image) const {
  if (m_delta.isNull()) return QRegion();
  const QRect area = m_rect & image->rect();
  const QRect target = area & area.translated(m_delta);
  const size_t bytes = size_t(target.width()) * sizeof(QRgb);
  for (int i = 0; i < target.height(); ++i) {
    const int y = m_delta.y() > 0 ? target.bottom() - i : target.top() + i;
    const uchar* source = image->constScanLine(y - m_delta.y()) +
                          (target.left() - m_delta.x()) * static_cast<int>(sizeof(QRgb));
    memmove(image->scanLine(y) + target.left() * static_cast<int>(sizeof(QRgb)), source, bytes);
  }
  return QRegion(area) - target;
}

void ScrollShift::painted(const QPoint& position, bool whole) {
  m_delta = QPoint();
  m_way = QRect(0, 0, 1, 1);
  m_plain = whole;
  m_position = position;
}

}  // namespace LARKA
