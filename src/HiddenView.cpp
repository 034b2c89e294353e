#include "HiddenView.h"

#include <QChildEvent>
#include <QDialog>
#include <QDrag>
#include <QPointer>

namespace LARKA {

// A child that is being added is still under construction: what it is shows later.
void HiddenView::childEvent(QChildEvent* event) {
  QGraphicsView::childEvent(event);
  if (!event->added()) return;
  if (event->child()->isWidgetType()) {
    event->child()->installEventFilter(this);
    return;
  }
  const auto cancel = [child = QPointer<QObject>(event->child())] {
    if (qobject_cast<QDrag*>(child)) QDrag::cancel();
  };
  QMetaObject::invokeMethod(this, cancel, Qt::QueuedConnection);  // from within the drag's own loop
}

bool HiddenView::eventFilter(QObject* object, QEvent* event) {
  auto* dialog = event->type() == QEvent::Polish ? qobject_cast<QDialog*>(object) : nullptr;
  if (!dialog) return QGraphicsView::eventFilter(object, event);
  dialog->setAttribute(Qt::WA_DontShowOnScreen);
  QMetaObject::invokeMethod(dialog, "reject", Qt::QueuedConnection);  // from within its own loop
  return false;
}

}  // namespace LARKA
