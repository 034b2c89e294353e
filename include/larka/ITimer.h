// SPDX-License-Identifier: MIT
/// @file
/// Timers for hosts.
#pragma once

#include "larka/Export.h"

namespace LARKA {

/// A timer that fires while the host pumps events. The library implements it. The host gets one
/// from BrowserManager::CreateTimer, gives it back with BrowserManager::DisposeTimer and never
/// deletes it. Use it only on the thread that called BrowserManager::Initialize. The order of the
/// operations is part of the binary interface.
class LARKA_EXPORT ITimer {
 public:
  virtual ~ITimer() {}

  /// Sets the interval in milliseconds. A running timer keeps its old interval until the next
  /// Start().
  virtual void SetInterval(int milliseconds) = 0;

  /// Stops the timer. Start() starts it again.
  virtual void Stop() = 0;

  /// Starts the timer, or restarts it if it is running, with the interval that was set last.
  virtual void Start() = 0;

  /// Returns true if the timer stops by itself after firing once.
  virtual bool IsSingleShot() = 0;
};

/// Called on the thread that pumps events, with the timer that fired and the user data that was
/// passed to BrowserManager::CreateTimer.
typedef void (*TimerCallback)(ITimer* timer, void* userData);

}  // namespace LARKA
