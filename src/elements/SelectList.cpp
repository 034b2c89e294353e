// SPDX-License-Identifier: MIT
#include "elements/SelectList.h"

#include <QKeyEvent>
#include <algorithm>
#include <tuple>
#include <utility>

namespace LARKA {

namespace {

const qint64 kTypingMilliseconds = 1000;

auto fields(const ListItem& item) {
  return std::tie(item.kind, item.text, item.group, item.enabled, item.selected, item.index);
}

}  // namespace

bool operator==(const ListItem& a, const ListItem& b) {
  return fields(a) == fields(b) && a.background == b.background && a.foreground == b.foreground;
}

SelectList::SelectList(std::vector<ListItem> items) : m_items(std::move(items)) {
  const auto chosen = std::find_if(m_items.begin(), m_items.end(), [](const ListItem& item) {
    return item.selected && item.isChoosable();
  });
  m_highlighted =
      chosen == m_items.end() ? choosableFrom(0, 1) : static_cast<int>(chosen - m_items.begin());
}

void SelectList::setItems(std::vector<ListItem> items) {
  m_items = std::move(items);
  if (!isChoosable(m_highlighted)) m_highlighted = choosableFrom(0, 1);
  bringIntoView();
}

void SelectList::setRows(int rows) {
  if (rows == m_rows) return;
  if (m_rows == 0) m_first = m_highlighted - rows / 2;
  m_rows = rows;
  bringIntoView();
}

bool SelectList::isChoosable(int line) const {
  return line >= 0 && line < size() && m_items[static_cast<size_t>(line)].isChoosable();
}

/// Returns the first line from `line` on, forwards or backwards, that can be chosen; otherwise -1.
int SelectList::choosableFrom(int line, int step) const {
  while (line >= 0 && line < size() && !isChoosable(line)) line += step;
  return isChoosable(line) ? line : -1;
}

void SelectList::highlight(int line) {
  if (isChoosable(line)) m_highlighted = line;
}

void SelectList::scroll(int lines) {
  m_first = std::max(0, std::min(m_first + lines, size() - m_rows));
  if (m_highlighted < m_first) m_highlighted = choosableFrom(m_first, 1);
  if (m_highlighted >= m_first + m_rows) m_highlighted = choosableFrom(m_first + m_rows - 1, -1);
  if (m_highlighted < 0) m_highlighted = choosableFrom(0, 1);
}

// Beyond the last one that can be chosen it stays there. Then the label above the first one, say,
// comes into view.
void SelectList::moveTo(int line, int step) {
  line = std::max(0, std::min(line, size() - 1));
  int found = choosableFrom(line, step);
  if (found < 0) found = choosableFrom(line, -step);
  if (found >= 0) m_highlighted = found;
  bringIntoView();
  if (m_highlighted == choosableFrom(0, 1) && m_highlighted < m_rows) m_first = 0;
}

void SelectList::bringIntoView() {
  const int line = std::max(m_highlighted, 0);
  m_first = std::max(std::min(m_first, line), line - m_rows + 1);
  m_first = std::max(0, std::min(m_first, size() - m_rows));
}

bool SelectList::isTyping(qint64 now) const {
  return !m_typed.isEmpty() && now - m_typedAt <= kTypingMilliseconds;
}

// Highlights the next line that begins with what was typed. The same letter again goes to the next
// one that begins with it.
void SelectList::find(const QString& text, qint64 now) {
  m_typed = isTyping(now) ? m_typed + text : text;
  m_typedAt = now;
  const bool isOneLetter = m_typed.count(m_typed[0], Qt::CaseInsensitive) == m_typed.size();
  const QString start = isOneLetter ? m_typed.left(1) : m_typed;
  for (int i = isOneLetter ? 1 : 0; i <= size(); ++i) {
    const int line = (std::max(m_highlighted, 0) + i) % size();
    if (!isChoosable(line)) continue;
    if (!m_items[static_cast<size_t>(line)].text.startsWith(start, Qt::CaseInsensitive)) continue;
    return moveTo(line, 1);
  }
}

SelectList::Answer SelectList::press(const QKeyEvent& key, qint64 now) {
  const Answer chosen = m_highlighted < 0 ? Closed : Chosen;
  switch (key.key()) {
    case Qt::Key_Escape:
      return Closed;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      return chosen;
    case Qt::Key_Down:
      return moveTo(m_highlighted + 1, 1), StaysOpen;
    case Qt::Key_Up:
      return moveTo(m_highlighted - 1, -1), StaysOpen;
    case Qt::Key_PageDown:
      return moveTo(m_highlighted + m_rows - 1, 1), StaysOpen;
    case Qt::Key_PageUp:
      return moveTo(m_highlighted - m_rows + 1, -1), StaysOpen;
    case Qt::Key_Home:
      return moveTo(0, 1), StaysOpen;
    case Qt::Key_End:
      return moveTo(size() - 1, -1), StaysOpen;
    default:
      break;
  }
  if (key.key() == Qt::Key_Space && !isTyping(now)) return chosen;
  const bool isText = !key.text().isEmpty() && key.text()[0].isPrint();
  const auto kCommand = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
  if (isText && !(key.modifiers() & kCommand) && size() > 0) find(key.text(), now);
  return StaysOpen;
}

}  // namespace LARKA
