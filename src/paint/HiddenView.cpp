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

/// A child of a dialog: the page is on the stack until the dialog is destroyed. When it is hidden
/// its event loop may still have events to handle.
class DialogMark : public QObject {
  Q_OBJECT

 public:
  DialogMark(QDialog* dialog, const StackUse& page) : QObject(dialog), m_page(page) {}

 private:
  OnStack m_page;
};

/// Rejects the dialogs that it becomes the parent of.
class DialogParent : public QWidget {
  Q_OBJECT

 public:
  DialogParent(QWidget* parent, const StackUse& page,
               std::function<void(const QColor&)> askForColour)
      : QWidget(parent), m_page(page), m_askForColour(std::move(askForColour)) {
    resize(0, 0);
  }

  // A dialog is polished right before it is shown; its own event loop then handles the rejection.
  bool eventFilter(QObject* object, QEvent* event) override {
    auto* dialog = qobject_cast<QDialog*>(object);
    if (dialog && event->type() == QEvent::Polish) {
      dialog->setAttribute(Qt::WA_DontShowOnScreen);
      new DialogMark(dialog, m_page);
      QMetaObject::invokeMethod(dialog, "reject", Qt::QueuedConnection);
      auto* colours = qobject_cast<QColorDialog*>(dialog);
      if (colours) m_askForColour(colours->currentColor());
    }
    return QWidget::eventFilter(object, event);
  }

 protected:
  void childEvent(QChildEvent* event) override {
    QWidget::childEvent(event);
    if (event->added()) event->child()->installEventFilter(this);
  }

 private:
  StackUse m_page;
  std::function<void(const QColor&)> m_askForColour;
};

}  // namespace

HiddenView::HiddenView(QGraphicsScene* scene) : QGraphicsView(scene) {}

QWidget* HiddenView::makeDialogParent(QWebPage* page, const StackUse& use,
                                      std::function<void(const QColor&)> askForColour) {
  auto* parent = new DialogParent(this, use, std::move(askForColour));
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
