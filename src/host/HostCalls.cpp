#include "host/HostCalls.h"

#include <QCoreApplication>
#include <QEvent>
#include <QList>
#include <utility>

#include "host/HostEvents.h"

namespace LARKA {

namespace {

QList<QPointer<QObject>>& pendingDestructions() {
  static QList<QPointer<QObject>> pending;
  return pending;
}

/// What was to be destroyed during a pass of event processing.
QList<QPointer<QObject>>& postponedDestructions() {
  static QList<QPointer<QObject>> postponed;
  return postponed;
}

/// Puts off every deferred destruction of a pass of event processing below which QtWebKit is
/// running, until QtWebKit has left the stack. Qt puts off only those that were asked for before
/// the pass, and QtWebKit would return into objects that it asked to destroy in it.
class DestructionFilter : public QObject {
 public:
  static void install() {
    static QPointer<DestructionFilter> filter;
    if (!QCoreApplication::instance()) return;
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
    whenIdle(EngineUse::ofAnyPage(), this, [this] {
      m_used = false;
      QCoreApplication::instance()->removeEventFilter(this);
      for (const QPointer<QObject>& object : std::exchange(m_waiting, {}))
        if (object) object->deleteLater();
    });
  }

  QList<QPointer<QObject>> m_waiting;
  bool m_used = false;
};

}  // namespace

int HostCalls::s_running = 0;
int PumpScope::s_depth = 0;
int PumpingPause::s_depth = 0;

PumpScope::PumpScope() {
  ++s_depth;
  if (!EngineUse::ofAnyPage().isIdle()) DestructionFilter::install();
}

PumpScope::~PumpScope() {
  if (--s_depth > 0) return;
  QList<QPointer<QObject>> postponed;
  postponed.swap(postponedDestructions());
  for (const QPointer<QObject>& object : postponed)
    if (object) destroyLater(object);
}

void destroyLater(QObject* object) {
  pendingDestructions().append(object);
  object->deleteLater();
}

void carryOutDestructions(bool ofEverything) {
  if (HostCalls::anyRunning() || !EngineUse::ofAnyPage().isIdle() || !QCoreApplication::instance())
    return;
  QList<QPointer<QObject>> pending;
  pending.swap(pendingDestructions());
  for (const QPointer<QObject>& object : pending)
    if (object) QCoreApplication::sendPostedEvents(object, QEvent::DeferredDelete);
  if (ofEverything) QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

bool HostCalls::postpones(QEvent* event) {
  if (event->type() != QEvent::DeferredDelete) return false;
  if (m_running > 0) {
    m_destructionPending = true;
    return true;
  }
  const EngineUse& engine = EngineUse::ofAnyPage();
  if (!engine.isIdle()) {
    whenIdle(engine, m_owner, [owner = m_owner] { destroyLater(owner); });
    return true;
  }
  if (PumpScope::anyRunning()) postponedDestructions().append(m_owner);
  return PumpScope::anyRunning();
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
