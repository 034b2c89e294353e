// Keys as plug-ins get them, and double clicks. What pages get, their script sees.
#include <gtest/gtest.h>

#include <QApplication>
#include <QKeyEvent>
#include <climits>
#include <memory>

#include "input/DoubleClick.h"
#include "input/KeyEvent.h"

namespace {

TEST(KeyEventTest, PluginsGetTheArrowsAsCharacters) {
  const std::tuple<int, int, int, int> kKeys[] = {
      // code, modifiers; key, text
      {8, 0x80, 0, 8},
      {37, 0, 37, 0},
      {38, 0, 38, 0},
      {39, 0, 39, 0},
      {40, 0, 40, 0},
      {273, 0, 0, 38},
      {274, 0, 0, 40},
      {275, 0, 0, 39},
      {276, 0, 0, 37},
      {13, 0, Qt::Key_Return, 13},
      {'z', 0x01, Qt::CTRL | Qt::Key_Z, 'z'},
      {'Z', 0x02, Qt::CTRL | Qt::Key_Z, 'Z'},
      {':', 0x04, Qt::ALT, ':'},
      {'0', 0x08, Qt::ALT | Qt::Key_0, '0'},
      {256, 0x10, Qt::SHIFT | Qt::KeypadModifier | Qt::Key_0, 256},
      {265, 0x20, Qt::SHIFT | Qt::KeypadModifier | Qt::Key_9, 265},
      {281, 0x40, Qt::META | Qt::Key_PageDown, 281},
      {282, 0, 0, 282}};
  for (const auto& [code, modifiers, key, text] : kKeys) {
    const std::unique_ptr<QKeyEvent> event(
        LARKA::createKeyEventFromVirtualKeyCode(code, modifiers, QEvent::KeyPress, true));
    EXPECT_EQ(event->key() | static_cast<int>(event->modifiers()), key) << code;
    EXPECT_EQ(event->text(), QString(QChar(text))) << code;
  }
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
