// SPDX-License-Identifier: MIT
#include "paint/HiddenView.h"

#include <QChildEvent>
#include <QDialog>
#include <QDrag>
#include <QPointer>

#include "host/HostEvents.h"

namespace LARKA {

namespace {

/// A child of a dialog, for as long as QtWebKit waits on the stack for the dialog's answer.
class DialogMark : public QObject {
  Q_OBJECT

 public:
  using QObject::QObject;

 private:
  OnStack m_webKit{webKitUse()};
};

}  // namespace

HiddenView::HiddenView(QGraphicsScene* scene)
    : QGraphicsView(scene), m_dialogParent(new QWidget(this)) {
  m_dialogParent->resize(0, 0);
  m_dialogParent->installEventFilter(this);
}

// QtWebKit makes its drags children of the scene's first view. While a child is added it is still
// under construction, so the cast has to wait for the event loop that the drag runs.
void HiddenView::childEvent(QChildEvent* event) {
  QGraphicsView::childEvent(event);
  if (!event->added() || event->child()->isWidgetType()) return;
  const auto cancel = [child = QPointer<QObject>(event->child())] {
    if (qobject_cast<QDrag*>(child)) QDrag::cancel();
  };
  QMetaObject::invokeMethod(this, cancel, Qt::QueuedConnection);
}

// A dialog is polished right before it is shown; its own event loop then handles the rejection.
bool HiddenView::eventFilter(QObject* object, QEvent* event) {
  if (object == m_dialogParent && event->type() == QEvent::ChildAdded)
    static_cast<QChildEvent*>(event)->child()->installEventFilter(this);
  auto* dialog = qobject_cast<QDialog*>(object);
  if (dialog && event->type() == QEvent::Polish) {
    dialog->setAttribute(Qt::WA_DontShowOnScreen);
    new DialogMark(dialog);
    QMetaObject::invokeMethod(dialog, "reject", Qt::QueuedConnection);
  }
  if (dialog && event->type() == QEvent::Hide)
    qDeleteAll(dialog->findChildren<DialogMark*>(QString(), Qt::FindDirectChildrenOnly));
  return QGraphicsView::eventFilter(object, event);
}

}  // namespace LARKA

#include "HiddenView.moc"
