// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QString>
#include <vector>

class QKeyEvent;

namespace LARKA {

/// A line of an open list.
struct ListItem {
  enum Kind { Option, Group, Separator };

  Kind kind = Option;
  QString text;
  QString group;  // the label of its group
  bool enabled = true;
  bool selected = false;
  QColor background;
  QColor foreground;
  int index = 0;  // QtWebKit's, which counts hidden ones too

  bool isChoosable() const { return kind == Option && enabled; }
};

bool operator==(const ListItem& a, const ListItem& b);

/// The lines of an open list, which of them are in view, and which one is highlighted. That one is
/// always in view.
class SelectList {
 public:
  enum Answer { StaysOpen, Chosen, Closed };

  explicit SelectList(std::vector<ListItem> items = {});

  const std::vector<ListItem>& items() const { return m_items; }

  /// Replaces the lines, and highlights the one that was, if it can still be chosen.
  void setItems(std::vector<ListItem> items);

  /// How many lines are in view. At first the highlighted one is in their middle.
  int rows() const { return m_rows; }
  void setRows(int rows);

  int size() const { return static_cast<int>(m_items.size()); }

  /// The first line in view.
  int first() const { return m_first; }

  /// The line that is highlighted; -1 if none can be chosen.
  int highlighted() const { return m_highlighted; }

  /// Highlights a line, if it can be chosen.
  void highlight(int line);

  /// Moves the lines in view. The highlight moves along.
  void scroll(int lines);

  /// Handles a key that was pressed. `now` is in milliseconds, for letters typed in a row.
  Answer press(const QKeyEvent& key, qint64 now);

 private:
  bool isChoosable(int line) const;
  int choosableFrom(int line, int step) const;
  void moveTo(int line, int step);
  void find(const QString& text, qint64 now);
  bool isTyping(qint64 now) const;
  void bringIntoView();

  std::vector<ListItem> m_items;
  int m_rows = 0;  // 0 until it is placed
  int m_first = 0;
  int m_highlighted = -1;
  QString m_typed;
  qint64 m_typedAt = 0;
};

}  // namespace LARKA
