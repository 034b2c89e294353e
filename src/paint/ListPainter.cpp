// SPDX-License-Identifier: MIT
#include "paint/ListPainter.h"

#include <QFontMetrics>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace LARKA {

namespace {

const int kBorder = 2;
const int kShadow = 6;
const int kMostRows = 20;
const int kFewRows = 3;
const double kLegible = 3.0;

/// Returns the relative luminance of a colour, 0 to 1.
double luminance(const QColor& colour) {
  const auto linear = [](double part) {
    return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
         0.0722 * linear(colour.blueF());
}

double contrast(const QColor& a, const QColor& b) {
  const double first = luminance(a), second = luminance(b);
  return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

/// Returns `colour`, or black or white if it can't be read on `ground`.
QColor legible(const QColor& colour, const QColor& ground) {
  if (contrast(colour, ground) >= kLegible) return colour;
  return contrast(Qt::black, ground) > contrast(Qt::white, ground) ? Qt::black : Qt::white;
}

QColor mixed(const QColor& a, const QColor& b, double share) {
  const auto mix = [share](int x, int y) { return static_cast<int>(x + (y - x) * share); };
  return QColor(mix(a.red(), b.red()), mix(a.green(), b.green()), mix(a.blue(), b.blue()));
}

/// Returns whether two colours differ by no more than a rounding.
bool isSame(const QColor& a, const QColor& b) {
  return std::abs(a.red() - b.red()) <= 2 && std::abs(a.green() - b.green()) <= 2 &&
         std::abs(a.blue() - b.blue()) <= 2;
}

/// Returns how many lines a height has room for.
int rowsIn(int height, int lineHeight) { return std::max(0, (height - 2 * kBorder) / lineHeight); }

}  // namespace

QRect placeOfList(const ListStyle& style, int items, int lineHeight, int width) {
  const QRect& view = style.view;
  const QRect& control = style.control;
  const int below = rowsIn(view.bottom() - control.bottom(), lineHeight);
  const int above = rowsIn(control.top() - view.top(), lineHeight);
  const int wanted = std::min(items, kMostRows);
  const bool isBelow = below >= wanted || below >= above;
  int rows = std::min(wanted, isBelow ? below : above);
  if (rows < std::min(wanted, kFewRows))  // then over the control
    rows = std::max(1, std::min(wanted, rowsIn(view.height(), lineHeight)));
  QRect place(control.left(), 0, std::min(std::max(width, control.width()), view.width()),
              rows * lineHeight + 2 * kBorder);
  if (style.rightToLeft) place.moveRight(control.right());
  place.moveTop(isBelow ? control.bottom() + 1 : control.top() - place.height());
  place.moveRight(std::min(place.right(), view.right()));
  place.moveLeft(std::max(place.left(), view.left()));
  place.moveBottom(std::min(place.bottom(), view.bottom()));
  place.moveTop(std::max(place.top(), view.top()));
  return place;
}

void ListPainter::measure(const QFont& font) {
  QFont bold(font);
  bold.setBold(true);
  const QFontMetrics plain(font), label(bold);
  m_lineHeight = plain.height() + std::max(4, plain.height() / 3);
  int widest = 0;
  for (const ListItem& item : m_list->items()) {
    const int indent = item.group.isEmpty() ? 0 : m_lineHeight / 2;
    const QFontMetrics& metrics = item.kind == ListItem::Group ? label : plain;
    widest = std::max(widest, indent + metrics.horizontalAdvance(item.text));
  }
  m_width = widest + 3 * m_lineHeight / 2 + 2 * kBorder;
}

void ListPainter::arrange(const ListStyle& style) {
  m_style = style;
  m_place = placeOfList(style, m_list->size(), m_lineHeight, m_width);
  m_list->setRows(rowsIn(m_place.height(), m_lineHeight));
}

QRect ListPainter::bounds() const {
  return m_place.isNull() ? QRect() : m_place.adjusted(0, 0, kShadow, kShadow);
}

int ListPainter::thumbWidth() const {
  return m_list->size() > m_list->rows() ? std::max(6, m_lineHeight / 4) : 0;
}

QRect ListPainter::rectOf(int line) const {
  const int top = m_place.top() + kBorder + (line - m_list->first()) * m_lineHeight;
  return QRect(m_place.left() + kBorder, top, m_place.width() - 2 * kBorder, m_lineHeight);
}

int ListPainter::lineAt(const QPoint& point) const {
  for (int row = 0; row < m_list->rows(); ++row)
    if (rectOf(m_list->first() + row).contains(point)) return m_list->first() + row;
  return -1;
}

// QtWebKit takes white for what is behind a transparent `select`.
QColor ListPainter::groundOf(const ListItem& item) const {
  return isSame(item.background, m_style.plain) ? m_style.ground : item.background;
}

void ListPainter::paint(QPainter* painter) const {
  const bool isClippedAway =
      painter->hasClipping() && !painter->clipBoundingRect().intersects(bounds());
  if (m_place.isNull() || isClippedAway) return;
  painter->save();
  painter->setPen(Qt::NoPen);
  for (int i = kShadow; i > 0; --i)
    painter->fillRect(m_place.translated(i, i), QColor(0, 0, 0, 20));
  painter->fillRect(m_place, legible(m_style.ground, m_style.ground));
  painter->fillRect(m_place.adjusted(kBorder, kBorder, -kBorder, -kBorder), m_style.ground);
  for (int row = 0; row < m_list->rows() && row < m_list->size(); ++row)
    paintLine(painter, m_list->first() + row);
  if (thumbWidth() > 0) paintThumb(painter);
  painter->restore();
}

// The highlighted line has the colours of the others, but the other way round.
void ListPainter::paintLine(QPainter* painter, int line) const {
  const ListItem& item = m_list->items()[static_cast<size_t>(line)];
  const QRect rect = rectOf(line);
  QColor back = groundOf(item);
  QColor front = legible(item.foreground, back);
  if (item.kind == ListItem::Option && !item.enabled) front = mixed(front, back, 0.3);
  if (line == m_list->highlighted()) std::swap(front, back);
  painter->fillRect(rect, back);
  if (item.kind == ListItem::Separator)
    painter->fillRect(
        rect.adjusted(m_lineHeight / 2, m_lineHeight / 2 - 1, -m_lineHeight / 2, -m_lineHeight / 2),
        front);
  else
    paintText(painter, line, front);
}

// A dot marks the entry that is chosen now.
void ListPainter::paintText(QPainter* painter, int line, const QColor& colour) const {
  const ListItem& item = m_list->items()[static_cast<size_t>(line)];
  QRect rect = rectOf(line);
  const int margin = m_lineHeight * 3 / 4;
  const int indent = item.group.isEmpty() ? 0 : m_lineHeight / 2;
  const int end = std::max(m_lineHeight / 4, thumbWidth() + 2);
  rect.adjust(m_style.rightToLeft ? end : margin, 0, -(m_style.rightToLeft ? margin : end), 0);
  if (item.selected && item.kind == ListItem::Option) {
    const double size = m_lineHeight / 5.0;
    const double x = m_style.rightToLeft ? rect.right() + margin / 2.0 : rect.left() - margin / 2.0;
    painter->setBrush(colour);
    painter->setPen(Qt::NoPen);
    painter->drawEllipse(QRectF(x - size / 2, rect.center().y() - size / 2, size, size));
  }
  rect.adjust(m_style.rightToLeft ? 0 : indent, 0, m_style.rightToLeft ? -indent : 0, 0);
  QFont font(m_style.font);
  if (item.kind == ListItem::Group) font.setBold(true);
  painter->setFont(font);
  painter->setPen(colour);
  painter->setLayoutDirection(m_style.rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
  const QString text = QFontMetrics(font).elidedText(item.text, Qt::ElideRight, rect.width());
  painter->drawText(rect, Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine, text);
}

void ListPainter::paintThumb(QPainter* painter) const {
  const QRect inside = m_place.adjusted(kBorder, kBorder, -kBorder, -kBorder);
  QRect track(inside.left(), inside.top(), thumbWidth(), inside.height());
  if (!m_style.rightToLeft) track.moveRight(inside.right());
  const QColor front = legible(m_style.ground, m_style.ground);
  painter->fillRect(track, mixed(m_style.ground, front, 0.15));
  const int all = m_list->size();
  const int height = std::max(2 * track.width(), track.height() * m_list->rows() / all);
  const int way = track.height() - height;
  track.setTop(track.top() + way * m_list->first() / std::max(1, all - m_list->rows()));
  track.setHeight(height);
  painter->fillRect(track, mixed(m_style.ground, front, 0.6));
}

}  // namespace LARKA
