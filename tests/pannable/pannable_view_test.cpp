// A view to drag, fling and tap: the example's strip of posters, worked with the pointer.
#include "larka/PannableView.h"

#include <gtest/gtest.h>

#include <QGraphicsView>
#include <QtTest>

#include "Clock.h"
#include "PosterStrip.h"

namespace {

using test::Clock;

const int kWidth = 400, kHeight = 240;

class PannableViewTest : public testing::Test {
 protected:
  PannableViewTest() {
    window.setFrameShape(QFrame::NoFrame);
    window.resize(500, 300);
    scene.addItem(view);
    view->setWidget(strip);
    window.show();
    Clock::stop();
  }
  ~PannableViewTest() override { delete strip; }
  QGraphicsWidget* inner() { return static_cast<QGraphicsWidget*>(view->childItems().value(0)); }

  void swipe(QPoint from, QPoint by, int milliseconds, Qt::MouseButton button = Qt::LeftButton) {
    QTest::mousePress(window.viewport(), button, {}, from);
    Clock::pass(milliseconds);
    QMouseEvent move(QEvent::MouseMove, from + by, Qt::NoButton, button, {});
    QApplication::sendEvent(window.viewport(), &move);
    QTest::mouseRelease(window.viewport(), button, {}, from + by);
  }
  void tap(QPoint point) { swipe(point, {0, 0}, 20); }

  bool offscreen = qputenv("QT_QPA_PLATFORM", "offscreen");
  int none = 0;
  QApplication application{none, nullptr};
  QGraphicsScene scene{0, 0, 500, 300};
  QGraphicsView window{&scene};
  QPointer<PannableView> view = new PannableView(Qt::Horizontal, kWidth, kHeight, nullptr);
  QPointer<PosterStrip> strip = new PosterStrip(20);
};

// In each 30 ms the speed of 1000 pixels per second moves the content by 0.03 s of itself and loses
// 44.145 pixels per second. What leaves an edge springs back to it.
TEST_F(PannableViewTest, ASwipeKeepsToTheDirectionItMostlyHasAndSlowsDown) {
  auto* field = new QGraphicsWidget;
  field->resize(4000, 3000);  // without a preferred size
  view->setWidget(field);
  const Qt::Orientations kX = Qt::Horizontal, kY = Qt::Vertical, kBoth = kX | kY;
  const struct {
    Qt::Orientations orientation;
    QPoint from, by;
    int milliseconds, glides;
    QPoint end;
  } kRows[] = {{kX, {-1000, -1000}, {-100, 30}, 100, 730, {-1454, -1000}},
               {kY, {-1000, -1000}, {30, -100}, 100, 730, {-1000, -1454}},
               {kBoth, {-1000, -1000}, {-100, -150}, 100, 730, {-1454, -1150}},
               {kBoth, {-1000, -1000}, {-150, -151}, 100, 1060, {-1150, -1949}},
               {kBoth, {-1000, -1000}, {-151, -160}, 100, 1060, {-1949, -2049}},
               {kBoth, {-1000, -1000}, {0, -180}, 100, 0, {-1000, -1180}},
               {kX, {0, 0}, {100, 0}, 100, 0, {0, 0}},
               {kX, {-3750, 0}, {100, 0}, 100, 0, {-3600, 0}},
               {kX, {-3610, 0}, {0, 0}, 100, 0, {-3600, 0}},
               {kX, {-50, 0}, {40, 0}, 30, 60, {0, 0}},
               {kX, {0, 0}, {-100, 0}, 0, 60, {-3600, 0}}};
  for (const auto& [orientation, from, by, milliseconds, glides, end] : kRows) {
    view->setOrientation(orientation);
    inner()->setPos(from);
    QSignalSpy moved(view, &PannableView::posChanged);
    swipe({280, 190}, by, milliseconds);
    EXPECT_TRUE(moved.isEmpty() || !view->isScrolling()) << "dragging sends no signal";
    EXPECT_NEAR(Clock::passUntil([this] { return !view->isScrolling(); }), glides, 40);
    Clock::pass(900);
    EXPECT_EQ(inner()->pos().toPoint(), end) << from.x() << by.x();
    const QRectF shown(-inner()->pos(), view->size());
    EXPECT_TRUE(moved.isEmpty() || moved.last()[0].toRectF() == shown);
  }
}

TEST_F(PannableViewTest, AShortClickIsATapUnlessItStopsAGlide) {
  QSignalSpy tapped(view, &PannableView::tapped);
  const Qt::MouseButton kLeft = Qt::LeftButton, kRight = Qt::RightButton;
  const std::tuple<int, Qt::MouseButton, int, bool> kSwipes[] = {
      {0, kLeft, 1, false}, {-19, kLeft, 2, false}, {-20, kLeft, 2, true},
      {0, kLeft, 2, false}, {0, kLeft, 3, false},   {-60, kRight, 3, false}};
  for (const auto& [by, button, taps, glides] : kSwipes) {
    const double before = inner()->x();
    swipe({200, 100}, {by, 0}, 20, button);
    EXPECT_EQ(inner()->x(), before + (button == kLeft ? by : 0));
    EXPECT_EQ(tapped.count(), taps) << by;
    EXPECT_EQ(view->isScrolling(), glides) << by;
  }
}

TEST_F(PannableViewTest, MovesToItsEndsAndToItems) {
  view->moveToEnd();
  EXPECT_EQ(inner()->x(), 3580 - kWidth);
  view->moveToBegin();
  EXPECT_EQ(inner()->x(), 0);
  swipe({300, 100}, {-100, 0}, 100);
  QGraphicsWidget outside;
  strip->posters()[9]->setY(50);
  view->moveToItem(strip->posters()[9]);
  view->moveToItem(&outside);
  EXPECT_FALSE(view->isScrolling());
  Clock::pass(900);
  EXPECT_EQ(inner()->pos().toPoint(), QPoint(-9 * 180 + 120, 0));
}

// As large as it prefers, or as the host made it if that is more.
TEST_F(PannableViewTest, ShowsAnyContentAndHandsItBack) {
  auto* column = new QGraphicsWidget;
  auto* row = new PannableView(Qt::Horizontal, kWidth, kHeight, column);
  row->setWidget(strip);
  view->moveToEnd();
  view->setWidget(column);  // leaves the strip where it is now
  EXPECT_EQ(inner()->pos(), QPointF(0, 0));
  view->setOrientation(Qt::Vertical);
  QSignalSpy inside(row, &PannableView::tapped);
  const int kSizes[][3] = {{1000, 0, 1000}, {700, 2000, 2000}, {700, 700, 700}, {500, 0, 500}};
  for (const auto& [prefers, given, height] : kSizes) {
    column->setPreferredSize(kWidth, prefers);
    if (given) column->resize(kWidth, given);
    tap({200, 100});
    view->moveToEnd();
    EXPECT_EQ(inner()->y(), height - kHeight) << prefers << " " << given;
    view->moveToBegin();
  }
  EXPECT_EQ(inside.count(), 4);
  EXPECT_EQ(strip->posters()[1]->lastPress(), QPointF(20, 100));
  view->setWidget(nullptr);
  EXPECT_TRUE(!column->scene() && !column->parentItem());
  delete column;
}

}  // namespace
