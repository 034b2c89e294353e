// BrowserManager.h: the start and the end of the library, and of every browser.
#pragma once

#include "larka/Export.h"
#include "larka/ITimer.h"

namespace LARKA {

class BrowserManagerPrivate;
class ILarkaBrowser;

/// Starts and stops the library, makes browsers and timers, and runs the event loop.
///
/// A host constructs exactly one. Its life: construct, Initialize, create and destroy browsers and
/// timers while driving the loop with PumpEvents or RunEventLoop, Shutdown, destroy. Everything
/// happens on the thread that called Initialize; the library starts no threads of its own. Nothing
/// here throws or reports errors; diagnostics go to the standard error stream.
class LARKA_EXPORT BrowserManager {
 public:
  BrowserManager();

  /// Destroys at once everything that the browsers share, if Shutdown did not.
  ~BrowserManager();

  BrowserManager(const BrowserManager&) = delete;
  BrowserManager& operator=(const BrowserManager&) = delete;

  /// Starts the library: makes the toolkit's application object with these arguments, unless the
  /// host made one before, and everything that the browsers share. `-platform offscreen` among the
  /// arguments makes the library run without a display. `argv` and its texts must stay valid until
  /// the process ends; arguments that the toolkit knows are removed from it.
  ///
  /// A host that brings its own application object must bring a QApplication, made on this thread,
  /// and keep it until after Shutdown. Where it doesn't, or the process ends first, what the
  /// browsers share is left to the process.
  void Initialize(int argc, char** argv);

  /// Stops the library and ends RunEventLoop. With `immediate` everything shared is destroyed at
  /// once, otherwise by the next PumpEvents, at the end of the running RunEventLoop or with this
  /// object, whichever comes first. Destroy the browsers before; one that is still alive stays safe
  /// to destroy and can do nothing else. The application object stays. A second call does nothing
  /// more.
  void Shutdown(bool immediate);

  /// Makes a browser. The caller gives it back with DestroyBrowser and calls
  /// ILarkaBrowser::Initialize before it loads anything. Returns null before Initialize, after
  /// Shutdown, and where the host's own application object is not a QApplication.
  ILarkaBrowser* CreateBrowser();

  /// Destroys a browser made by CreateBrowser; null is ignored. With `immediate` it calls no
  /// listener any more and is destroyed before the call returns or, inside an event that its page
  /// waits for, when the page's script has ended. Otherwise it is destroyed by the next PumpEvents
  /// or pass of RunEventLoop, but never while one of its callbacks is still running. An inspector
  /// (ILarkaBrowser::LaunchInspector) is only shut down: it belongs to its browser.
  void DestroyBrowser(ILarkaBrowser* browser, bool immediate);

  /// Makes a stopped timer: `callback` is called with it and `userData` every
  /// `intervalMilliseconds` once it is started (at every pump with 0, never with less), or only
  /// once for each start when `singleShot`. A null callback is not called. The caller gives the
  /// timer back with DisposeTimer.
  ITimer* CreateTimer(TimerCallback callback, int intervalMilliseconds, bool singleShot,
                      void* userData);

  /// Gives a timer back; null is ignored. Nothing happens at once: the timer is destroyed from the
  /// event loop, so that it may be disposed of inside its own callback, and one that is running may
  /// fire once more before. Stop it first where that matters.
  void DisposeTimer(ITimer* timer);

  /// Handles the events that are waiting, then carries out the deferred destructions, and returns.
  /// It doesn't wait. May be called from inside a callback; nothing whose callback is still running
  /// is destroyed then. A host with its own loop calls this at least as often as it shows pictures.
  void PumpEvents();

  /// Handles events as they arrive, until Shutdown. Between events it sleeps; each initialised
  /// browser wakes it about thirty times a second.
  void RunEventLoop();

 private:
  BrowserManagerPrivate* d;
};

}  // namespace LARKA
