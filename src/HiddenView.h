// HiddenView.h: the view that nobody sees.
#pragma once

#include <QGraphicsView>

namespace LARKA {

/// The view of the hidden scene, and for the engine the widget over which it opens its dialogs and
/// starts its drags. Nobody could see them and each would wait for ever: dialogs are refused before
/// they are shown, drags are cancelled.
class HiddenView : public QGraphicsView {
  Q_OBJECT

 public:
  explicit HiddenView(QGraphicsScene* scene) : QGraphicsView(scene) {}

  bool eventFilter(QObject* object, QEvent* event) override;

 protected:
  void childEvent(QChildEvent* event) override;
};

}  // namespace LARKA
