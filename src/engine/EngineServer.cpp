// SPDX-License-Identifier: MIT
#include "engine/EngineServer.h"

#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

#include "engine/EngineBrowser.h"
#include "engine/LockDown.h"
#include "larka/StorageLimits.h"
#include "larka/applicationSupportPath.h"

namespace LARKA {

namespace {

// A host often asks several things in a row. So this looks a little longer for the next one: a turn
// of the event loop would take twice as long as an answer. One that asks whether a page has running
// requests waits for what the event loop does.
const long kLingerNanoseconds = 100000;
const qint64 kLingerInAllMilliseconds = 5;

/// The host wouldn't take it. It gets an empty result, or no event.
bool isTooLong(const QByteArray& content) { return content.size() > Channel::kLongestContent; }

}  // namespace

EngineServer::EngineServer(Channel channel, BrowserManager* manager, bool writingIsLimited)
    : m_channel(std::move(channel)),
      m_manager(manager),
      m_arrival(m_channel.socket(), QSocketNotifier::Read),
      m_writingIsLimited(writingIsLimited) {
  connect(&m_arrival, &QSocketNotifier::activated, this, [this] { serveWaiting(); });
  SetDiagnosticsHandler(
      [](const char* line, void* self) {
        auto* server = static_cast<EngineServer*>(self);
        if (server->m_channel.isOpen()) server->send<&HostRequests::diagnostics>(line);
      },
      this);
}

EngineServer::~EngineServer() { SilenceDiagnostics(); }

void EngineServer::run() {
  send<&HostRequests::started>();
  m_manager->RunEventLoop();
  for (serveWaiting(); !m_finished; serveWaiting()) m_channel.wait(-1);
}

// Messages.

void EngineServer::send(const Message& message) {
  m_channel.send(message, std::exchange(m_attached, -1));
  while (m_channel.unsent() > 0) m_channel.wait(-1);
}

void EngineServer::note(quint16 operation, const QByteArray& content, quint32 within) {
  if (!isTooLong(content)) send({Message::Note, operation, 0, within, content});
}

// Whatever the host asks meanwhile is part of its answer. A host that has ended never answers.
QByteArray EngineServer::call(quint16 operation, const QByteArray& content) {
  if (isTooLong(content)) return {};
  std::optional<QByteArray> answer;
  const quint32 id = ++m_lastId;
  m_waiting[id] = &answer;
  send({Message::Call, operation, id, m_within, content});
  while (!answer) {
    if (m_channel.hasMessage())
      serve(m_channel.take());
    else if (m_channel.isOpen())
      m_channel.wait(-1);
    else
      exit(0);
  }
  m_waiting.erase(id);
  if (m_channel.hasMessage()) later([this] { serveWaiting(); });
  return *answer;
}

void EngineServer::serveWaiting() {
  QElapsedTimer timer;
  timer.start();
  m_channel.exchange();
  while (m_channel.hasMessage()) {
    const Message message = m_channel.take();
    serve(message);
    if (m_channel.hasMessage() || message.kind != Message::Call) continue;
    pollfd ready = {m_channel.socket(), POLLIN, 0};
    const timespec linger = {0, kLingerNanoseconds};
    const bool lingers = timer.elapsed() < kLingerInAllMilliseconds &&
                         message.operation != EngineOperations::numberOf<&HasRunningRequests>();
    if (lingers && m_channel.isOpen() && ppoll(&ready, 1, &linger, nullptr) > 0)
      m_channel.exchange();
  }
  if (!m_channel.isOpen()) exit(0);
}

void EngineServer::serve(const Message& message) {
  if (message.kind == Message::Answer) {
    const auto waiting = m_waiting.find(message.id);
    if (waiting != m_waiting.end()) *waiting->second = message.content;
    return;
  }
  const quint32 outer = std::exchange(m_within, message.kind == Message::Call ? message.id : 0);
  QByteArray content;
  Coder in(*this, message.content), out(*this, &content);
  if (!dispatch(message, in, out)) {
    fprintf(stderr, "larka-engine: the host sent what makes no sense\n");
    exit(1);
  }
  checkImages(!std::exchange(m_fillsScreen, false));
  m_within = outer;
  if (isTooLong(content)) {
    content.clear();
    Coder(*this, &content).put(false);
  }
  if (message.kind != Message::Note)
    send({Message::Answer, message.operation, message.id, 0, content});
}

// Writes whether there was anything to call the operation on, and the result.
bool EngineServer::dispatch(const Message& message, Coder& in, Coder& out) {
  qint64 target = 0;
  in.get(target);
  bool isServed = false;
  const auto serveOn = [&](auto operation, auto* object) {
    using Operation = decltype(operation);
    isServed = in.ok();
    out.put(object != nullptr);
    if (!object) return;
    isServed = CallTo<Operation::value>::serve(in, out, [this, object](auto&&... arguments) {
      prepare<Operation>(arguments...);
      if constexpr (std::is_member_function_pointer_v<typename Operation::value_type>)
        return (object->*Operation::value)(arguments...);
      else
        return Operation::value(object, arguments...);
    });
  };
  EngineOperations::with(message.operation, [&](auto operation) {
    using Target = typename CallTo<decltype(operation)::value>::Target;
    if constexpr (std::is_same_v<Target, EngineRequests>) {
      serveOn(operation, static_cast<EngineRequests*>(this));
    } else if constexpr (std::is_same_v<Target, LarkaHTMLControl>) {
      LarkaHTMLControl control = controlOf(target);
      serveOn(operation, m_controls.count(target) ? &control : nullptr);
    } else if constexpr (std::is_same_v<Target, LarkaPluginWidget>) {
      LarkaPluginWidget plugin = pluginOf(target);
      serveOn(operation, m_plugins.count(target) ? &plugin : nullptr);
    } else {
      const EngineBrowser* browser = browserOf(target);
      const auto inspector = m_inspectors.find(static_cast<int>(target));
      ILarkaBrowser* found = browser ? browser->browser() : nullptr;
      if (inspector != m_inspectors.end()) found = inspector->second;
      serveOn(operation, found);
    }
  });
  return isServed;
}

// Objects.

EngineBrowser* EngineServer::browserOf(qint64 id) const {
  const auto found = m_browsers.find(static_cast<int>(id));
  return found == m_browsers.end() ? nullptr : found->second.get();
}

qint64 EngineServer::idOf(const LarkaHTMLControl& control) {
  m_controls.emplace(++m_lastControl, control);
  return m_lastControl;
}

// All handles of a plug-in share the user data, which here is its number.
qint64 EngineServer::nameOf(const LarkaPluginWidget& plugin) {
  static quintptr last = 0;
  LarkaPluginWidget handle(plugin);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): nobody follows it.
  if (!handle.GetUserData()) handle.SetUserData(reinterpret_cast<void*>(++last));
  return static_cast<qint64>(reinterpret_cast<quintptr>(handle.GetUserData()));
}

