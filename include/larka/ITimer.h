// ITimer.h: timers that fire on the library's event loop.
#pragma once

#include "larka/Export.h"

namespace LARKA {

/// A timer that fires while the host pumps events. The library implements it; the host gets one
/// from BrowserManager::CreateTimer, gives it back to BrowserManager::DisposeTimer and never
/// deletes it. Use it only on the thread that called BrowserManager::Initialize. The order of the
/// operations is part of the binary interface.
class LARKA_EXPORT ITimer {
 public:
  virtual ~ITimer() {}

  /// Sets the period in milliseconds. A running timer keeps its old period until the next Start().
  virtual void SetInterval(int milliseconds) = 0;

  /// Stops the timer. A stopped timer can be started again.
  virtual void Stop() = 0;

  /// Starts the timer with the interval last set, from the beginning if it was running.
  virtual void Start() = 0;

  /// True when the timer stops by itself after firing once.
  virtual bool IsSingleShot() = 0;
};

/// Called by a timer on the thread that pumps events, with the timer that fired and the user data
/// given to BrowserManager::CreateTimer.
typedef void (*TimerCallback)(ITimer* timer, void* userData);

}  // namespace LARKA
