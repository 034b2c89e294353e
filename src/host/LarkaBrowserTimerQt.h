// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include "host/StackUse.h"
#include "larka/ITimer.h"

class QTimer;

/// The one implementation of ITimer, on a QTimer. It is stopped at first, and destroyed only
/// through Dispose(), so that it outlives a callback that gives it back.
class BrowserTimerQT : public QObject, public LARKA::ITimer {
  Q_OBJECT

 public:
  BrowserTimerQT(LARKA::TimerCallback callback, int interval, bool singleShot, void* userData);
  ~BrowserTimerQT() override;

  void SetInterval(int milliseconds) override;
  void Stop() override;
  void Start() override;
  bool IsSingleShot() override;

  void* GetUserData() const { return m_userData; }

 public slots:
  void Fired();
  void Dispose();

 protected:
  bool event(QEvent* event) override;

 private:
  QTimer* m_timer;
  LARKA::TimerCallback m_callback;
  void* m_userData;
  int m_interval;
  bool m_singleShot;
  LARKA::StackUse m_calls = LARKA::StackUse::partOf(LARKA::hostCodeUse());
};
