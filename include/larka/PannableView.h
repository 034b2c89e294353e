// PannableView.h: a view in a graphics scene that is dragged, flung and tapped.
// Hosts that include it build with Qt5::Widgets.
#pragma once

#include <QGraphicsWidget>
#include <QPointF>
#include <QRectF>
#include <memory>

#include "larka/Export.h"

namespace LARKA {
class PannableViewPrivate;
}

/// Shows a part of a larger widget, which the user drags with the pointer's left button: a quick
/// release keeps it gliding with friction, what is dragged or glides past an edge springs back, and
/// a short click goes through to the content as a tap. For a host's own graphics scenes; the
/// library makes none. It belongs to its parent item, or to whoever made it.
///
/// Positions are pixels of the view. The content's position is that of its top left in the view: 0
/// at the beginning, negative further on. The content's size is read again at each press; a
/// disabled direction never moves.
///
/// Mouse presses go to this view, never to the content underneath: what a tap hits gets a press and
/// a release of its own, in its own coordinates. (So a view within a view can be tapped, not
/// dragged.) All other events are left to the scene.
class LARKA_EXPORT PannableView : public QGraphicsWidget {
  Q_OBJECT

 public:
  /// A view of a fixed size.
  PannableView(Qt::Orientations orientation, qreal width, qreal height, QGraphicsItem* parent);

  /// A view that is sized like any other graphics widget. `orientation`: the directions in which it
  /// can be panned, one or both.
  PannableView(Qt::Orientations orientation, QGraphicsItem* parent);

  ~PannableView() override;

  /// Shows `widget`, at its preferred size or the size that it was resized to, whichever is larger,
  /// and takes it over as a child. Null shows nothing. What was shown before leaves the scene and
  /// belongs to the caller again. Ends glides and moves, unless `widget` is shown already; another
  /// widget begins at its beginning.
  void setWidget(QGraphicsWidget* widget);

  /// Whether the content is gliding. Springing back, and moving to an item, are no gliding.
  bool isScrolling() const;

  /// Puts the content at its beginning, at once and without posChanged.
  void moveToBegin();

  /// Puts the content's top left at the distance that it is larger than the view, to the right of
  /// and below the view's: hosts that use it know that this is no mirror image of moveToBegin.
  void moveToEnd();

  /// Moves the content within 0.8 s so that `item` is in the middle, past the content's edges where
  /// it takes that, judged by the item's position in its parent. Does nothing for an item that
  /// isn't in this view's scene, which may be one that was deleted.
  void moveToItem(QGraphicsItem* item);

  /// Is remembered, and without effect.
  void enableContinuousScrolling(bool enable);
  /// Is remembered, and without effect.
  void enableScrollIndicator(bool enable);

  /// The directions in which the content can be panned.
  Qt::Orientations orientation() const;

  /// Sets them, from the next event on.
  void setOrientation(Qt::Orientations orientation);

 signals:
  /// The content has moved by itself; dragging is not told. `visible` is the part of the content
  /// that the view shows. The view must not be deleted in it, but with deleteLater.
  void posChanged(const QRectF& visible);

  /// The view was clicked at `position`, after the items there have got the click.
  void tapped(const QPointF& position);

 protected:
  /// Takes the left button's press and release and the moves in between; all else is left alone.
  bool sceneEvent(QEvent* event) override;

 private:
  std::unique_ptr<LARKA::PannableViewPrivate> d;
};
