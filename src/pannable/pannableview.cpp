// SPDX-License-Identifier: MIT
#include "pannable/pannableview.h"

#include <QEasingCurve>
#include <QGraphicsLinearLayout>
#include <QGraphicsScene>
#include <QGraphicsSceneMouseEvent>
#include <QLineF>
#include <QPainterPath>
#include <QPropertyAnimation>
#include <QSignalBlocker>
#include <algorithm>
#include <cmath>
#include <limits>

#include "larka/PannableView.h"

namespace LARKA {

namespace {

const int kUpdateMilliseconds = 30;
const int kFirstDurationMilliseconds = 1000;  // of the time line, until a swipe sets its own
const int kEndMilliseconds = 800;
const double kTapDistance = 20;        // pixels; a shorter one is a tap
const double kStraightDistance = 150;  // pixels; a swipe that leaves its axis by more is diagonal
const double kLowestSpeed = 0.5;       // pixels per second; a swipe needs more
const double kLowestStep = 0.35;       // pixels; a glide ends below this
const double kFriction = 1.4715;       // pixels per second, lost in each millisecond
const double kGlideMilliseconds = 9.81 / 0.15;  // for each pixel per second

/// A tap that a view hands on. It goes to every item under it, so a view that receives one must not
/// hand it on again.
class HandedOnEvent : public QGraphicsSceneMouseEvent {
 public:
  using QGraphicsSceneMouseEvent::QGraphicsSceneMouseEvent;
};

/// Returns the nearest position at which `content` pixels cover `view` pixels, or `begin` if they
/// are too few.
qreal nearestCovering(qreal position, qreal content, qreal view, int begin) {
  if (content <= view || position > begin) return begin;
  return position + content < view ? -static_cast<int>(content - view) : position;
}

}  // namespace

/// Gives one widget all of the space. Never changes that widget's own size hints.
class ContentLayout : public QGraphicsLinearLayout {
 public:
  explicit ContentLayout(QGraphicsWidget* content) : QGraphicsLinearLayout(Qt::Vertical) {
    setSpacing(0);
    setContentsMargins(0, 0, 0, 0);
    insertItem(-1, content);
  }

  bool holds(const QGraphicsWidget* widget) const { return widget && content() == widget; }

  /// Notes the content's size if the host has changed it. A size that equals the preferred one
  /// doesn't count as the host's: the content may prefer less later.
  void noteHostSize() {
    if (!content() || content()->size() == m_given) return;
    const QSizeF size = content()->size();
    m_hostSize = size == content()->effectiveSizeHint(Qt::PreferredSize) ? QSizeF(0, 0) : size;
  }

  void setGeometry(const QRectF& rect) override {
    noteHostSize();
    // The linear layout's own would lay the content out.
    QGraphicsLayout::setGeometry(rect);  // NOLINT(bugprone-parent-virtual-call)
    if (!content()) return;
    content()->setGeometry(rect);
    m_given = content()->size();
  }

 protected:
  QSizeF sizeHint(Qt::SizeHint which, const QSizeF& constraint) const override {
    if (!content()) return QSizeF(0, 0);
    const QSizeF hint = content()->effectiveSizeHint(which, constraint);
    return which == Qt::PreferredSize ? hint.expandedTo(m_hostSize) : hint;
  }

 private:
  // Null once the content is deleted: it then leaves the layout.
  QGraphicsWidget* content() const {
    return count() > 0 ? static_cast<QGraphicsWidget*>(itemAt(0)) : nullptr;
  }

