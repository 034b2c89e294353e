// An open list: what the keys do, where it lies, and how it looks.
#include "elements/SelectList.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QImage>
#include <QKeyEvent>
#include <QPainter>

#include "paint/ListPainter.h"

namespace {

using LARKA::ListItem;
using LARKA::SelectList;

/// Lines of one letter each: "-a" can't be chosen, "*a" is, a capital is the label of a group.
std::vector<ListItem> lines(const QString& words) {
  std::vector<ListItem> items;
  for (const QString& word : words.split(' ')) {
    ListItem item;
    item.text = word.right(1);
    item.enabled = !word.startsWith('-');
    item.selected = word.startsWith('*');
    item.background = Qt::white;
    item.foreground = Qt::black;
    if (item.text[0].isUpper()) item.kind = ListItem::Group;
    items.push_back(item);
  }
  return items;
}

/// What is in view, with the highlighted line in brackets.
std::string seen(const SelectList& list) {
  std::string text;
  for (int i = list.first(); i < list.first() + list.rows() && i < list.size(); ++i) {
    const std::string letter = list.items()[static_cast<size_t>(i)].text.toStdString();
    text += i == list.highlighted() ? "[" + letter + "]" : letter;
  }
  return text;
}

TEST(SelectListTest, KeysMoveTheHighlightAndKeepItInView) {
  using namespace Qt;
  const struct {
    const char* items;
    std::vector<int> keys;  // a negative number is lines of the wheel, a small one seconds
    const char* seen;
  } rows[] = {{"a b c d *e f", {}, "d[e]f"},           {"a b c d e *f", {}, "de[f]"},
              {"*a b c d", {Key_End}, "bc[d]"},        {"a b c -d", {Key_End}, "ab[c]"},
              {"a b c *d", {Key_Home}, "[a]bc"},       {"G a b c *d", {Key_Home}, "G[a]b"},
              {"*a b c d e", {Key_PageDown}, "ab[c]"}, {"*a b -c -d", {Key_PageDown}, "a[b]c"},
              {"a b c d *e", {Key_PageUp}, "[c]de"},   {"*a -b c", {Key_Down}, "ab[c]"},
              {"-a *b c", {Key_Up}, "a[b]c"},          {"-a -b -c", {Key_Down}, "abc"},
              {"*a b c d e", {-2}, "[c]de"},           {"*a b c d e", {-9}, "[c]de"},
              {"*a b a c a", {Key_A}, "ab[a]"},        {"*a b a c a", {Key_A, Key_A}, "ac[a]"},
              {"a *b c", {Key_A, 2, Key_C}, "ab[c]"},  {"a *b c", {Key_A, Key_C}, "[a]bc"},
              {"a *b c", {Key_A, Key_Space}, "[a]bc"}};
  for (const auto& row : rows) {
    SelectList list(lines(row.items));
    list.setRows(3);
    qint64 now = 0;
    for (const int key : row.keys) {
      if (key < 0) list.scroll(-key);
      if (key >= 0 && key < Key_Space) now += key * 1000;
      if (key < Key_Space) continue;
      const QString text = key <= Key_Z ? QString(QChar(key)) : QString();
      EXPECT_EQ(list.press(QKeyEvent(QEvent::KeyPress, key, NoModifier, text), now),
                SelectList::StaysOpen);
    }
    EXPECT_EQ(seen(list), row.seen) << row.items << " " << (&row - rows);
  }
}

TEST(SelectListTest, LiesBesideItsControlAndInTheView) {
  const std::tuple<QRect, int, bool, QRect> rows[] = {
      {{20, 20, 50, 20}, 5, false, {20, 40, 80, 54}},    // below
      {{20, 170, 50, 20}, 5, false, {20, 116, 80, 54}},  // above
      {{20, 80, 50, 20}, 50, false, {20, 100, 80, 94}},  // where there is more room
      {{20, 110, 50, 20}, 50, false, {20, 6, 80, 104}},
      {{20, 10, 50, 180}, 9, false, {20, 106, 80, 94}},  // over the control
      {{250, 20, 50, 20}, 5, false, {220, 40, 80, 54}},  // as far left as it takes
      {{120, 20, 50, 20}, 5, true, {90, 40, 80, 54}},    // from right to left
      {{10, 20, 50, 20}, 5, true, {0, 40, 80, 54}},
      {{20, 20, 150, 20}, 1, false, {20, 40, 150, 14}}};
  for (const auto& [control, items, rightToLeft, place] : rows) {
    LARKA::ListStyle style;
    style.view = QRect(0, 0, 300, 200);
    style.control = control;
    style.rightToLeft = rightToLeft;
    EXPECT_EQ(LARKA::placeOfList(style, items, 10, 80), place) << &place;
  }
}

TEST(SelectListTest, ShowsWhatCanBeChosenWhatIsAndWhereItIs) {
  int count = 0;
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QGuiApplication application(count, nullptr);
  const auto painted = [](const char* items, int scrolled) {
    SelectList list(lines(items));
    LARKA::ListPainter painter(&list);
    LARKA::ListStyle style;
    style.view = QRect(0, 0, 200, 100);
    style.control = QRect(0, 0, 200, 20);
    painter.measure(style.font);
    painter.arrange(style);
    list.scroll(scrolled);
    list.highlight(1);
    QImage image(200, 100, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter on(&image);
    painter.paint(&on);
    return image;
  };
  const auto darkest = [](const QImage& image, QRect part) {
    int grey = 255;
    for (int y = part.top(); y <= part.bottom(); ++y)
      for (int x = part.left(); x <= part.right(); ++x)
        grey = std::min(grey, qGray(image.pixel(x, y)));
    return grey;
  };
  const QRect first(4, 22, 100, 18);
  EXPECT_LT(darkest(painted("l *a b", 0), first), 60);
  EXPECT_GT(darkest(painted("-l *a b", 0), first), 60) << "it can't be chosen";
  EXPECT_NE(painted("l a *b", 0), painted("l a b", 0));
  const char many[] = "*a b c d e f g h i j k l m n o p";
  const QRect top(193, 24, 4, 4), bottom(193, 88, 4, 4);
  EXPECT_LT(darkest(painted(many, 0), top), darkest(painted(many, 0), bottom));
  EXPECT_GT(darkest(painted(many, 99), top), darkest(painted(many, 99), bottom));
}

}  // namespace
