// Keys as plug-ins get them, and double clicks. What pages get, their script sees.
#include <gtest/gtest.h>

#include <QApplication>
#include <QKeyEvent>
#include <climits>
#include <memory>

#include "input/DoubleClick.h"
#include "input/KeyEvent.h"

namespace {

std::unique_ptr<QKeyEvent> pluginKey(int code, int modifiers) {
  return std::unique_ptr<QKeyEvent>(
      LARKA::createKeyEventFromVirtualKeyCode(code, modifiers, QEvent::KeyPress, true));
}

TEST(KeyEventTest, PluginsGetTheArrowsAsCharacters) {
  QString keys, modifiers;  // code:key,text
  for (int code : {8, 37, 38, 39, 40, 48, 58, 90, 122, 256, 265, 270, 273, 274, 275, 276, 282}) {
    const auto event = pluginKey(code, 0);
    keys += QString("%1:%2,%3 ").arg(code).arg(event->key()).arg(event->text()[0].unicode());
    EXPECT_EQ(event->modifiers() == Qt::KeypadModifier, code >= 256 && code <= 270) << code;
  }
  EXPECT_EQ(keys,
            "8:0,8 37:37,0 38:38,0 39:39,0 40:40,0 48:48,48 58:0,58 90:90,90 122:90,122 "
            "256:48,256 265:57,265 270:43,270 273:0,38 274:0,40 275:0,39 276:0,37 282:0,282 ");
  for (int bit = 0; bit < 8; ++bit)
    for (Qt::KeyboardModifiers each :
         {Qt::ControlModifier, Qt::AltModifier, Qt::ShiftModifier, Qt::MetaModifier})
      if (pluginKey('a', 1 << bit)->modifiers() == each) modifiers += QString::number(each >> 25);
  EXPECT_EQ(modifiers, "2244118");
}

TEST(DoubleClickTest, IsQuickAndAtOnePlace) {
  int argc = 3;
  char program[] = "test", option[] = "-platform", offscreen[] = "offscreen";
  char* argv[] = {program, option, offscreen, nullptr};
  const QApplication application(argc, argv);
  const int far = QApplication::startDragDistance(), near = far - 1;
  const int interval = QApplication::doubleClickInterval();
  const std::tuple<const char*, int, int, int, int, int, bool> kRows[] = {
      {"in time and near", 0, near, near, near, interval, true},
      {"late", 0, 0, 0, 0, interval + 1, false},
      {"elsewhere", 0, 0, 0, far, 0, false},
      {"moved away meanwhile", 0, 0, far, 0, 0, false},
      {"dragged away", 0, far, 0, 0, 0, false},
      {"at the other end", INT_MIN, INT_MIN, INT_MIN, INT_MAX, 0, false}};
  for (const auto& [name, press, release, move, again, time, isDouble] : kRows) {
    LARKA::DoubleClick click;
    click.press(QPoint(press, 0), 0);
    click.release(QPoint(release, 0));
    click.move(QPoint(move, 0));
    std::string presses;
    for (const bool released : {true, false, true, true}) {
      const auto type = click.press(QPoint(again, 0), time);
      presses += type == QEvent::MouseButtonDblClick ? "2" : "1";
      if (released) click.release(QPoint(again, 0));
    }
    EXPECT_EQ(presses, isDouble ? "2112" : "1212") << name;
  }
}

}  // namespace
