// SPDX-License-Identifier: MIT
/// @file
/// A view to drag, fling and tap, for a host's own graphics scenes.
#pragma once

#include <QGraphicsWidget>
#include <QPointF>
#include <QRectF>
#include <memory>

#include "larka/Export.h"

namespace LARKA {
class PannableViewPrivate;
}

/// A view that shows a part of a larger widget and lets the user drag, fling and tap it with the
/// pointer's left button. After a quick release the content glides on with friction; content that
/// passes an edge springs back; a short click reaches the content as a tap.
///
/// The library implements it for the host's own graphics scenes, and creates none itself. Its
/// parent item owns it or, without a parent, whoever created it. Use it on the thread of the scene.
///
/// Positions are pixels of the view. The content's position is that of its top left in the view: 0
/// at the start, negative further on. The view reads the content's size again at each press. A
/// disabled direction never moves.
///
/// Mouse presses go to this view, never to the content underneath. Instead, each item that a tap
/// hits gets a press and a release in its own coordinates. (So a view inside a view can be tapped,
/// but not dragged.) All other events are left to the scene.
///
/// Hosts that include this header build with Qt5::Widgets.
class LARKA_EXPORT PannableView : public QGraphicsWidget {
  Q_OBJECT

 public:
  /// Creates a view of a fixed size.
  PannableView(Qt::Orientations orientation, qreal width, qreal height, QGraphicsItem* parent);

  /// Creates a view that is sized like any other graphics widget. `orientation` is the direction
  /// in which it can be panned, or both.
  PannableView(Qt::Orientations orientation, QGraphicsItem* parent);

  ~PannableView() override;

  /// Shows `widget`, at its preferred size or the size that the host gave it, whichever is larger,
  /// and takes ownership. Null shows nothing. The previous content leaves the scene and belongs to
  /// the caller again.
  ///
  /// Ends glides and moves, unless `widget` is shown already. Other content begins at its start.
  void setWidget(QGraphicsWidget* widget);

  /// Returns whether the content is gliding. Springing back and moving to an item don't count.
  bool isScrolling() const;

  /// Places the content at its start, at once and without posChanged.
  void moveToBegin();

  /// Places the content's top left at +(content size - view size), at once and without posChanged.
  /// That is to the right of and below the view's top left, not the content's end; hosts rely on
  /// it.
  void moveToEnd();

  /// Moves the content within 0.8 s so that `item` is in the middle of the view, past the content's
  /// edges if necessary. Goes by the item's position in its parent. Does nothing if `item` is not
  /// in this view's scene; it may be a pointer to a deleted item.
  void moveToItem(QGraphicsItem* item);

  /// Returns the directions in which the content can be panned.
  Qt::Orientations orientation() const;

  /// Sets the directions in which the content can be panned, from the next event on.
  void setOrientation(Qt::Orientations orientation);

  ///@{
  /// Kept for the contract: has no effect.
  void enableContinuousScrolling(bool enable);
  void enableScrollIndicator(bool enable);
  ///@}

 signals:
  /// Emitted when the content has moved by itself, not while it is dragged. `visible` is the part
  /// of the content that the view shows. Don't delete the view in a slot; use deleteLater.
  void posChanged(const QRectF& visible);

  /// Emitted when the view was tapped at `position`, after the items there have received the tap.
  void tapped(const QPointF& position);

 protected:
  /// Handles the left button's press and release and the moves in between, and nothing else.
  bool sceneEvent(QEvent* event) override;

 private:
  std::unique_ptr<LARKA::PannableViewPrivate> d;
};
