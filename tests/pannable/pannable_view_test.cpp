// A view to drag, fling and tap: the example's strip of posters, worked with the pointer.
#include "larka/PannableView.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QGraphicsScene>
#include <QGraphicsSceneMouseEvent>
#include <QGraphicsView>
#include <QMouseEvent>
#include <QPointer>
#include <QSignalSpy>

#include "Clock.h"
#include "PosterStrip.h"

namespace {

using test::Clock;

const int kWidth = 400, kHeight = 240, kPosters = 20;
const int kExtent = kPosters * 180 - 20 - kWidth;

class PannableViewTest : public testing::Test {
 protected:
  // The toolkit keeps it until the process ends.
  static void SetUpTestSuite() {
    static char program[] = "test", option[] = "-platform", offscreen[] = "offscreen";
    static char* arguments[] = {program, option, offscreen, nullptr};
    static int count = 3;
    new QApplication(count, arguments);
    Clock::stop();
  }
  PannableViewTest() {
    window.setFrameShape(QFrame::NoFrame);
    window.resize(500, 300);
    scene.addItem(view);
    view->setPos(50, 30);
    view->setWidget(strip);
    window.show();
  }
  QGraphicsWidget* inner() { return static_cast<QGraphicsWidget*>(view->childItems().value(0)); }

