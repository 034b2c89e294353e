// The pannable view of the shared library, in a scene of the host's own: the example's strip of
// posters, worked with the pointer.
#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QGraphicsScene>
#include <QGraphicsSceneMouseEvent>
#include <QGraphicsView>
#include <QMouseEvent>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <cmath>
#include <functional>
#include <memory>

#include "PosterStrip.h"
#include "larka/PannableView.h"

namespace {

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
  }

  PannableViewTest() : scene(0, 0, 500, 300), window(&scene) {
    window.setFrameShape(QFrame::NoFrame);
    window.resize(500, 300);
    scene.addItem(view);
    view->setPos(50, 30);
    view->setWidget(strip);
    window.show();
  }

  QGraphicsWidget* inner() { return static_cast<QGraphicsWidget*>(view->childItems().value(0)); }

  /// The pointer at a point of the view.
  void send(QEvent::Type type, QPointF point, Qt::MouseButton button = Qt::LeftButton) {
    const bool moves = type == QEvent::MouseMove;
    const QPoint at = window.mapFromScene(view->mapToScene(point));
    QMouseEvent event(type, at, window.viewport()->mapToGlobal(at), moves ? Qt::NoButton : button,
                      type == QEvent::MouseButtonRelease ? Qt::NoButton : button, Qt::NoModifier);
    QApplication::sendEvent(window.viewport(), &event);
  }

  /// Drags the content and lets go; returns the velocity in pixels per second, as it was measured
  /// from outside.
  QPointF swipe(QPointF from, QPointF to, int milliseconds = 100) {
    QElapsedTimer time;
    send(QEvent::MouseButtonPress, from);
    time.start();
    QTest::qWait(milliseconds);
    send(QEvent::MouseMove, to);
    const QPointF velocity = (to - from) / time.elapsed() * 1000;
    send(QEvent::MouseButtonRelease, to);
    return velocity;
  }

  /// An item takes no position that equals the one it has but for the last digits, and so may rest
  /// beside the end of an animation.
  bool restsAt(double x) {
    return QTest::qWaitFor([&] { return inner()->pos() == QPointF(x, 0); });
  }

  void waitForRest() {
    QPointF before;
    do {
      before = inner()->pos();
      QTest::qWait(100);
    } while (before != inner()->pos());
  }

  QGraphicsScene scene;
  QGraphicsView window;
  PannableView* view = new PannableView(Qt::Horizontal, kWidth, kHeight, nullptr);
  QPointer<PosterStrip> strip = new PosterStrip(kPosters);
};

// Each 30 ms the speed v moves the content by 0.03 s * v and loses 44.145 pixels per second.
TEST_F(PannableViewTest, AGlideSlowsDownEvenlyUntilItRests) {
  QSignalSpy moved(view, &PannableView::posChanged);
  const double velocity = swipe({350, 100}, {250, 130}).x();
  ASSERT_EQ(moved.count(), 0) << "dragging is not told";
  ASSERT_EQ(inner()->pos(), QPointF(-100, 0)) << "only sideways";
  ASSERT_TRUE(view->isScrolling());
  QElapsedTimer time;
  time.start();
  waitForRest();
  EXPECT_FALSE(view->isScrolling());

  double previous = 100, lastStep = 0;
  std::vector<double> steps;
  for (const auto& arguments : moved) {
    const QRectF visible = arguments[0].toRectF();
    EXPECT_EQ(visible.size(), QSizeF(kWidth, kHeight));
    if (visible.x() != previous) steps.push_back(visible.x() - previous);
    previous = visible.x();
  }
  ASSERT_GT(steps.size(), 10u);
  EXPECT_NEAR(steps[0], 0.03 * -velocity, 0.2 * steps[0]);  // measured from outside
  for (size_t i = 1; i < steps.size(); ++i)
    EXPECT_NEAR(steps[i], steps[i - 1] - 0.03 * 44.145, 1e-6) << "step " << i;
  lastStep = steps.back();
  EXPECT_LT(std::abs(lastStep), 0.7);
  EXPECT_GE(steps[steps.size() - 2], 0.7) << "it went on although it was slow enough";
  EXPECT_GT(time.elapsed(), 25.0 * static_cast<double>(steps.size()));  // 30 ms each
  EXPECT_EQ(-inner()->x(), previous);
}

