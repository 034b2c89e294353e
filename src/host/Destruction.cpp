// SPDX-License-Identifier: MIT
#include "host/Destruction.h"

#include <QCoreApplication>
#include <QEvent>
#include <QList>
#include <QPointer>
#include <utility>

#include "host/HostEvents.h"

namespace LARKA {

namespace {

QList<QPointer<QObject>>& pendingDestructions() {
  static QList<QPointer<QObject>> pending;
  return pending;
}

/// Puts off every deferred destruction of a pump below which QtWebKit is running, until QtWebKit
/// has left the stack. Qt puts off only those that were asked for before the pump, and QtWebKit
/// would return into objects that it asked to destroy in it.
class DestructionFilter : public QObject {
 public:
  static void install() {
    static QPointer<DestructionFilter> filter;
    if (!filter) filter = new DestructionFilter(QCoreApplication::instance());
    filter->use();
  }

  bool eventFilter(QObject* object, QEvent* event) override {
    if (event->type() != QEvent::DeferredDelete) return false;
    m_waiting.append(object);
    return true;
  }

 private:
  explicit DestructionFilter(QObject* parent) : QObject(parent) {}

  void use() {
    if (m_used) return;
    m_used = true;
    QCoreApplication::instance()->installEventFilter(this);
    whenIdle(webKitUse(), this, [this] {
      m_used = false;
      QCoreApplication::instance()->removeEventFilter(this);
      // By name: QtWebKit's objects have no type information, without which UBSan refuses the call.
      for (const QPointer<QObject>& object : std::exchange(m_waiting, {}))
        if (object) QMetaObject::invokeMethod(object, "deleteLater", Qt::DirectConnection);
    });
  }

  QList<QPointer<QObject>> m_waiting;
  bool m_used = false;
};

}  // namespace

void destroyLater(QObject* object) {
  pendingDestructions().append(object);
  object->deleteLater();
}

bool postponesDestruction(QEvent* event, QObject* object, const StackUse& calls) {
  if (event->type() != QEvent::DeferredDelete) return false;
  for (const StackUse& use : {calls, webKitUse(), pumpUse()}) {
    if (use.isIdle()) continue;
    whenIdle(use, object, [object] { destroyLater(object); });
    return true;
  }
  return false;
}

QEvent::Type endOfPump() {
  static const int type = QEvent::registerEventType();
  return static_cast<QEvent::Type>(type);
}

void pump(QEventLoop::ProcessEventsFlags flags, bool everything) {
  if (!QCoreApplication::instance()) return;
  if (!webKitUse().isIdle()) DestructionFilter::install();
  {
    const OnStack pumping(pumpUse());
    QCoreApplication::processEvents(flags);
    QCoreApplication::sendPostedEvents(nullptr, endOfPump());
  }
  carryOutDestructions(everything);
}

void carryOutDestructions(bool everything) {
  if (!QCoreApplication::instance() || !pumpUse().isIdle()) return;
  runIdleOperations();
  if (!hostCodeUse().isIdle() || !webKitUse().isIdle()) return;
  for (const QPointer<QObject>& object : std::exchange(pendingDestructions(), {}))
    if (object) QCoreApplication::sendPostedEvents(object, QEvent::DeferredDelete);
  if (everything) QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

}  // namespace LARKA
