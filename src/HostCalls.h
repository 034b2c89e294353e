// HostCalls.h: which objects have a call into the host's code on the stack.
#pragma once

#include <QPointer>

class QEvent;
class QObject;

namespace LARKA {

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
  /// asked for again when the last call returns.
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
