// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QFont>
#include <QRect>

#include "elements/SelectList.h"

class QPainter;

namespace LARKA {

/// How an open list looks, and where.
struct ListStyle {
  QRect control;  // what is seen of the `select`, in pixels of the view
  QRect view;     // what the list has to stay in
  QFont font;
  QColor plain = Qt::white;   // what QtWebKit takes for the background of the `select`
  QColor ground = Qt::white;  // what is seen in its place
  bool rightToLeft = false;
};

/// Returns the place of a list of `items` with lines of `lineHeight`, `width` wide unless the
/// control is wider: below the control, or above it if it doesn't fit below, or where there is more
/// room.
QRect placeOfList(const ListStyle& style, int items, int lineHeight, int width);

/// Draws an open list.
class ListPainter {
 public:
  explicit ListPainter(SelectList* list) : m_list(list) {}

  /// Measures the text of a new list, or in another font.
  void measure(const QFont& font);

  /// Places the list, and sets how many lines of it are in view.
  void arrange(const ListStyle& style);

  /// Returns all that is drawn, in pixels of the view; empty before arrange().
  QRect bounds() const;

  /// Returns whether the list is at a point of the view.
  bool contains(const QPoint& point) const { return m_place.contains(point); }

  /// Returns the line at a point of the view; -1 if there is none.
  int lineAt(const QPoint& point) const;

  void paint(QPainter* painter) const;

 private:
  QRect rectOf(int line) const;
  int thumbWidth() const;
  void paintLine(QPainter* painter, int line) const;
  void paintText(QPainter* painter, int line, const QColor& colour) const;
  void paintThumb(QPainter* painter) const;
  QColor groundOf(const ListItem& item) const;

  SelectList* m_list;
  ListStyle m_style;
  QRect m_place;
  int m_lineHeight = 1;
  int m_width = 0;  // with all its text
};

}  // namespace LARKA