  QSizeF m_hostSize = QSizeF(0, 0);  // what the host gave the content; empty for none
  QSizeF m_given;                    // what this layout last gave it
};

// PannableWidget.

PannableWidget::PannableWidget(QGraphicsItem* parent) : QGraphicsWidget(parent) {
  setObjectName(QStringLiteral("PannableWidget"));
  setFlag(ItemClipsChildrenToShape);
}

// Stacks behind its parent, so that the view gets pointer events before the content does.
void PannableWidget::setWidget(QGraphicsWidget* widget) {
  if (m_contentLayout && m_contentLayout->holds(widget) && widget->parentItem() == this) return;
  if (widget != m_content) handBackContent();
  m_content = widget;
  if (widget) setFlag(ItemStacksBehindParent);
  m_contentLayout = widget ? new ContentLayout(widget) : nullptr;
  setLayout(m_contentLayout);
}

// The host may have moved the content to another parent.
void PannableWidget::handBackContent() {
  if (!m_content || m_content->parentItem() != this) return;
  m_content->setParentItem(nullptr);
  if (m_content->scene()) m_content->scene()->removeItem(m_content);
}

void PannableWidget::fitContent() {
  if (m_contentLayout) {
    m_contentLayout->noteHostSize();
    m_contentLayout->invalidate();
  }
  adjustSize();
  if (m_contentLayout) m_contentLayout->activate();
}

QPainterPath PannableWidget::shape() const {
  QPainterPath path;
  path.addRect(QRectF(QPointF(0, 0), size()));
  return path;
}

// PannableViewPrivate.

PannableViewPrivate::PannableViewPrivate(PannableView* view, Qt::Orientations orientation)
    : inner(new PannableWidget(view)),
      orientation(orientation),
      m_view(view),
      m_timeLine(kFirstDurationMilliseconds, this) {
  m_timeLine.setEasingCurve(QEasingCurve::Linear);
  m_timeLine.setUpdateInterval(kUpdateMilliseconds);
  connect(&m_timeLine, SIGNAL(valueChanged(qreal)), this, SLOT(scroll(qreal)));
  connect(&m_timeLine, SIGNAL(finished()), this, SLOT(emitPositionChanged()));
  connect(&m_timeLine, &QTimeLine::finished, this, [this] { endReached(); });
}

// Other content begins at its start, so this ends glides and animations.
void PannableViewPrivate::setWidget(QGraphicsWidget* widget) {
  QGraphicsWidget* content = inner->content();
  if (!widget || widget != content) {
    if (content) disconnect(content, &QObject::destroyed, this, nullptr);
    if (widget) connect(widget, &QObject::destroyed, this, [this] { setWidget(nullptr); });
    moveAtOnce(QPointF(0, 0));
  }
  inner->setWidget(widget);
  recalculateGeometry();
}

void PannableViewPrivate::recalculateGeometry() {
  inner->fitContent();
  const QGraphicsLayout* layout = inner->layout();
  const QRectF content = layout ? layout->geometry() : QRectF();
  beginX = static_cast<int>(content.x());
  beginY = static_cast<int>(content.y());
  endExtentX = static_cast<int>(content.width() - m_view->size().width());
  endExtentY = static_cast<int>(content.height() - m_view->size().height());
}

bool PannableViewPrivate::press(QGraphicsSceneMouseEvent* event) {
  if (event->button() != Qt::LeftButton) {
    event->ignore();
    return false;
  }
  emit stopAnimation();
  if (isScrolling()) {
    stopScrolling(false);
    m_pressedWhileScrolling = true;
  }
  m_pressTime.start();
  return true;
}

bool PannableViewPrivate::move(QGraphicsSceneMouseEvent* event) {
  QPointF delta = event->pos() - event->lastPos();
  if (!(orientation & Qt::Horizontal)) delta.setX(0);
  if (!(orientation & Qt::Vertical)) delta.setY(0);
  inner->setPos(inner->pos() + delta);
  return true;
}

bool PannableViewPrivate::release(QGraphicsSceneMouseEvent* event) {
  if (event->button() != Qt::LeftButton) {
    event->ignore();
    return false;
  }
  const QPointF start = event->buttonDownPos(Qt::LeftButton);
  const bool isTap = QLineF(start, event->pos()).length() < kTapDistance;
  return isTap && !m_pressedWhileScrolling ? tap(event) : swipe(start, event->pos());
}

void PannableViewPrivate::storeSwipeStyle(const QPointF& start, const QPointF& end) {
  if (std::abs(end.y() - start.y()) <= kStraightDistance)
    m_swipeStyle = MostlyHorizontal;
  else if (std::abs(end.x() - start.x()) <= kStraightDistance)
    m_swipeStyle = MostlyVertical;
  else
    m_swipeStyle = Diagonal;
}

// The horizontal speed, if that direction is enabled, decides how long the glide lasts.
bool PannableViewPrivate::swipe(const QPointF& start, const QPointF& end) {
  m_pressedWhileScrolling = false;
  const qint64 elapsed = m_pressTime.isValid() ? std::max<qint64>(m_pressTime.elapsed(), 1) : 1;
  const double velocityX = (end.x() - start.x()) / elapsed * 1000;
  const double velocityY = (end.y() - start.y()) / elapsed * 1000;
  storeSwipeStyle(start, end);
  if (std::abs(velocityX) <= kLowestSpeed && std::abs(velocityY) <= kLowestSpeed) {
    endReached();
    return true;
  }
  m_velocityX = velocityX;
  m_velocityY = velocityY;
  const double speed = std::abs(orientation & Qt::Horizontal ? velocityX : velocityY);
  if (!endReached() && speed > 0) startScrolling(speed * kGlideMilliseconds);
  return true;
}

bool PannableViewPrivate::movesHorizontally() const {
  const bool both = orientation == (Qt::Horizontal | Qt::Vertical);
  return both ? m_swipeStyle != MostlyVertical : bool(orientation & Qt::Horizontal);
}

bool PannableViewPrivate::movesVertically() const {
  const bool both = orientation == (Qt::Horizontal | Qt::Vertical);
  return both ? m_swipeStyle != MostlyHorizontal : bool(orientation & Qt::Vertical);
}

// Returns half of what the position moves at one update. The speed may pass zero; the next step is
// then small enough to end the glide.
qreal PannableViewPrivate::nextStep(double* velocity) {
  const int halfInterval = m_timeLine.updateInterval() / 2;
  const qreal step = halfInterval * *velocity / 1000;
  const double lost = m_timeLine.updateInterval() * kFriction;
  if (*velocity != 0) *velocity -= std::copysign(lost, *velocity);
  if (0 < std::abs(step) && std::abs(step) < kLowestStep) stopScrolling(true);
  return step;
}

void PannableViewPrivate::scroll(qreal) {
  if (endReached()) return;
  const unsigned placed = m_timesPlaced;
  const qreal stepX = movesHorizontally() ? nextStep(&m_velocityX) : 0;
  const qreal stepY = movesVertically() ? nextStep(&m_velocityY) : 0;
  if (m_timesPlaced != placed) return;  // a slot of the host's placed the content
  inner->setPos(inner->pos() + 2 * QPointF(stepX, stepY));
  emitPositionChanged();
  if (!isScrolling()) endReached();
}

// Resetting the time line must not count as an update.
void PannableViewPrivate::startScrolling(double milliseconds) {
  {
    const QSignalBlocker noUpdate(m_timeLine);
    m_timeLine.setCurrentTime(0);
  }
  const double longest = std::numeric_limits<int>::max();
  m_timeLine.setDuration(static_cast<int>(std::clamp(milliseconds, 1.0, longest)));
  m_timeLine.start();
}

void PannableViewPrivate::stopScrolling(bool reset) {
  m_timeLine.stop();
  if (reset) {
    const QSignalBlocker noUpdate(m_timeLine);
    m_timeLine.setCurrentTime(0);
    m_velocityX = 0;
    m_velocityY = 0;
  }
  emitPositionChanged();
}

void PannableViewPrivate::emitPositionChanged() {
  emit m_view->posChanged(QRectF(-inner->pos(), m_view->size()));
}

// The content springs back to the edge that it left, whichever way it moves.
bool PannableViewPrivate::endReached() {
  const QPointF position = inner->pos();
  const QSizeF content = inner->size(), view = m_view->size();
  const QPointF target(nearestCovering(position.x(), content.width(), view.width(), beginX),
                       nearestCovering(position.y(), content.height(), view.height(), beginY));
  if (target == position) return false;
  animateEnd({position, target}, kEndMilliseconds);
  stopScrolling(true);
  return true;
}

// Call it before the signal for the end of a glide: the host's slot may place the content, or show
// other content, and that must stop this animation.
void PannableViewPrivate::animateEnd(const QList<QPointF>& points, int milliseconds) {
  if (points.isEmpty()) return;
  auto* animation = new QPropertyAnimation(inner, "pos", this);
  const int last = points.size() - 1;
  for (int i = 0; i <= last; ++i)
    animation->setKeyValueAt(last > 0 ? static_cast<qreal>(i) / last : 1, points[i]);
  animation->setEasingCurve(QEasingCurve::OutQuart);
  animation->setDuration(milliseconds);
  connect(animation, SIGNAL(finished()), this, SLOT(emitPositionChanged()));
  connect(this, SIGNAL(stopAnimation()), animation, SLOT(stop()));
  animation->start(QAbstractAnimation::DeleteWhenStopped);
}

void PannableViewPrivate::moveAtOnce(const QPointF& position) {
  ++m_timesPlaced;
  emit stopAnimation();
  m_timeLine.stop();
  inner->setPos(position);
}

void PannableViewPrivate::moveTo(const QPointF& point) {
  const QPointF target(orientation & Qt::Horizontal ? -point.x() : 0,
                       orientation & Qt::Vertical ? -point.y() : 0);
  animateEnd({inner->pos(), target}, kEndMilliseconds);
  if (isScrolling()) stopScrolling(true);
}

void PannableViewPrivate::moveToItem(QGraphicsItem* item) {
  const QGraphicsScene* scene = m_view->scene();
  if (!scene || !scene->items().contains(item)) return;
  const QSizeF size = item->boundingRect().size();
  moveTo(QPointF(item->x() - 0.5 * (m_view->size().width() - size.width()),
                 item->y() - 0.5 * (m_view->size().height() - size.height())));
}

// An item that is hit may delete other items, or the view.
bool PannableViewPrivate::tap(QGraphicsSceneMouseEvent* event) {
  const QPointer<PannableViewPrivate> self(this);
  endReached();
  const QPointF position = event->pos();
  if (!dynamic_cast<HandedOnEvent*>(event)) handOn(event);
  if (self) emit m_view->tapped(position);
  return true;
}

void PannableViewPrivate::handOn(const QGraphicsSceneMouseEvent* event) {
  const QPointer<QGraphicsScene> scene(m_view->scene());
  const QGraphicsItem* view = m_view;
  const QGraphicsItem* parent = m_view->parentItem();
  const auto hit = scene ? scene->items(event->scenePos()) : QList<QGraphicsItem*>();
  for (QGraphicsItem* item : hit) {
    if (item == view || item == parent) continue;
    for (QEvent::Type type : {QEvent::GraphicsSceneMousePress, QEvent::GraphicsSceneMouseRelease}) {
      if (!scene || !scene->items().contains(item)) break;
      HandedOnEvent synthetic(type);
      synthetic.setScenePos(event->scenePos());
      synthetic.setScreenPos(event->screenPos());
      synthetic.setButton(event->button());
      synthetic.setPos(item->mapFromScene(event->scenePos()));
      synthetic.setButtonDownScenePos(event->button(), event->scenePos());
      synthetic.setButtonDownScreenPos(event->button(), event->screenPos());
      synthetic.setButtonDownPos(event->button(), synthetic.pos());
      scene->sendEvent(item, &synthetic);
    }
  }
}

}  // namespace LARKA

