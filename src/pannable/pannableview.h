// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QGraphicsWidget>
#include <QList>
#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QTimeLine>

class PannableView;
class QGraphicsItem;
class QGraphicsSceneMouseEvent;

namespace LARKA {

class ContentLayout;

/// The child of a PannableView that holds the content and is moved.
class PannableWidget : public QGraphicsWidget {
 public:
  explicit PannableWidget(QGraphicsItem* parent);

  void setWidget(QGraphicsWidget* widget);
  /// Returns the content; null if there is none, or if the host has deleted it.
  QGraphicsWidget* content() const { return m_content; }
  /// Resizes itself to what the content wants now.
  void fitContent();
  QPainterPath shape() const override;

 private:
  void handBackContent();

  QPointer<QGraphicsWidget> m_content;
  ContentLayout* m_contentLayout = nullptr;  // the layout; null without content
};

/// The state of a PannableView, and how it moves.
class PannableViewPrivate : public QObject {
  Q_OBJECT

 public:
  PannableViewPrivate(PannableView* view, Qt::Orientations orientation);

  bool press(QGraphicsSceneMouseEvent* event);
  bool move(QGraphicsSceneMouseEvent* event);
  bool release(QGraphicsSceneMouseEvent* event);

  void setWidget(QGraphicsWidget* widget);
  void recalculateGeometry();
  void moveToItem(QGraphicsItem* item);
  void moveAtOnce(const QPointF& position);
  bool isScrolling() const { return m_timeLine.state() == QTimeLine::Running; }

  PannableWidget* inner;
  Qt::Orientations orientation;
  int beginX = 0, beginY = 0;          // where the content begins
  int endExtentX = 0, endExtentY = 0;  // how much larger it is than the view

  // Kept for the contract; nothing here is used.
  bool scrollIndicatorEnabled = true;
  bool continuousScrollingEnabled = false;

 signals:
  /// Stops the animation of the position, if one runs.
  void stopAnimation();

 public slots:
  void scroll(qreal value);
  void emitPositionChanged();

 private:
  enum SwipeStyle { MostlyHorizontal = 0, MostlyVertical = 1, Diagonal = 2 };

  bool tap(QGraphicsSceneMouseEvent* event);
  void handOn(const QGraphicsSceneMouseEvent* event);
  bool swipe(const QPointF& start, const QPointF& end);
  void storeSwipeStyle(const QPointF& start, const QPointF& end);
  bool movesHorizontally() const;
  bool movesVertically() const;
  qreal nextStep(double* velocity);
  void startScrolling(double milliseconds);
  void stopScrolling(bool reset);
  bool endReached();
  void animateEnd(const QList<QPointF>& points, int milliseconds);
  void moveTo(const QPointF& point);

  PannableView* m_view;
  double m_velocityX = 0, m_velocityY = 0;  // pixels per second
  unsigned m_timesPlaced = 0;               // calls of moveAtOnce
  QElapsedTimer m_pressTime;
  QTimeLine m_timeLine;
  bool m_pressedWhileScrolling = false;
  SwipeStyle m_swipeStyle = MostlyHorizontal;
};

}  // namespace LARKA
