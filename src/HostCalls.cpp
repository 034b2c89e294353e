#include "HostCalls.h"

#include <QCoreApplication>
#include <QEvent>
#include <QList>

namespace LARKA {

namespace {

QList<QPointer<QObject>>& pendingDestructions() {
  static QList<QPointer<QObject>> pending;
  return pending;
}

}  // namespace

int HostCalls::s_running = 0;

void destroyLater(QObject* object) {
  pendingDestructions().append(object);
  object->deleteLater();
}

void carryOutDestructions(bool ofEverything) {
  if (HostCalls::anyRunning() || !QCoreApplication::instance()) return;
  QList<QPointer<QObject>> pending;
  pending.swap(pendingDestructions());
  for (const QPointer<QObject>& object : pending)
    if (object) QCoreApplication::sendPostedEvents(object, QEvent::DeferredDelete);
  if (ofEverything) QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

bool HostCalls::postpones(QEvent* event) {
  if (event->type() != QEvent::DeferredDelete || m_running == 0) return false;
  m_destructionPending = true;
  return true;
}

HostCalls::Scope::Scope(HostCalls* calls) : m_calls(calls), m_owner(calls->m_owner) {
  ++s_running;
  ++m_calls->m_running;
}

HostCalls::Scope::~Scope() {
  --s_running;
  if (!ownerAlive()) return;
  if (--m_calls->m_running > 0 || !m_calls->m_destructionPending) return;
  m_calls->m_destructionPending = false;
  destroyLater(m_owner);
}

}  // namespace LARKA
