// SPDX-License-Identifier: MIT
#pragma once

#include <unistd.h>

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "channel/Caller.h"
#include "channel/Channel.h"
#include "larka/BrowserManager.h"
#include "remote/EngineProcess.h"
#include "remote/RemoteTimer.h"

namespace LARKA {

class LarkaPluginWidgetPrivate;
class RemoteBrowser;

/// The manager of a host whose QtWebKit runs in a process of its own: starts the process, talks to
/// it, and starts it again. docs/architecture.md says who waits for whom.
class RemoteManager : public Caller,
                      public HostRequests,
                      public std::enable_shared_from_this<RemoteManager> {
 public:
  /// Takes an argument out of a program's arguments. Returns whether it was there.
  static bool takeArgument(const char* argument, int* count, char** arguments);

  /// Returns the manager that `owner` has, or null.
  static RemoteManager* of(const BrowserManager* owner);

  /// The settings of all engine processes.
  static const EngineSettings& settings();
  static void setSettings(const EngineSettings& settings);

  /// Passes storage limits on to all engine processes, and those to come.
  static void setStorageLimits(long long bytesPerOrigin, long long bytesInAll);

  explicit RemoteManager(const BrowserManager* owner);
  ~RemoteManager() override;

  // What BrowserManager does.

  void initialize(int count, char** arguments);
  void shutDown(bool immediate);

  /// Shuts down what still has to be: the manager is destroyed.
  void end();

  ILarkaBrowser* createBrowser();
  static void destroyBrowser(RemoteBrowser* browser, bool immediate);
  ITimer* createTimer(TimerCallback callback, int interval, bool singleShot, void* userData);
  bool disposeTimer(ITimer* timer);
  void pumpEvents();
  void runEventLoop();

  /// Ends the process, whatever it is doing. Returns false if there is none.
  bool endProcess();

  /// Whether there have been too many processes.
  bool isStopped() const { return m_state == Stopped; }

  /// Has the next pump tell a browser's listeners that there is no process, also if it has before.
  void repeatStopped(int browser);

  /// Starts one after there have been too many.
  bool restart();

  /// Makes the inspector of a browser; null if it has none.
  RemoteBrowser* launchInspector(RemoteBrowser* inspected, bool show);

  template <auto Operation, typename... A>
  QByteArray contentFor(qint64 target, A&&... arguments) {
    return contentOf<Operation>(target, arguments...);
  }

  /// Whether an operation can't be called with that: it does nothing then.
  static bool isTooLong(const QByteArray& content);

  int generation() const override { return m_generation; }
  void post(quint16 operation, const QByteArray& content) override;

  // Objects. The host names only those that it has got.

  qint64 idOf(const LarkaHTMLControl&) override { return 0; }
  qint64 idOf(const LarkaPluginWidget& plugin) override;
  LarkaHTMLControl controlOf(qint64 id) override;
  LarkaPluginWidget pluginOf(qint64 id) override;

  // HostRequests.

  void started() override;
  void diagnostics(const char* line) override;
  void imageMade(int browser, long long image, bool isPage, int stride, int rows) override;
  void imageChanged(int browser, long long image, int half, const std::vector<Rectangle>& parts,
                    const std::vector<long long>& plugins) override;
  void pluginsGone(const std::vector<long long>& plugins) override;
  void ping() override {}

  /// Returns the browser with this number, or null.
  RemoteBrowser* browserOf(qint64 id) const;
  void forget(RemoteBrowser* browser);

 protected:
  std::optional<QByteArray> call(quint16 operation, const QByteArray& content,
                                 bool canBeLater) override;
  void makesNoSense() override;

 private:
  using Clock = std::chrono::steady_clock;
  enum State { NotStarted, Starting, Answering, Silent, Stopped, ShutDown };

  /// A message that the next pump serves, or news of the process for a browser.
  struct Held {
    Message message;
    std::optional<EngineState> news;
    int browser = 0;
  };

  bool isTalking() const { return m_channel.isOpen(); }
  bool answers() const { return m_state == Answering || m_state == ShutDown; }
  void startProcess();
  quint32 send(Message::Kind kind, quint16 operation, const QByteArray& content);
  void awaitAnswer(const std::optional<QByteArray>& answer);
  bool isCallHeld() const;
  void sort();
  void takeAnswer(const Message& message);
  /// Whether the call that is awaited has this number, or came before it.
  bool isAwaited(quint32 id) const { return m_awaited && static_cast<qint32>(id - m_awaited) >= 0; }
  static bool isUrgent(const Message& message);
  void serveHeld();
  void serve(const Held& held);
  bool dispatch(const Message& message, Coder& in, Coder& out);
  void processEnded();
  void becomes(State state, EngineState news);
  void hold(EngineState news);
  void tellNews(int browser, EngineState news);
  void watchOver();
  void fireTimers();
  Clock::time_point nextTimer() const;
  void finishPump();
  static void endWithHost();
  void shutDownNow();
  void endIfUnused();

  const BrowserManager* m_owner;
  const pid_t m_host = getpid();
  State m_state = NotStarted;
  std::vector<std::string> m_arguments;
  EngineProcess m_process;
  Channel m_channel;
  int m_generation = 0;
  std::deque<Clock::time_point> m_ends;  // of processes
  quint32 m_lastId = 0;
  std::map<quint32, std::optional<QByteArray>*> m_waiting;  // calls, and where their answers go
  quint32 m_awaited = 0;  // a ping, or a call that nobody waits for any more; 0 for none
  Clock::time_point m_awaitedSince, m_lastSign, m_stateSince;
  std::deque<Held> m_held;
  int m_serving = 0;              // calls of the engine process
  quint32 m_pumpThere = 0;        // the request for it that is under way; 0 for none
  bool m_shutsDownLater = false;  // with the next pump
  bool m_isStuck = false;         // it didn't answer when the host shut down
  int m_lastBrowser = 0;
  std::map<int, RemoteBrowser*> m_browsers;
  std::vector<RemoteBrowser*> m_dying;
  std::vector<RemoteTimer*> m_timers, m_disposed;
  std::map<qint64, LarkaPluginWidget> m_plugins;  // that the host has heard of
};

}  // namespace LARKA
