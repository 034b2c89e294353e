// SPDX-License-Identifier: MIT
#include "paint/HiddenView.h"

#include <QChildEvent>
#include <QColorDialog>
#include <QDialog>
#include <QDrag>
#include <QPointer>
#include <QWebPage>
#include <utility>

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

/// Rejects the dialogs that it becomes the parent of.
class DialogParent : public QWidget {
  Q_OBJECT

 public:
  DialogParent(QWidget* parent, std::function<void(const QColor&)> askForColour)
      : QWidget(parent), m_askForColour(std::move(askForColour)) {
    resize(0, 0);
  }

  // A dialog is polished right before it is shown; its own event loop then handles the rejection.
  bool eventFilter(QObject* object, QEvent* event) override {
    auto* dialog = qobject_cast<QDialog*>(object);
    if (dialog && event->type() == QEvent::Polish) {
      dialog->setAttribute(Qt::WA_DontShowOnScreen);
      new DialogMark(dialog);
      QMetaObject::invokeMethod(dialog, "reject", Qt::QueuedConnection);
      auto* colours = qobject_cast<QColorDialog*>(dialog);
      if (colours) m_askForColour(colours->currentColor());
    }
    if (dialog && event->type() == QEvent::Hide)
      qDeleteAll(dialog->findChildren<DialogMark*>(QString(), Qt::FindDirectChildrenOnly));
    return QWidget::eventFilter(object, event);
  }

 protected:
  void childEvent(QChildEvent* event) override {
    QWidget::childEvent(event);
    if (event->added()) event->child()->installEventFilter(this);
  }

 private:
  std::function<void(const QColor&)> m_askForColour;
};

}  // namespace

HiddenView::HiddenView(QGraphicsScene* scene) : QGraphicsView(scene) {}

QWidget* HiddenView::makeDialogParent(QWebPage* page,
                                      std::function<void(const QColor&)> askForColour) {
  auto* parent = new DialogParent(this, std::move(askForColour));
  connect(page, &QObject::destroyed, parent, &QObject::deleteLater);
  return parent;
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

}  // namespace LARKA

#include "HiddenView.moc"
