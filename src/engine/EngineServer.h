// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "channel/Channel.h"
#include "channel/Operations.h"
#include "larka/BrowserManager.h"

namespace LARKA {

class EngineBrowser;

/// Calls for the host what it asks for, and passes the events on to it. It is a host of the library
/// like any other.
class EngineServer : public QObject, public Objects, public EngineRequests {
 public:
  /// With `writingIsLimited` it was limited from the start.
  EngineServer(Channel channel, BrowserManager* manager, bool writingIsLimited);
  ~EngineServer() override;

  /// Runs until the host has shut the library down or has ended.
  void run();

  /// Calls an operation of the host's. If it answers nothing, or if nobody waits for what is going
  /// on, the host gets it in its next pump, and this goes on.
  template <auto Event, typename... A>
  void tell(qint64 browser, A&&... arguments) {
    const QByteArray content = contentOf<Event>(browser, arguments...);
    if (m_within != 0)
      call(HostOperations::numberOf<Event>(), content);
    else
      note(HostOperations::numberOf<Event>(), content);
  }

  /// Calls an operation of the host's and waits for its answer, which may be nothing.
  template <auto Event, typename... A>
  auto ask(qint64 browser, A&&... arguments) {
    const QByteArray content =
        call(HostOperations::numberOf<Event>(), contentOf<Event>(browser, arguments...));
    Coder in(*this, content);
    bool wasCalled = false;
    in.get(wasCalled);
    using Result = decltype(CallTo<Event>::takeBack(in, arguments...));
    return wasCalled ? CallTo<Event>::takeBack(in, arguments...) : Result();
  }

  /// Sends without waiting. A file goes along, unless it is -1.
  template <auto Operation, typename... A>
  void send(A&&... arguments) {
    note(HostOperations::numberOf<Operation>(), contentOf<Operation>(0, arguments...), m_within);
  }
  void attach(int file) { m_attached = file; }

  /// Names a plug-in as idOf does, without counting that.
  static qint64 nameOf(const LarkaPluginWidget& plugin);

  /// Calls `function` once everything that is on the stack has returned.
  template <typename Function>
  void later(const Function& function) {
    QMetaObject::invokeMethod(this, function, Qt::QueuedConnection);
  }

  // Objects. The host names none of its own.

  qint64 idOf(const LarkaHTMLControl& control) override;
  qint64 idOf(const LarkaPluginWidget& plugin) override;
  LarkaHTMLControl controlOf(qint64 id) override;
  LarkaPluginWidget pluginOf(qint64 id) override;

  // EngineRequests.

  void createBrowser(int id) override;
  void destroyBrowser(int id) override;
  bool launchInspector(int browser, int id, bool show) override;
  void listenToExtras(int browser) override;
  void setStorageLimits(long long bytesPerOrigin, long long bytesInAll) override;
  void limitMemory(long long bytes) override;
  std::string imageFile(int browser, int width, int height) override;
  void shutDown() override;
  void finish() override { m_finished = true; }
  void ping() override {}
  void pump() override;
  void imageTaken(int browser) override;
  bool refreshImage(int browser) override;
  void releaseControl(long long id, int times) override;
  void releasePlugin(long long id, int times) override;

 private:
  template <typename Handle>
  struct Known {
    Handle handle;
    int times = 0;  // that the host got it
  };

  template <auto Event, typename... A>
  QByteArray contentOf(qint64 target, A&&... arguments) {
    QByteArray content;
    Coder out(*this, &content);
    out.put(target);
    CallTo<Event>::put(out, arguments...);
    return content;
  }

  QByteArray call(quint16 operation, const QByteArray& content);
  void note(quint16 operation, const QByteArray& content, quint32 within = 0);
  void send(const Message& message);
  void serveWaiting();
  void serve(const Message& message);
  bool dispatch(const Message& message, Coder& in, Coder& out);
  void checkImages(bool arePages = true);
  void lockDown();

  // What has to be known of an operation, or done, before it is called.
  template <typename Operation, typename... A>
  void prepare(A&&... arguments);
  void useDirectory(const char* path);
  void useFile(const char* path);
  EngineBrowser* browserOf(qint64 id) const;

  Channel m_channel;
  BrowserManager* m_manager;
  QSocketNotifier m_arrival;
  quint32 m_lastId = 0, m_within = 0;
  int m_attached = -1;
  long long m_memoryLimit = 0;
  bool m_writingIsLimited, m_hasPages = false;
  std::set<std::string> m_writable;  // directories
  bool m_finished = false;
  bool m_fillsScreen = false;  // a plug-in, from this call on
  std::map<quint32, std::optional<QByteArray>*> m_waiting;
  std::map<int, std::shared_ptr<EngineBrowser>> m_browsers;
  std::map<int, ILarkaBrowser*> m_inspectors;
  qint64 m_lastControl = 0;
  std::map<qint64, LarkaHTMLControl> m_controls;
  std::map<qint64, Known<LarkaPluginWidget>> m_plugins;
};

}  // namespace LARKA
