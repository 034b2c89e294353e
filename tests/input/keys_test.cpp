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
  for (const auto& [code, modifiers, key, text, held] : {std::tuple(8, 0, 0, 8, 0),
                                                         {38, 0, 38, 0, 0},
                                                         {48, 1, 48, 48, 2},
                                                         {58, 2, 0, 58, 2},
                                                         {90, 4, 90, 90, 4},
                                                         {122, 8, 90, 122, 4},
                                                         {273, 16, 0, 38, 1},
                                                         {274, 32, 0, 40, 1},
                                                         {275, 64, 0, 39, 8},
                                                         {276, 128, 0, 37, 0},
                                                         {256, 0, 48, 256, 16},
                                                         {282, 0, 0, 282, 0}}) {
    const std::unique_ptr<QKeyEvent> event(
        LARKA::createKeyEventFromVirtualKeyCode(code, modifiers, QEvent::KeyPress, true));
    const auto seen =
        std::tuple(event->key(), event->text()[0].unicode(), event->modifiers() >> 25);
    EXPECT_EQ(seen, std::tuple(key, text, held)) << code;
  }
}

TEST(DoubleClickTest, IsQuickAndAtOnePlace) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  int none = 0;
  const QApplication application(none, nullptr);
  const int far = QApplication::startDragDistance(), near = far - 1;
  const int interval = QApplication::doubleClickInterval();
  for (const auto& [press, release, move, again, time, presses] :
       {std::tuple(0, near, near, near, interval, "12121"),
        {0, 0, 0, 0, interval + 1, "11"},
        {0, 0, 0, far, 0, "11"},
        {0, 0, far, 0, 0, "11"},
        {0, far, 0, 0, 0, "11"},
        {INT_MIN, INT_MIN, INT_MIN, INT_MAX, 0, "11"}}) {
    LARKA::DoubleClick click;
    click.press(QPoint(press, 0), 0);
    click.release(QPoint(release, 0));
    click.move(QPoint(move, 0));
    std::string seen = "1";
    for (const char* each = presses + 1; *each; ++each) {
      const auto type = click.press(QPoint(again, 0), time);
      seen += type == QEvent::MouseButtonDblClick ? "2" : "1";
      click.release(QPoint(again, 0));
    }
    EXPECT_EQ(seen, presses) << press << release << move << again << time;
  }
}

}  // namespace
