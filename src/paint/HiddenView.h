// HiddenView.h: the view that nobody sees.
#pragma once

#include <QGraphicsView>

namespace LARKA {

/// The view of the hidden scene, over which the engine would open its dialogs and start its drags.
/// Nobody could see them and each would wait for ever: dialogs are refused before they are shown,
/// drags are cancelled.
class HiddenView : public QGraphicsView {
  Q_OBJECT

 public:
  explicit HiddenView(QGraphicsScene* scene);

  /// The parent for dialogs: a widget without a size, because a page takes over the size of the
  /// widget that it is told of.
  QWidget* dialogParent() const { return m_dialogParent; }

  bool eventFilter(QObject* object, QEvent* event) override;

 protected:
  void childEvent(QChildEvent* event) override;

 private:
  QWidget* m_dialogParent;
};

}  // namespace LARKA