TEST_F(PannableViewTest, AShortClickIsATapAndALongOneASwipe) {
  QSignalSpy tapped(view, &PannableView::tapped);
  const QPointF start(100, 100);
  for (const auto& [distance, taps] : {std::pair(0.0, 1), {19.0, 2}, {20.0, 2}, {40.0, 2}}) {
    swipe(start, start - QPointF(distance, 0), 20);
    EXPECT_EQ(tapped.count(), taps) << distance;
    EXPECT_EQ(view->isScrolling(), distance >= 20);
    waitForRest();
    view->moveToBegin();
  }
  EXPECT_EQ(tapped[0][0].toPointF(), start);
  EXPECT_FALSE(strip->posters()[0]->isChosen()) << "chosen, and chosen again";
  swipe({200, 100}, {200, 100}, 0);
  EXPECT_TRUE(strip->posters()[1]->isChosen());
  EXPECT_EQ(tapped.count(), 3);

  // One that stops a glide is none.
  swipe({300, 100}, {200, 100});
  QTest::qWait(100);
  ASSERT_TRUE(view->isScrolling());
  const double stopped = inner()->x();
  swipe({300, 100}, {300, 100}, 0);
  EXPECT_FALSE(view->isScrolling());
  EXPECT_EQ(tapped.count(), 3);
  EXPECT_EQ(inner()->x(), stopped);
}

TEST_F(PannableViewTest, WhatLeavesAnEdgeSpringsBackToIt) {
  QSignalSpy moved(view, &PannableView::posChanged);
  const struct {
    const char* what;
    double at;
    QPointF from, to;
    double rest;
  } kCases[] = {
      {"before the beginning", 0, {100, 100}, {200, 100}, 0},
      {"past the end", -kExtent, {200, 100}, {100, 100}, -kExtent},
      {"past the end, backwards", -kExtent - 150, {100, 100}, {200, 100}, -kExtent},
      {"before the beginning, forwards", 150, {200, 100}, {100, 100}, 0},
      {"tapped past the end", -kExtent - 10, {200, 100}, {200, 100}, -kExtent},
  };
  for (const auto& edge : kCases) {
    inner()->setPos(edge.at, 0);
    QElapsedTimer time;
    swipe(edge.from, edge.to);
    EXPECT_FALSE(view->isScrolling()) << edge.what;
    time.start();
    ASSERT_TRUE(restsAt(edge.rest)) << edge.what;
    EXPECT_GT(time.elapsed(), 400) << edge.what;
    EXPECT_LT(time.elapsed(), 3000) << edge.what;  // 800 ms, on a busy machine
  }
  waitForRest();
  EXPECT_NEAR(moved.last()[0].toRectF().x(), kExtent, 1e-6);

  // A glide runs into the edge and comes back; a press stops it on its way.
  inner()->setPos(-50, 0);
  swipe({100, 100}, {140, 100}, 30);
  ASSERT_TRUE(view->isScrolling());
  ASSERT_TRUE(QTest::qWaitFor([&] { return inner()->x() > 0; }));
  ASSERT_TRUE(QTest::qWaitFor([&] { return !view->isScrolling(); }));
  send(QEvent::MouseButtonPress, {100, 100});
  const double held = inner()->x();
  QTest::qWait(150);
  EXPECT_EQ(inner()->x(), held);
  send(QEvent::MouseButtonRelease, {100, 100});
  EXPECT_TRUE(restsAt(0));
}

TEST_F(PannableViewTest, ASwipeKeepsToTheDirectionItMostlyHas) {
  delete view;
  view = new PannableView(Qt::Horizontal | Qt::Vertical, nullptr);
  view->resize(300, 200);
  scene.addItem(view);
  auto* field = new QGraphicsWidget;
  field->resize(4000, 3000);  // without a preferred size
  view->setWidget(field);
  const struct {
    QPointF by;
    bool glidesX, glidesY;
  } kSwipes[] = {
      {{-100, -150}, true, false}, {{-150, -151}, false, true}, {{-151, -160}, true, true}};
  for (const auto& row : kSwipes) {
    inner()->setPos(-1000, -1000);
    swipe(QPointF(280, 190), QPointF(280, 190) + row.by);
    const QPointF released = QPointF(-1000, -1000) + row.by;
    ASSERT_TRUE(QTest::qWaitFor([&] { return inner()->pos() != released; }));
    QTest::qWait(100);
    EXPECT_EQ(inner()->x() < released.x(), row.glidesX) << row.by.x();
    EXPECT_EQ(inner()->y() < released.y(), row.glidesY) << row.by.y();
    swipe({10, 10}, {10, 10}, 0);
  }
  // Straight down nothing glides: how long it would last comes from the sideways speed.
  inner()->setPos(-1000, -1000);
  swipe({100, 10}, {100, 190});
  EXPECT_FALSE(view->isScrolling());
  view->setOrientation(Qt::Vertical);
  EXPECT_EQ(view->orientation(), Qt::Vertical);
  swipe({100, 10}, {150, 190});
  EXPECT_TRUE(view->isScrolling());
  EXPECT_EQ(inner()->x(), -1000);
}

