// SPDX-License-Identifier: MIT
#include "host/LarkaBrowserTimerQt.h"

#include <QTimer>

#include "host/Destruction.h"

BrowserTimerQT::BrowserTimerQT(LARKA::TimerCallback callback, int interval, bool singleShot,
                               void* userData)
    : m_timer(new QTimer(this)),
      m_callback(callback),
      m_userData(userData),
      m_interval(interval),
      m_singleShot(singleShot) {
  m_timer->setSingleShot(singleShot);
  connect(m_timer, SIGNAL(timeout()), this, SLOT(Fired()));
}

BrowserTimerQT::~BrowserTimerQT() {
  m_timer->stop();
  delete m_timer;
}

void BrowserTimerQT::SetInterval(int milliseconds) { m_interval = milliseconds; }

void BrowserTimerQT::Stop() { m_timer->stop(); }

void BrowserTimerQT::Start() { m_timer->start(m_interval); }

bool BrowserTimerQT::IsSingleShot() { return m_singleShot; }

void BrowserTimerQT::Fired() {
  if (!m_callback) return;
  const LARKA::OnStack calling(m_calls);
  m_callback(this, m_userData);
}

void BrowserTimerQT::Dispose() { deleteLater(); }

bool BrowserTimerQT::event(QEvent* event) {
  return LARKA::postponesDestruction(event, this, m_calls) || QObject::event(event);
}
