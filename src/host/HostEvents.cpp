// SPDX-License-Identifier: MIT
#include "host/HostEvents.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <algorithm>
#include <deque>
#include <utility>

namespace LARKA {

namespace {

const size_t kMostWaitingEvents = 4096;

/// A call that is dropped when its receiver goes before, if it has one.
class Waiting {
 public:
  Waiting(QObject* receiver, std::function<void()> call)
      : m_hasReceiver(receiver != nullptr), m_receiver(receiver), m_call(std::move(call)) {}

  bool isDropped() const { return m_hasReceiver && !m_receiver; }
  void carryOut() const {
    if (!isDropped()) m_call();
  }

 private:
  bool m_hasReceiver;
  QPointer<QObject> m_receiver;
  std::function<void()> m_call;
};

struct WaitingOperation {
  Waiting waiting;
  StackUse use;
};

/// The events that wait for the host, and the operations that wait for QtWebKit.
class HostEventQueue : public QObject {
 public:
  /// Null without an application object, and therefore without an event loop.
  static HostEventQueue* instance() {
    static QPointer<HostEventQueue> queue;
    if (!queue && QCoreApplication::instance())
      queue = new HostEventQueue(QCoreApplication::instance());
    return queue;
  }

  void addEvent(Waiting event, const StackUse& page) {
    m_events.push_back(std::move(event));
    if (m_events.size() < kMostWaitingEvents)
      wakeUp();
    else
      const ScriptWait deliversThem(page);
  }

  void addOperation(WaitingOperation operation) {
    m_operations.push_back(std::move(operation));
    runOperations();
    wakeUp();
  }

  /// Delivers the events that are waiting now. Those that they cause wait for the event loop: a
  /// listener that always causes another one must not hold its host.
  void deliver() {
    const QPointer<HostEventQueue> self(this);
    ++m_delivering;
    for (size_t left = m_events.size(); left > 0 && self && !m_events.empty(); --left) {
      const Waiting event = std::move(m_events.front());
      m_events.pop_front();
      event.carryOut();
    }
    if (!self) return;
    --m_delivering;
    wakeUp();
  }

  /// Calls the operations whose use is idle, also while one of them is running.
  void runOperations() {
    const QPointer<HostEventQueue> self(this);
    const auto mayRun = [](const WaitingOperation& operation) {
      return operation.waiting.isDropped() || operation.use.isIdle();
    };
    while (self) {
      const auto next = std::find_if(m_operations.begin(), m_operations.end(), mayRun);
      if (next == m_operations.end()) return;
      const Waiting operation = std::move(next->waiting);
      m_operations.erase(next);
      operation.carryOut();
    }
  }

  bool isDelivering() const { return m_delivering > 0; }

  bool event(QEvent* event) override {
    if (event->type() != QEvent::User) return QObject::event(event);
    turn();
    return true;
  }

 private:
  explicit HostEventQueue(QObject* parent) : QObject(parent) {
    m_later.setSingleShot(true);
    m_later.setInterval(1);
    connect(&m_later, &QTimer::timeout, this, &HostEventQueue::turn);
  }

  // A posted event that posts another one is handled in the same pass of the event loop, which
  // might then never end. Hence the timer for what comes up during a delivery.
  void wakeUp() {
    if (m_awaited || (m_events.empty() && m_operations.empty())) return;
    m_awaited = true;
    if (m_delivering > 0 || m_turning)
      m_later.start();
    else
      QCoreApplication::postEvent(this, new QEvent(QEvent::User), Qt::HighEventPriority);
  }

  void turn() {
    const QPointer<HostEventQueue> self(this);
    m_awaited = false;
    const bool outer = std::exchange(m_turning, true);
    runOperations();
    if (self) deliver();
    if (self) m_turning = outer;
  }

  std::deque<Waiting> m_events;
  std::deque<WaitingOperation> m_operations;
  int m_delivering = 0;
  bool m_turning = false;
  bool m_awaited = false;  // whether the event loop will come back here
  QTimer m_later;
};

}  // namespace

WebKitCall::WebKitCall(const StackUse& page) : m_webKit(page) {}

// Listeners that call QtWebKit get what that causes after the event that they are handling, not
// inside it.
WebKitCall::~WebKitCall() {
  m_webKit.reset();
  if (!webKitUse().isIdle()) return;
  auto* queue = HostEventQueue::instance();
  if (!queue) return;
  queue->runOperations();
  if (!queue->isDelivering()) queue->deliver();
}

ScriptWait::ScriptWait(const StackUse& page) : m_webKit(page) {
  if (auto* queue = HostEventQueue::instance()) queue->deliver();
}

void postHostEvent(QObject* receiver, const StackUse& page, std::function<void()> event) {
  if (auto* queue = HostEventQueue::instance()) queue->addEvent({receiver, std::move(event)}, page);
}

void whenIdle(const StackUse& use, QObject* receiver, std::function<void()> operation) {
  Waiting waiting(receiver, std::move(operation));
  if (auto* queue = HostEventQueue::instance())
    queue->addOperation({std::move(waiting), use});
  else
    waiting.carryOut();
}

void runIdleOperations() {
  if (auto* queue = HostEventQueue::instance()) queue->runOperations();
}

}  // namespace LARKA
