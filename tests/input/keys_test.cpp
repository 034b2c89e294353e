// Keys as plug-ins get them, and double clicks. What pages get, their script sees.
#include <gtest/gtest.h>

#include <QApplication>
#include <QKeyEvent>
#include <memory>

#include "input/DoubleClick.h"
#include "input/KeyEvent.h"

namespace {

TEST(KeyEventTest, PluginsGetTheArrowsAsCharacters) {
  QString keys;  // code:key,text,modifiers
  int bit = 0;
  for (int code : {8, 37, 40, 48, 58, 90, 122, 256, 265, 270, 273, 274, 275, 276, 282}) {
    const std::unique_ptr<QKeyEvent> event(
        LARKA::createKeyEventFromVirtualKeyCode(code, 1 << bit++ % 8, QEvent::KeyPress, true));
    keys += QString("%1:%2,%3,").arg(code).arg(event->key()).arg(event->text()[0].unicode()) +
            QString::number(event->modifiers() >> 25) + " ";
  }
  EXPECT_EQ(keys.toStdString(),
            "8:0,8,2 37:37,0,2 40:40,0,4 48:48,48,4 58:0,58,1 90:90,90,1 122:90,122,8 "
            "256:48,256,16 265:57,265,18 270:43,270,18 273:0,38,4 274:0,40,4 275:0,39,1 "
            "276:0,37,1 282:0,282,8 ");
}

TEST(DoubleClickTest, IsQuickAndAtOnePlace) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  int none = 0;
  const QApplication application(none, nullptr);
  const int far = QApplication::startDragDistance(), interval = QApplication::doubleClickInterval();
  for (const auto& [dragged, time, isDouble] :
       {std::tuple(far - 1, interval, true), {0, interval + 1, false}, {far, 0, false}}) {
    LARKA::DoubleClick click;
    click.press(QPoint(0, 0), 0);
    click.release(QPoint(dragged, 0));
    EXPECT_EQ(click.press(QPoint(0, 0), time) == QEvent::MouseButtonDblClick, isDouble);
    EXPECT_EQ(click.press(QPoint(0, 0), time), QEvent::MouseButtonPress) << "not released";
  }
}

}  // namespace
