// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QGraphicsView>
#include <functional>

#include "host/StackUse.h"

class QWebPage;

namespace LARKA {

/// The view of the hidden scene. QtWebKit opens its dialogs and starts its drags over it, where
/// nobody sees them and they would wait for ever. So this class rejects dialogs before they are
/// shown and cancels drags.
class HiddenView : public QGraphicsView {
  Q_OBJECT

 public:
  explicit HiddenView(QGraphicsScene* scene);

  /// Makes the parent for the dialogs of `page`, for QWebPage::setView. It has no size, because the
  /// page takes over the size of that widget. `use` tells when the page is on the stack.
  /// `askForColour` is called, while QtWebKit waits, when the page asks for a colour, with the
  /// present one; the page keeps that for now.
  QWidget* makeDialogParent(QWebPage* page, const StackUse& use,
                            std::function<void(const QColor&)> askForColour);

 protected:
  void childEvent(QChildEvent* event) override;
};

}  // namespace LARKA