  /// The left button at a point of the view.
  void send(QEvent::Type type, QPointF point) {
    const QPoint at = window.mapFromScene(view->mapToScene(point));
    const bool moves = type == QEvent::MouseMove, ends = type == QEvent::MouseButtonRelease;
    QMouseEvent event(type, at, at, moves ? Qt::NoButton : Qt::LeftButton,
                      ends ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(window.viewport(), &event);
  }
  void swipe(QPointF from, QPointF by, int milliseconds = 100) {
    send(QEvent::MouseButtonPress, from);
    Clock::pass(milliseconds);
    send(QEvent::MouseMove, from + by);
    send(QEvent::MouseButtonRelease, from + by);
  }
  void tap(QPointF point) { swipe(point, {0, 0}, 20); }

  /// Whether the content moves by itself for 0.8 s, to this place and no other.
  bool comesToRestAt(double x) {
    Clock::pass(700);
    const double before = inner()->x();
    Clock::pass(200);
    return before != x && inner()->pos() == QPointF(x, 0);
  }

  QGraphicsScene scene{0, 0, 500, 300};
  QGraphicsView window{&scene};
  QPointer<PannableView> view = new PannableView(Qt::Horizontal, kWidth, kHeight, nullptr);
  QPointer<PosterStrip> strip = new PosterStrip(kPosters);
};

// In each 30 ms the speed of 1000 pixels per second moves the content by 0.03 s of itself and loses
// 44.145 pixels per second.
TEST_F(PannableViewTest, AGlideSlowsDownEvenlyUntilItRests) {
  QSignalSpy moved(view, &PannableView::posChanged);
  swipe({350, 100}, {-100, 30});
  EXPECT_EQ(moved.count(), 0) << "dragging is not told";
  EXPECT_EQ(inner()->pos(), QPointF(-100, 0)) << "only sideways";
  const int duration = Clock::passUntil([this] { return !view->isScrolling(); });
  double previous = 100, step = 30 + 0.03 * 44.145;
  int steps = 0;
  for (const auto& arguments : moved) {
    const double x = arguments[0].toRectF().x();
    if (x == previous) continue;
    EXPECT_TRUE(steps++ == 0 || step >= 0.7) << "was slow enough before";
    EXPECT_NEAR(x - previous, step -= 0.03 * 44.145, 1e-6);
    previous = x;
  }
  EXPECT_LT(step, 0.7) << "ended too soon";
  EXPECT_NEAR(duration, 30 * steps, 60);
  EXPECT_EQ(moved.last()[0].toRectF(), QRectF(-inner()->pos(), QSizeF(kWidth, kHeight)));
}

TEST_F(PannableViewTest, AShortClickIsATapUnlessItStopsAGlide) {
  QSignalSpy tapped(view, &PannableView::tapped);
  for (const auto& [distance, taps] : {std::pair(0, 1), {19, 2}, {20, 2}, {40, 2}}) {
    swipe({100, 100}, QPointF(-distance, 0), 20);
    EXPECT_EQ(tapped.count(), taps) << distance;
    EXPECT_EQ(view->isScrolling(), distance >= 20);
    view->moveToBegin();
  }
  EXPECT_EQ(tapped[0][0].toPointF(), QPointF(100, 100));
  tap({200, 100});
  EXPECT_TRUE(strip->posters()[1]->isChosen() && !strip->posters()[0]->isChosen());

  swipe({300, 100}, {-100, 0});
  Clock::pass(100);
  const double stopped = inner()->x();
  tap({300, 100});
  EXPECT_FALSE(view->isScrolling());
  EXPECT_EQ(tapped.count(), 3);
  EXPECT_EQ(inner()->x(), stopped);
  tap({300, 100});
  EXPECT_EQ(tapped.count(), 4);
  QGraphicsSceneMouseEvent other(QEvent::GraphicsSceneMousePress);
  other.setButton(Qt::RightButton);
  EXPECT_FALSE(scene.sendEvent(view, &other) || other.isAccepted());
}

TEST_F(PannableViewTest, WhatLeavesAnEdgeSpringsBackToIt) {
  for (const auto& [at, by, rest] : {std::tuple(0, 100, 0),
                                     {-kExtent, -100, -kExtent},
                                     {-kExtent - 150, 100, -kExtent},
                                     {150, -100, 0},
                                     {-kExtent - 10, 0, -kExtent}}) {
    inner()->setPos(at, 0);
    swipe({200, 100}, QPointF(by, 0));
    EXPECT_FALSE(view->isScrolling()) << at << by;
    EXPECT_TRUE(comesToRestAt(rest)) << at << by;
  }
  inner()->setPos(0, 0);
  swipe({300, 100}, {-100, 0}, 0);  // no division by nothing
  Clock::passUntil([this] { return !view->isScrolling(); });
  EXPECT_TRUE(comesToRestAt(-kExtent));
  // A glide runs into the edge and comes back; a press holds it on its way.
  inner()->setPos(-50, 0);
  swipe({100, 100}, {40, 0}, 30);
  Clock::passUntil([this] { return !view->isScrolling(); });
  Clock::pass(50);
  send(QEvent::MouseButtonPress, {100, 100});
  const double held = inner()->x();
  Clock::pass(300);
  EXPECT_GT(held, 0);
  EXPECT_EQ(inner()->x(), held);
  send(QEvent::MouseButtonRelease, {100, 100});
  EXPECT_TRUE(comesToRestAt(0));
}

TEST_F(PannableViewTest, ASwipeKeepsToTheDirectionItMostlyHas) {
  auto* field = new QGraphicsWidget;
  field->resize(4000, 3000);  // without a preferred size
  view->setWidget(field);
  const Qt::Orientations kBoth = Qt::Horizontal | Qt::Vertical;
  for (const auto& [orientation, by, glidesX, glidesY] :
       {std::tuple(kBoth, QPointF(-100, -150), true, false),
        {kBoth, {-150, -151}, false, true},
        {kBoth, {-151, -160}, true, true},
        {kBoth, {0, -180}, false, false},  // lasts by its sideways speed
        {Qt::Vertical, {-100, -100}, false, true}}) {
    view->setOrientation(orientation);
    inner()->setPos(-1000, -1000);
    swipe({280, 190}, by);
    const QPointF released = inner()->pos();
    Clock::pass(100);
    EXPECT_EQ(inner()->x() < released.x() - 50, glidesX) << by.x();
    EXPECT_EQ(inner()->y() < released.y() - 50, glidesY) << by.y();
    EXPECT_EQ(released.x() == -1000, orientation == Qt::Vertical || by.x() == 0);
    tap({10, 10});
  }
}

TEST_F(PannableViewTest, MovesToItsEndAndToItems) {
  Poster outside(0, nullptr);
  Poster* poster = strip->posters()[9];
  view->moveToEnd();
  view->moveToItem(&outside);
  Clock::pass(900);
  EXPECT_EQ(inner()->pos(), QPointF(kExtent, 0));
  swipe({300, 100}, {-100, 0});
  view->moveToItem(poster);
  EXPECT_FALSE(view->isScrolling());
  EXPECT_TRUE(comesToRestAt(0.5 * (kWidth - PosterStrip::kPosterWidth) - poster->x()));
  view->setOrientation(Qt::Vertical);
  view->moveToItem(poster);
  EXPECT_TRUE(comesToRestAt(0)) << "the disabled direction";
}

TEST_F(PannableViewTest, WhatEndsAGlideOrAMoveLeavesTheViewAtItsBeginning) {
  const std::function<void()> kEnds[] = {[this] { view->moveToBegin(); },
                                         [this] { view->setWidget(new PosterStrip(3)); },
                                         [this] { delete strip.data(); }};
  for (int i = 0; i < 6; ++i) {
    view->setWidget(strip = new PosterStrip(kPosters));
    i % 2 ? swipe({300, 100}, {-100, 0}) : view->moveToItem(strip->posters()[9]);
    const double before = inner()->x();
    view->setWidget(strip);  // the same content: nothing ends
    Clock::pass(100);
    EXPECT_LT(inner()->x(), before) << i;
    kEnds[i / 2]();
    Clock::pass(900);
    EXPECT_EQ(inner()->pos(), QPointF(0, 0)) << i;
    EXPECT_FALSE(view->isScrolling()) << i;
  }
}

TEST_F(PannableViewTest, ReadsTheSizeOfItsContentAtEachPress) {
  QGraphicsWidget content;
  const auto prefer = [&](double width) { content.setPreferredSize(width, kHeight); };
  const auto resize = [&](double width) { content.resize(width, kHeight); };
  view->setWidget(&content);
  const std::pair<std::function<void()>, double> kChanges[] = {
      {[=] { resize(1000), prefer(1000); }, 1000},
      {[=] { prefer(1500); }, 1500},
      {[=] { prefer(700); }, 700},
      {[=] { resize(2000); }, 2000},
      {[=] { resize(900); }, 900},
      {[=] { resize(600); }, 700},  // less than it prefers
      {[&] { content.setMaximumWidth(500); }, 500},
      {[&] { content.setMaximumWidth(5000), content.setMinimumWidth(800); }, 800},
      {[=] {
         swipe({200, 100}, {-50, 0}), prefer(3000);
       },
       3000}};  // while it glides
  for (const auto& [change, width] : kChanges) {
    change();
    tap({300, 100});
    view->moveToEnd();
    EXPECT_EQ(content.size().width(), width);
    EXPECT_EQ(inner()->x(), width - kWidth);
  }
  view->setWidget(nullptr);
  EXPECT_EQ(content.preferredSize(), QSizeF(3000, kHeight)) << "it was written to";
}

// Rows in a column: a tap reaches everything under it once, in its own coordinates.
TEST_F(PannableViewTest, ATapReachesAViewInAViewAndMayEndIt) {
  auto* column = new QGraphicsWidget;
  column->resize(400, 1000);
  auto* row = new PannableView(Qt::Horizontal, kWidth, kHeight, column);
  row->setWidget(strip);
  view->setWidget(column);  // leaves alone what is elsewhere by now
  QSignalSpy outer(view, &PannableView::tapped), inside(row, &PannableView::tapped);
  tap({210, 120});
  EXPECT_EQ(outer.count() + inside.count(), 2);
  EXPECT_TRUE(strip->posters()[1]->isChosen());
  EXPECT_EQ(strip->posters()[1]->lastPress(), QPointF(30, 120));

  view->setWidget(new PosterStrip(1));  // narrower than the view
  EXPECT_TRUE(!column->scene() && !column->parentItem());
  delete column;
  swipe({100, 100}, {-60, 0});
  EXPECT_TRUE(comesToRestAt(0));
  QObject::connect(view, &PannableView::tapped, view, [this] { delete view; });
  tap({100, 100});
  EXPECT_TRUE(view.isNull());
}

}  // namespace