TEST_F(PannableViewTest, MovesToItsEndsAndToItems) {
  view->moveToEnd();
  EXPECT_EQ(inner()->pos(), QPointF(kExtent, 0));
  view->moveToBegin();
  EXPECT_EQ(inner()->pos(), QPointF(0, 0));
  EXPECT_EQ(inner()->objectName(), QStringLiteral("PannableWidget"));
  EXPECT_EQ(inner()->shape().boundingRect(), QRectF(QPointF(0, 0), inner()->size()));
  Poster* poster = strip->posters()[9];
  view->moveToItem(poster);
  const double centred = -(poster->x() - 0.5 * (kWidth - PosterStrip::kPosterWidth));
  ASSERT_TRUE(restsAt(centred));
  Poster outside(0, nullptr);
  view->moveToItem(&outside);
  view->moveToItem(nullptr);
  waitForRest();
  EXPECT_EQ(inner()->pos(), QPointF(centred, 0));
  view->moveToItem(strip->posters()[0]);  // while it glides
  swipe({300, 100}, {200, 100});
  view->moveToItem(poster);
  EXPECT_FALSE(view->isScrolling());
  ASSERT_TRUE(restsAt(centred));
}

TEST_F(PannableViewTest, WhatEndsAGlideOrAMoveLeavesTheViewAtItsBeginning) {
  QPointer<PosterStrip> shorter;
  const auto showShort = [&] { view->setWidget(shorter = new PosterStrip(3)); };
  const struct {
    const char* what;
    std::function<void()> end;
  } kEnds[] = {
      {"put there", [this] { view->moveToBegin(); }},
      {"other content", showShort},
      {"no content", [this] { view->setWidget(nullptr); }},
      {"deleted content", [this] { delete strip.data(); }},
      {"other content, as it springs back",
       [&] {
         inner()->setPos(-kExtent - 50, 0);
         const auto once = std::make_shared<QMetaObject::Connection>();
         *once = QObject::connect(view, &PannableView::posChanged, view, [&, once] {
           QObject::disconnect(*once);
           showShort();
         });
         if (!view->isScrolling()) swipe({300, 100}, {300, 100}, 0);
       }},
  };
  for (const bool glides : {true, false}) {
    for (const auto& row : kEnds) {
      delete strip.data();
      strip = new PosterStrip(kPosters);
      view->setWidget(strip);
      if (glides)
        swipe({300, 100}, {200, 100});
      else
        view->moveToItem(strip->posters()[9]);
      QTest::qWait(100);
      ASSERT_LT(inner()->x(), 0) << row.what;
      ASSERT_EQ(view->isScrolling(), glides);
      view->setWidget(strip);  // the same content: nothing ends
      ASSERT_EQ(view->isScrolling(), glides);
      const double before = inner()->x();
      ASSERT_TRUE(QTest::qWaitFor([&] { return inner()->x() < before; })) << row.what;
      row.end();
      QTest::qWait(100);
      EXPECT_EQ(inner()->pos(), QPointF(0, 0)) << row.what;
      EXPECT_FALSE(view->isScrolling()) << row.what;
      delete shorter.data();
    }
  }
  delete strip.data();
}

