// HostCalls.h: destroying objects later, and never underneath the host's code that they are
// calling.
#pragma once

#include <QPointer>

class QEvent;
class QObject;

namespace LARKA {

/// Asks for the deferred destruction of one of the library's objects.
void destroyLater(QObject* object);

/// Carries out the destructions asked for with destroyLater and, with `ofEverything`, those that
/// anyone asked the toolkit for. Does nothing while host code is being called, or QtWebKit is on
/// the stack.
///
/// The toolkit carries out a deferred destruction only when an event loop of its own returns to
/// where it was asked for; one asked for outside all event handlers would wait for ever while a
/// host only pumps.
void carryOutDestructions(bool ofEverything);

/// Stands around a pass of event processing, during which none of the library's objects is
/// destroyed: the engine may open an event loop of its own in it, and be running underneath. At the
/// end of the outermost one they are asked for again.
class PumpScope {
 public:
  PumpScope();
  ~PumpScope();
  PumpScope(const PumpScope&) = delete;
  PumpScope& operator=(const PumpScope&) = delete;

  static bool anyRunning() { return s_depth > 0; }

 private:
  static int s_depth;
};

/// Stands where a page asks whether it may be left. QtWebKit is in the middle of beginning a load
/// then, and would not survive what a pump brings: meanwhile PumpEvents does nothing.
class PumpingPause {
 public:
  PumpingPause() { ++s_depth; }
  ~PumpingPause() { --s_depth; }
  PumpingPause(const PumpingPause&) = delete;
  PumpingPause& operator=(const PumpingPause&) = delete;

  static bool anyRunning() { return s_depth > 0; }

 private:
  static int s_depth;
};

/// Counts the calls into host code that an object has on the stack and puts off the object's
/// deferred destruction until the last of them has returned.
///
/// The toolkit alone can't tell: a listener that is called because the host ran a script, with no
/// event handler below it, and that destroys its browser and pumps, would have the browser
/// destroyed under its feet.
class HostCalls {
 public:
  explicit HostCalls(QObject* owner) : m_owner(owner) {}
  HostCalls(const HostCalls&) = delete;
  HostCalls& operator=(const HostCalls&) = delete;

  /// For the owner's event(): true when `event` is a deferred destruction that has to wait. It is
  /// asked for again when the last call returns, QtWebKit has left the stack, and the last pass of
  /// event processing has ended.
  bool postpones(QEvent* event);

  /// Whether any object has a call into host code on the stack.
  static bool anyRunning() { return s_running > 0; }

  /// Stands around one or more calls into host code.
  class Scope {
   public:
    explicit Scope(HostCalls* calls);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

    /// Whether the owner is still there; the host may destroy it at once.
    bool ownerAlive() const { return !m_owner.isNull(); }

   private:
    HostCalls* m_calls;
    QPointer<QObject> m_owner;
  };

 private:
  QObject* m_owner;
  int m_running = 0;
  bool m_destructionPending = false;
  static int s_running;
};

}  // namespace LARKA