qint64 EngineServer::idOf(const LarkaPluginWidget& plugin) {
  const qint64 id = nameOf(plugin);
  ++m_plugins.emplace(id, Known<LarkaPluginWidget>{plugin, 0}).first->second.times;
  return id;
}

LarkaHTMLControl EngineServer::controlOf(qint64 id) {
  const auto found = m_controls.find(id);
  return found == m_controls.end() ? LarkaHTMLControl() : found->second;
}

LarkaPluginWidget EngineServer::pluginOf(qint64 id) {
  const auto found = m_plugins.find(id);
  return found == m_plugins.end() ? LarkaPluginWidget() : found->second.handle;
}

void EngineServer::releaseControl(long long id, int) { m_controls.erase(id); }

// The host may have got it once more meanwhile.
void EngineServer::releasePlugin(long long id, int times) {
  const auto found = m_plugins.find(id);
  if (found != m_plugins.end() && (found->second.times -= times) <= 0) m_plugins.erase(found);
}

// What the host asks.

void EngineServer::createBrowser(int id) {
  ILarkaBrowser* browser = m_manager->CreateBrowser();
  if (!browser || m_browsers.count(id)) return;
  // Without a size nothing is painted. Initialize() has the right one, but may come later.
  browser->Resize(0, 0);
  m_browsers[id] = std::make_shared<EngineBrowser>(this, id, browser);
}

