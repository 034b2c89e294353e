// SPDX-License-Identifier: MIT
#pragma once

#include <QGraphicsView>

namespace LARKA {

/// The view of the hidden scene. QtWebKit opens its dialogs and starts its drags over it, where
/// nobody sees them and they would wait for ever. So this class rejects dialogs before they are
/// shown and cancels drags.
class HiddenView : public QGraphicsView {
  Q_OBJECT

 public:
  explicit HiddenView(QGraphicsScene* scene);

  /// Returns the parent for dialogs, for QWebPage::setView. It has no size, because the page takes
  /// over the size of that widget.
  QWidget* dialogParent() const { return m_dialogParent; }

  bool eventFilter(QObject* object, QEvent* event) override;

 protected:
  void childEvent(QChildEvent* event) override;

 private:
  QWidget* m_dialogParent;
};

}  // namespace LARKA
