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

bool ScrollShift::leadsTo(const QPoint& position, const QRect& shown,
                          const ImageScale& scale) const {
  if (!m_plain || m_position - m_delta != position || !scale.wholePixels(m_delta)) return false;
  const QRect kept = (m_rect & shown) & (m_rect & shown).translated(m_delta);
  const bool keepsMost = 2 * kept.width() * kept.height() > shown.width() * shown.height();
  return m_delta.isNull() || keepsMost;
}

QMargins ScrollShift::reach() const {
  return QMargins(m_way.right() - m_delta.x(), m_way.bottom() - m_delta.y(),
                  m_delta.x() - m_way.left(), m_delta.y() - m_way.top());
}

// Pixels at the edge of the scrolled part, which lie in it only in part, aren't moved.
QRegion ScrollShift::apply(QImage* image, const ImageScale& scale) const {
  if (m_delta.isNull()) return QRegion();
  const QPoint delta = scale.wholePixels(m_delta).value_or(QPoint());
  const QRect area = scale.insideImage(m_rect) & image->rect();
  const QRect target = area & area.translated(delta);
  const size_t bytes = size_t(target.width()) * sizeof(QRgb);
  for (int i = 0; i < target.height(); ++i) {
    const int y = delta.y() > 0 ? target.bottom() - i : target.top() + i;
    const uchar* source = image->constScanLine(y - delta.y()) +
                          (target.left() - delta.x()) * static_cast<int>(sizeof(QRgb));
    memmove(image->scanLine(y) + target.left() * static_cast<int>(sizeof(QRgb)), source, bytes);
  }
  return QRegion(scale.toImage(m_rect) & image->rect()) - target;
}

void ScrollShift::painted(const QPoint& position, bool whole) {
  m_delta = QPoint();
  m_way = QRect(0, 0, 1, 1);
  m_plain = whole;
  m_position = position;
}

}  // namespace LARKA
