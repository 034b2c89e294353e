#include "HostCalls.h"

#include <QEvent>

namespace LARKA {

int HostCalls::s_running = 0;

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
  m_owner->deleteLater();
}

}  // namespace LARKA