void EngineServer::destroyBrowser(int id) {
  const auto found = m_browsers.find(id);
  if (found == m_browsers.end()) return;
  const std::shared_ptr<EngineBrowser> browser = found->second;
  m_browsers.erase(found);
  browser->forgetPlugins();
  browser->dropChanges();
  for (const int inspector : browser->inspectors()) m_inspectors.erase(inspector);
  m_manager->DestroyBrowser(browser->browser(), true);
}

bool EngineServer::launchInspector(int browser, int id, bool show) {
  EngineBrowser* found = browserOf(browser);
  ILarkaBrowser* inspector = found ? found->browser()->LaunchInspector(show) : nullptr;
  if (!inspector || m_browsers.count(id) || m_inspectors.count(id)) return false;
  m_inspectors[id] = inspector;
  found->addInspector(id);
  return true;
}

void EngineServer::listenToExtras(int browser) {
  if (EngineBrowser* found = browserOf(browser)) found->listenToExtras();
}

void EngineServer::setStorageLimits(long long bytesPerOrigin, long long bytesInAll) {
  SetStorageLimits(bytesPerOrigin, bytesInAll);
}

void EngineServer::limitMemory(long long bytes) {
  m_memoryLimit = bytes;
  if (m_hasPages) LARKA::limitMemory(bytes);
}

// The host writes the file: it may lie anywhere.
std::string EngineServer::imageFile(int browser, int width, int height) {
  EngineBrowser* found = browserOf(browser);
  const int file = memfd_create("larka-image-file", MFD_CLOEXEC);
  QFile written;
  if (!found || !written.open(file, QIODevice::ReadOnly, QFile::AutoCloseHandle)) return "";
  const std::string path = "/proc/self/fd/" + std::to_string(file);
  found->browser()->SaveBrowserImage(path.c_str(), width, height);
  written.seek(0);
  return written.readAll().toStdString();
}

// Locked down.

void EngineServer::useDirectory(const char* path) {
  if (!path || !*path) return;
  const QString directory = QDir::cleanPath(QDir().absoluteFilePath(QFile::decodeName(path)));
  m_writable.insert(QFile::encodeName(directory).toStdString());
}

void EngineServer::useFile(const char* path) {
  if (!path || !*path) return;
  useDirectory(QFile::encodeName(QFileInfo(QFile::decodeName(path)).absolutePath()));
}

// Landlock can't be loosened. If the host hasn't said before where pages may write, this waits
// until the first one is about to come: the browsers have been given their directories by then.
void EngineServer::lockDown() {
  if (std::exchange(m_hasPages, true)) return;
  useFile(QFile::encodeName(applicationSupportPath(QStringLiteral("cookies"))));
  if (!m_writingIsLimited) limitWriting(m_writable);
  LARKA::limitMemory(m_memoryLimit);
}

template <typename Operation, typename... A>
void EngineServer::prepare(A&&... arguments) {
  const auto is = [](auto operation) { return std::is_same_v<Operation, decltype(operation)>; };
  const auto values = std::tie(arguments...);
  if constexpr (is(Constant<&ILarkaBrowser::Initialize>())) {
    useFile(std::get<2>(values));
    useDirectory(std::get<3>(values));
  }
  if constexpr (is(Constant<&ILarkaBrowser::SetCacheParameters>()))
    useDirectory(std::get<0>(values));
  // The only call that a plug-in's image comes with; what came before it is a page's.
  if constexpr (is(Constant<&LarkaPluginWidget::SetFullScreen>())) {
    checkImages();
    m_fillsScreen = std::get<0>(values);
  }
  if constexpr (is(Constant<&ILarkaBrowser::Navigate>()) ||
                is(Constant<&ILarkaBrowser::ExecuteJavascript>()) ||
                is(Constant<&EvaluateScript>()))
    lockDown();
}

void EngineServer::shutDown() { m_manager->Shutdown(true); }

void EngineServer::pump() { m_manager->PumpEvents(); }

void EngineServer::imageTaken(int browser) {
  if (EngineBrowser* found = browserOf(browser)) found->imageTaken();
}

bool EngineServer::refreshImage(int browser) {
  EngineBrowser* found = browserOf(browser);
  return found && found->refreshImage();
}

void EngineServer::checkImages(bool arePages) {
  for (const auto& [id, browser] : m_browsers) browser->checkImage(arePages);
}

}  // namespace LARKA