TEST_F(PannableViewTest, ReadsTheSizeOfItsContentAtEachPress) {
  QGraphicsWidget content;
  content.setPreferredSize(1000, kHeight);
  content.setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
  view->setWidget(&content);
  delete strip;
  const auto prefer = [&](double width) { content.setPreferredSize(width, kHeight); };
  const auto resize = [&](double width) { content.resize(width, kHeight); };
  const struct {
    const char* what;
    std::function<void()> change;
    double width;
  } kChanges[] = {
      {"as it is", [] {}, 1000},
      {"prefers more", [=] { prefer(1500); }, 1500},
      {"prefers less", [=] { prefer(700); }, 700},
      {"resized to more", [=] { resize(2000); }, 2000},
      {"resized to less", [=] { resize(900); }, 900},
      {"resized to less than it prefers", [=] { resize(600); }, 700},
      {"at most", [&] { content.setMaximumWidth(500); }, 500},
      {"at least", [&] { content.setMaximumWidth(5000), content.setMinimumWidth(800); }, 800},
      {"grows while it glides",
       [=] {
         view->moveToBegin();
         swipe({200, 100}, {150, 100});
         ASSERT_TRUE(view->isScrolling());
         prefer(3000);
       },
       3000},
  };
  for (const bool relaid : {false, true}) {
    for (const auto& row : kChanges) {
      row.change();
      if (relaid) QCoreApplication::processEvents();
      swipe({300, 100}, {300, 100}, 0);
      EXPECT_EQ(content.size().width(), row.width) << row.what;
      view->moveToEnd();
      EXPECT_EQ(inner()->x(), row.width - kWidth) << row.what;
    }
    inner()->setPos(-3000, 0);
    swipe({300, 100}, {300, 100}, 0);
    EXPECT_TRUE(restsAt(kWidth - 3000));
    content.setMinimumWidth(0);
    resize(1000);
    prefer(1000);
  }
  view->setWidget(nullptr);
  EXPECT_EQ(content.sizePolicy(), QSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding));
  EXPECT_EQ(content.preferredSize(), QSizeF(1000, kHeight));
  EXPECT_EQ(content.maximumWidth(), 5000);
}

// Rows in a column: a tap reaches everything under it once, in its own coordinates.
TEST_F(PannableViewTest, ATapReachesAViewInAView) {
  auto* column = new QGraphicsWidget;
  column->resize(400, 1000);
  auto* row = new PannableView(Qt::Horizontal, kWidth, kHeight, column);
  row->setWidget(strip);
  view->setWidget(column);  // leaves alone what is elsewhere by now
  view->setOrientation(Qt::Vertical);
  QSignalSpy outer(view, &PannableView::tapped), inside(row, &PannableView::tapped);
  for (const QPointF& point : {QPointF(5, 5), QPointF(210, 120)}) swipe(point, point, 20);
  EXPECT_EQ(outer.count(), 2);
  EXPECT_EQ(inside.count(), 2);
  EXPECT_TRUE(strip->posters()[0]->isChosen());
  EXPECT_TRUE(strip->posters()[1]->isChosen());
  EXPECT_FALSE(row->isScrolling());
  EXPECT_EQ(strip->posters()[1]->lastPress(), QPointF(30, 120));
}

TEST_F(PannableViewTest, LeavesEverythingElseToTheScene) {
  send(QEvent::MouseButtonPress, {100, 100}, Qt::RightButton);
  send(QEvent::MouseMove, {50, 100}, Qt::RightButton);
  send(QEvent::MouseButtonRelease, {50, 100}, Qt::RightButton);
  EXPECT_EQ(inner()->pos(), QPointF(0, 0));
  QGraphicsSceneMouseEvent press(QEvent::GraphicsSceneMousePress);
  press.setButton(Qt::RightButton);
  EXPECT_FALSE(scene.sendEvent(view, &press));
  EXPECT_FALSE(press.isAccepted());
  QEvent other(QEvent::GraphicsSceneMouseDoubleClick);
  EXPECT_FALSE(scene.sendEvent(view, &other));
  view->enableContinuousScrolling(true);
  view->enableScrollIndicator(false);

  // A release without a press, and at once after one: no division by nothing.
  send(QEvent::MouseButtonRelease, {300, 100});
  send(QEvent::MouseButtonPress, {300, 100});
  send(QEvent::MouseMove, {200, 100});
  send(QEvent::MouseButtonRelease, {200, 100});
  EXPECT_TRUE(view->isScrolling());
  EXPECT_TRUE(std::isfinite(inner()->x()));
}

TEST_F(PannableViewTest, HandsItsContentBack) {
  const QPointer<QGraphicsWidget> first(strip);
  QPointer<QGraphicsWidget> second(new PosterStrip(1));  // narrower than the view
  view->setWidget(second);
  ASSERT_FALSE(first.isNull());
  EXPECT_EQ(first->scene(), nullptr);
  EXPECT_EQ(first->parentItem(), nullptr);
  swipe({100, 100}, {200, 100});
  EXPECT_TRUE(restsAt(0));
  delete second;
  view->setWidget(nullptr);
  view->setWidget(nullptr);
  swipe({100, 100}, {100, 100}, 0);
  view->setWidget(first);
  EXPECT_EQ(first->scene(), &scene);

  // Taps that take away what is tapped, up to the view itself.
  QObject::connect(view, &PannableView::tapped, view, [this] {
    delete view;
    view = nullptr;
  });
  swipe({100, 100}, {100, 100}, 0);
  EXPECT_EQ(view, nullptr);
  EXPECT_TRUE(first.isNull());
}

}  // namespace