// PannableView.

PannableView::PannableView(Qt::Orientations orientation, qreal width, qreal height,
                           QGraphicsItem* parent)
    : PannableView(orientation, parent) {
  setMinimumSize(width, height);
  setPreferredSize(width, height);
  setMaximumSize(width, height);
}

PannableView::PannableView(Qt::Orientations orientation, QGraphicsItem* parent)
    : QGraphicsWidget(parent), d(new LARKA::PannableViewPrivate(this, orientation)) {
  setFlag(ItemClipsChildrenToShape);
}

PannableView::~PannableView() = default;

void PannableView::setWidget(QGraphicsWidget* widget) { d->setWidget(widget); }

bool PannableView::isScrolling() const { return d->isScrolling(); }

void PannableView::moveToBegin() { d->moveAtOnce(QPointF(0, 0)); }

void PannableView::moveToEnd() { d->moveAtOnce(QPointF(d->endExtentX, d->endExtentY)); }

void PannableView::moveToItem(QGraphicsItem* item) { d->moveToItem(item); }

void PannableView::enableContinuousScrolling(bool enable) {
  d->continuousScrollingEnabled = enable;
}

void PannableView::enableScrollIndicator(bool enable) { d->scrollIndicatorEnabled = enable; }

Qt::Orientations PannableView::orientation() const { return d->orientation; }

void PannableView::setOrientation(Qt::Orientations orientation) {
  d->orientation = orientation;
  d->recalculateGeometry();
}

bool PannableView::sceneEvent(QEvent* event) {
  switch (event->type()) {
    case QEvent::GraphicsSceneMousePress:
      d->recalculateGeometry();
      return d->press(static_cast<QGraphicsSceneMouseEvent*>(event));
    case QEvent::GraphicsSceneMouseRelease:
      return d->release(static_cast<QGraphicsSceneMouseEvent*>(event));
    case QEvent::GraphicsSceneMouseMove:
      return d->move(static_cast<QGraphicsSceneMouseEvent*>(event));
    default:
      return false;
  }
}
