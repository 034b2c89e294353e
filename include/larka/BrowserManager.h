// SPDX-License-Identifier: MIT
/// @file
/// Starts the library, creates browsers and timers, handles events: where a host begins.
#pragma once

#include "larka/Export.h"
#include "larka/ITimer.h"

namespace LARKA {

class BrowserManagerPrivate;
class ILarkaBrowser;

/// Starts and stops the library, creates browsers and timers, and runs the event loop.
///
/// The host constructs exactly one (with engine processes, one for each), calls Initialize(),
/// creates and destroys browsers and timers while it drives the event loop with PumpEvents() or
/// RunEventLoop(), calls Shutdown(), and destroys it. Every call belongs on the thread that called
/// Initialize(); the library has no threads of its own, except while it starts an engine process.
/// Nothing here throws or reports errors; diagnostics go to the standard error stream.
class LARKA_EXPORT BrowserManager {
 public:
  BrowserManager();

  /// Destroys at once everything that the browsers share, unless Shutdown() already did.
  ~BrowserManager();

  BrowserManager(const BrowserManager&) = delete;
  BrowserManager& operator=(const BrowserManager&) = delete;

  /// Starts the library: creates Qt's application object with these arguments, unless the host has
  /// created one, and everything that the browsers share. Pass `-platform offscreen` to run without
  /// a display. `argv` and its strings must stay valid until the process ends; Qt removes the
  /// arguments that it knows.
  ///
  /// With `--engine-process` among the arguments, QtWebKit runs in another process, with its own
  /// application object; see EngineSettings. The library removes that argument from the array: each
  /// manager needs one of its own.
  ///
  /// A host with an application object of its own must create it on this thread, as a QApplication,
  /// and keep it until after Shutdown(). If it doesn't, or if the process ends first, what the
  /// browsers share is not destroyed.
  void Initialize(int argc, char** argv);

  /// Stops the library and ends RunEventLoop(). With `immediate`, destroys everything shared at
  /// once; otherwise the next PumpEvents(), the end of the running RunEventLoop() or the destructor
  /// does, whichever comes first. Destroy all browsers before this call: one that is left can still
  /// be destroyed safely, but does nothing else. Qt's application object stays. A second call has
  /// no effect.
  void Shutdown(bool immediate);

  /// Creates a browser. Call ILarkaBrowser::Initialize on it before loading anything, and
  /// DestroyBrowser() when done. Returns null before Initialize(), after Shutdown(), and if the
  /// host's application object is not a QApplication.
  ILarkaBrowser* CreateBrowser();

  /// Destroys a browser that CreateBrowser() returned; ignores null.
  ///
  /// With `immediate`, the browser calls no listener any more and is destroyed before this returns
  /// or, if its page script is waiting for a listener, as soon as that script has ended. Otherwise
  /// the next PumpEvents() or pass of RunEventLoop() destroys it, but never while one of its
  /// callbacks is running.
  ///
  /// An inspector (ILarkaBrowser::LaunchInspector) is only shut down, because its browser owns it.
  void DestroyBrowser(ILarkaBrowser* browser, bool immediate);

  /// Creates a timer, stopped; give it back with DisposeTimer(). Once started it calls `callback`,
  /// unless that is null, with itself and `userData`: every `intervalMilliseconds`, or once per
  /// start with `singleShot`. An interval of 0 fires at every pump, a negative one never.
  ITimer* CreateTimer(TimerCallback callback, int intervalMilliseconds, bool singleShot,
                      void* userData);

  /// Gives a timer back; ignores null. The event loop destroys it later, so a timer may be disposed
  /// of inside its own callback. A running timer may still fire once: stop it first if that
  /// matters.
  void DisposeTimer(ITimer* timer);

  /// Handles the events that are waiting, then destroys what is due, and returns without waiting
  /// for more. May be called inside a callback; it then destroys nothing whose callback is still
  /// running. A host with its own loop calls this at least once per frame.
  void PumpEvents();

  /// Handles events as they arrive, until Shutdown(). Sleeps between events; each initialised
  /// browser wakes it about thirty times a second.
  void RunEventLoop();

 private:
  BrowserManagerPrivate* d;
};

}  // namespace LARKA
