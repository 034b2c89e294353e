// SPDX-License-Identifier: MIT
#include "remote/RemoteManager.h"

#include <poll.h>
#include <unistd.h>

#include <QCoreApplication>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "elements/LarkaHTMLControlQt.h"
#include "elements/LarkaPluginWidgetQt.h"
#include "host/Diagnostics.h"
#include "host/StackUse.h"
#include "remote/RemoteBrowser.h"

namespace LARKA {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const milliseconds kStartLimit(10000);
const milliseconds kPingAfter(1000);
const milliseconds kEndLimit(2000);
const size_t kMostEnds = 3;
const seconds kEndsWithin(60);
const int kMostUnsent = 64 << 20;
const size_t kMostParts = 100;

EngineSettings g_settings;
std::optional<std::pair<long long, long long>> g_storageLimits;
// Never destroyed: the process may end while there are managers.
std::vector<RemoteManager*>& g_managers = *new std::vector<RemoteManager*>;

/// Stands around everything that may call the host, or use its browsers. At the end of the
/// outermost one what was destroyed meanwhile is deleted.
class Activity {
 public:
  Activity() { ++s_depth; }
  ~Activity() {
    if (--s_depth > 0) return;
    for (RemoteBrowser* browser : std::exchange(s_destroyed, {})) delete browser;
  }
  Activity(const Activity&) = delete;
  Activity& operator=(const Activity&) = delete;

  static bool isOnlyOne() { return s_depth == 1; }
  static void destroy(RemoteBrowser* browser) { s_destroyed.push_back(browser); }

 private:
  static int s_depth;
  static std::vector<RemoteBrowser*> s_destroyed;
};

int Activity::s_depth = 0;
std::vector<RemoteBrowser*> Activity::s_destroyed;

int untilMilliseconds(std::chrono::steady_clock::time_point due, milliseconds atMost) {
  const auto left = due - std::chrono::steady_clock::now();
  if (left <= left.zero()) return 0;
  if (left >= atMost) return static_cast<int>(atMost.count());
  return static_cast<int>(std::chrono::duration_cast<milliseconds>(left).count()) + 1;
}

// How the listeners' answers make one.

/// Whether an event, a Constant, is this one.
template <typename Event, auto Other>
constexpr bool kIs = std::is_same_v<Event, Constant<Other>>;

template <typename Event, typename... A>
auto tellListeners(RemoteBrowser* browser, A&&... arguments) {
  using Listener = typename CallTo<Event::value>::Target;
  using Result = typename CallTo<Event::value>::Result;
  const auto tell = [&](Listener* listener) {
    if constexpr (std::is_same_v<Listener, ILarkaCallbacks>)
      return (listener->*Event::value)(arguments...);
    else
      return (listener->*Event::value)(browser, arguments...);
  };
  const std::vector<Listener*> kind;
  if constexpr (std::is_void_v<Result>) {
    browser->notifyUntil(kind, [&](Listener* listener) { return tell(listener), false; });
  } else if constexpr (std::is_same_v<Result, bool>) {
    // The next listener hears of a download as long as the answer is yes, of all else if it is no.
    const bool goesOn = kIs<Event, &ILarkaCallbacks::OnDownloadRequested>;
    bool result = false;
    browser->notifyUntil(kind,
                         [&](Listener* listener) { return (result = tell(listener)) != goesOn; });
    return result;
  } else {
    const bool firstCounts = kIs<Event, &ILarkaCallbacks::OnChooseFile>;
    std::string result;
    browser->notifyUntil(kind, [&](Listener* listener) {
      result = tell(listener);
      return firstCounts;
    });
    return result;
  }
}

/// The next listener is asked until one handles it.
std::string askForText(RemoteBrowser* browser, const char* message, const char* text,
                       bool* handled) {
  std::string result;
  browser->notifyUntil(std::vector<ILarkaCallbacks*>(), [&](ILarkaCallbacks* listener) {
    *handled = false;
    result = listener->OnJavaScriptPrompt(message, text, handled);
    return *handled;
  });
  return result;
}

/// A question that no listener takes isn't open.
template <typename Event, typename... A>
bool askWhoShows(RemoteBrowser* browser, int RemoteBrowser::OpenThings::*question,
                 IExtraCallbacks* RemoteBrowser::OpenThings::*taker, A&&... arguments) {
  const int id = browser->open().*question;
  bool isTaken = false;
  browser->notifyUntil(std::vector<IExtraCallbacks*>(), [&](IExtraCallbacks* listener) {
    browser->open().*taker = listener;
    return isTaken = (listener->*Event::value)(browser, arguments...);
  });
  if (browser->open().*question == id) browser->answered(question, !isTaken);
  return isTaken;
}

/// Only the listener that shows something hears of its end.
template <typename Event>
void tellWhoShows(RemoteBrowser* browser, IExtraCallbacks* taker, int id) {
  browser->notifyUntil(std::vector<IExtraCallbacks*>(), [&](IExtraCallbacks* listener) {
    if (listener == taker) (listener->*Event::value)(browser, id);
    return listener == taker;
  });
}

/// Notes what an event opens or closes, before the listeners get it.
template <typename Event, typename... A>
void noteOpen(RemoteBrowser::OpenThings* open, A&&... arguments) {
  const auto all = std::tie(arguments...);
  if constexpr (kIs<Event, &IExtraCallbacks::OnListOpened>) open->list = std::get<0>(all).id;
  if constexpr (kIs<Event, &IExtraCallbacks::OnListClosed>) open->list = 0;
  if constexpr (kIs<Event, &IExtraCallbacks::OnColorOpened>) open->color = std::get<0>(all);
  if constexpr (kIs<Event, &IExtraCallbacks::OnColorClosed>) open->color = 0;
  if constexpr (kIs<Event, &IExtraCallbacks::OnTextField>)
    open->hasField = std::get<0>(all).kind != TEXT_NONE;
  if constexpr (kIs<Event, &IExtraCallbacks::OnMediaRequest>)
    open->notePlayer(*std::get<0>(all), std::get<1>(all));
}

template <typename Event, typename... A>
auto deliver(RemoteBrowser* browser, A&&... arguments) {
  if constexpr (kIs<Event, &ILarkaCallbacks::OnLoadStarted>) browser->loadStarted();
  if constexpr (kIs<Event, &ILarkaCallbacks::OnLoadFinished>) browser->loadFinished();
  if constexpr (kIs<Event, &ILarkaCallbacks::OnUrlChanged>) browser->addressChanged(arguments...);
  noteOpen<Event>(&browser->open(), arguments...);
  if constexpr (kIs<Event, &ILarkaCallbacks::OnJavaScriptPrompt>)
    return askForText(browser, arguments...);
  else if constexpr (kIs<Event, &IExtraCallbacks::OnListOpened>)
    return askWhoShows<Event>(browser, &RemoteBrowser::OpenThings::list,
                              &RemoteBrowser::OpenThings::listTaker, arguments...);
  else if constexpr (kIs<Event, &IExtraCallbacks::OnColorOpened>)
    return askWhoShows<Event>(browser, &RemoteBrowser::OpenThings::color,
                              &RemoteBrowser::OpenThings::colorTaker, arguments...);
  else if constexpr (kIs<Event, &IExtraCallbacks::OnListClosed>)
    return tellWhoShows<Event>(browser, browser->open().listTaker, arguments...);
  else if constexpr (kIs<Event, &IExtraCallbacks::OnColorClosed>)
    return tellWhoShows<Event>(browser, browser->open().colorTaker, arguments...);
  else
    return tellListeners<Event>(browser, arguments...);
}

}  // namespace

bool RemoteManager::takeArgument(const char* argument, int* count, char** arguments) {
  for (int i = 1; i < *count; ++i) {
    if (!arguments[i] || strcmp(arguments[i], argument) != 0) continue;
    std::copy(arguments + i + 1, arguments + *count, arguments + i);
    arguments[--*count] = nullptr;
    return true;
  }
  return false;
}

RemoteManager* RemoteManager::of(const BrowserManager* owner) {
  for (RemoteManager* manager : g_managers)
    if (manager->m_owner == owner) return manager;
  return nullptr;
}

const EngineSettings& RemoteManager::settings() { return g_settings; }

void RemoteManager::setSettings(const EngineSettings& settings) {
  g_settings = settings;
  for (RemoteManager* manager : g_managers)
    manager->tell<&EngineRequests::limitMemory>(0, settings.memoryLimit);
}

void RemoteManager::setStorageLimits(long long bytesPerOrigin, long long bytesInAll) {
  g_storageLimits.emplace(bytesPerOrigin, bytesInAll);
  for (RemoteManager* manager : g_managers)
    manager->ask<&EngineRequests::setStorageLimits>(0, bytesPerOrigin, bytesInAll);
}

RemoteManager::RemoteManager(const BrowserManager* owner) : m_owner(owner) {
  g_managers.push_back(this);
}

RemoteManager::~RemoteManager() {
  g_managers.erase(std::remove(g_managers.begin(), g_managers.end(), this), g_managers.end());
  for (RemoteTimer* timer : m_timers) delete timer;  // those disposed of, too
}

// The life of the process.

void RemoteManager::initialize(int count, char** arguments) {
  if (m_state != NotStarted && m_state != ShutDown) return;
  if (QCoreApplication::applicationName().isEmpty())
    QCoreApplication::setApplicationName(QStringLiteral("LarkaBrowser"));
  static const int registered = std::atexit(endWithHost);
  Q_UNUSED(registered)
  m_arguments.assign(arguments + std::min(count, 1), arguments + count);
  m_ends.clear();
  const Activity activity;
  const Clock::time_point end =
      Clock::now() + std::min(kStartLimit, milliseconds(g_settings.startLimit));
  startProcess();
  while (m_state == Starting && Clock::now() < end) {
    m_channel.wait(untilMilliseconds(end, kStartLimit));
    sort();
    while (m_state == Starting && !m_held.empty()) serveHeld();
    if (!isTalking() && m_state == Starting) processEnded();
  }
  // That the first one has started is no news.
  if (m_state == Answering && m_ends.empty()) m_held.clear();
}

void RemoteManager::startProcess() {
  ++m_generation;
  m_awaited = m_pumpThere = 0;
  std::vector<std::string> arguments = m_arguments;
  for (const std::string& directory : g_settings.directories)
    arguments.push_back("--writable=" + directory);
  m_channel = m_process.start(arguments);
  if (!isTalking()) return becomes(Stopped, ENGINE_STOPPED);
  m_state = Starting;
  m_stateSince = Clock::now();
  tell<&EngineRequests::limitMemory>(0, g_settings.memoryLimit);
  if (g_storageLimits)
    tell<&EngineRequests::setStorageLimits>(0, g_storageLimits->first, g_storageLimits->second);
  for (const auto& [id, browser] : m_browsers) browser->restore(g_settings.reload);
}

void RemoteManager::processEnded() {
  m_channel.close();
  m_process.kill();
  ++m_generation;
  m_held.clear();
  m_plugins.clear();
  for (const auto& [id, browser] : m_browsers) browser->detach();
  if (m_state == ShutDown) return;
  const Clock::time_point now = Clock::now();
  m_ends.push_back(now);
  while (now - m_ends.front() > kEndsWithin) m_ends.pop_front();
  if (m_ends.size() >= kMostEnds) {
    diagnose("the engine process has ended %zu times within a minute\n", m_ends.size());
    return becomes(Stopped, ENGINE_STOPPED);
  }
  hold(ENGINE_ENDED);
  startProcess();
}

bool RemoteManager::endProcess() {
  if (!isTalking()) return false;
  const Activity activity;
  processEnded();
  return true;
}

bool RemoteManager::restart() {
  if (m_state != Stopped) return false;
  m_ends.clear();
  startProcess();
  return isTalking();
}

void RemoteManager::makesNoSense() {
  diagnose("what the engine process says makes no sense\n");
  endProcess();
}

void RemoteManager::becomes(State state, EngineState news) {
  if (state == m_state) return;
  m_state = state;
  m_stateSince = Clock::now();
  hold(news);
}

// One for each browser: a listener that pumps must not get what comes after it to the next browser
// first.
void RemoteManager::hold(EngineState news) {
  for (const auto& [id, browser] : m_browsers) m_held.push_back({Message(), news, id});
}

void RemoteManager::started() {
  m_lastSign = Clock::now();
  if (m_state == Starting) becomes(Answering, ENGINE_ANSWERS);
}

void RemoteManager::repeatStopped(int browser) {
  const bool isHeld = std::any_of(m_held.begin(), m_held.end(), [browser](const Held& held) {
    return held.news == ENGINE_STOPPED && held.browser == browser;
  });
  if (!isHeld) m_held.push_back({Message(), ENGINE_STOPPED, browser});
}

void RemoteManager::tellNews(int browser, EngineState news) {
  RemoteBrowser* found = browserOf(browser);
  if (found && m_state != ShutDown) found->notifyState(news);
}

// A process that runs a script without an end doesn't close its end.
void RemoteManager::watchOver() {
  const Clock::time_point now = Clock::now();
  const milliseconds limit(g_settings.answerLimit), endAfter(g_settings.endAfter);
  if (m_state == Answering && !m_awaited && now - m_lastSign > kPingAfter) {
    tell<&EngineRequests::ping>(0);
    m_awaited = m_lastId;
    m_awaitedSince = now;
  }
  if (m_state == Answering && m_awaited && now - m_awaitedSince > limit)
    becomes(Silent, ENGINE_SILENT);
  const bool silentForLong =
      m_state == Silent && endAfter.count() > 0 && now - m_stateSince > endAfter;
  if (silentForLong || (m_state == Starting && now - m_stateSince > kStartLimit)) endProcess();
}

// The browsers that are left stay until they are destroyed, and with them the process.
void RemoteManager::shutDown(bool immediate) {
  if (m_state == ShutDown || m_state == NotStarted || !diagnosticsUse().isIdle()) return;
  m_shutsDownLater = true;
  m_isStuck = m_state == Silent || m_state == Stopped;
  m_state = ShutDown;
  if (immediate) shutDownNow();
}

void RemoteManager::end() {
  shutDown(true);
  shutDownNow();
}

// The process saves what it has to when the channel closes.
void RemoteManager::endWithHost() {
  std::vector<RemoteManager*> own;
  for (RemoteManager* manager : g_managers)
    if (manager->m_host == getpid()) own.push_back(manager);  // not in a copy of the host
  for (RemoteManager* manager : own) manager->m_channel.close();
  for (RemoteManager* manager : own)
    manager->m_process.awaitEnd(static_cast<int>(kEndLimit.count()));
}

void RemoteManager::shutDownNow() {
  if (!std::exchange(m_shutsDownLater, false)) return;
  if (m_isStuck || !ask<&EngineRequests::shutDown>(0)) return processEnded();
  endIfUnused();
}

// Its last lines are read, too.
void RemoteManager::endIfUnused() {
  if (m_state != ShutDown || m_shutsDownLater || !m_browsers.empty() || !isTalking()) return;
  const Activity activity;
  tell<&EngineRequests::finish>(0);
  const Clock::time_point end = Clock::now() + kEndLimit;
  while (isTalking() && Clock::now() < end) {
    m_channel.wait(untilMilliseconds(end, kEndLimit));
    sort();
  }
  processEnded();
}

// Calls.

quint32 RemoteManager::send(Message::Kind kind, quint16 operation, const QByteArray& content) {
  if (++m_lastId == 0) ++m_lastId;
  m_channel.send({kind, operation, m_lastId, 0, content});
  return m_lastId;
}

// A process that lacks one of the calls would not be as the host thinks: another one takes its
// place.
void RemoteManager::post(quint16 operation, const QByteArray& content) {
  if (isTooLong(content)) return;
  send(Message::Request, operation, content);
  if (m_state == Starting || m_channel.unsent() <= kMostUnsent) return;
  diagnose("the engine process doesn't take the host's calls\n");
  endProcess();
}

bool RemoteManager::isTooLong(const QByteArray& content) {
  if (content.size() <= Channel::kLongestContent) return false;
  diagnose("a call is too long for the engine process\n");
  return true;
}

std::optional<QByteArray> RemoteManager::call(quint16 operation, const QByteArray& content,
                                              bool canBeLater) {
  const auto self = shared_from_this();
  const Activity activity;
  std::optional<QByteArray> answer;
  if (isTooLong(content)) return answer;
  if (!answers()) {
    if (canBeLater) post(operation, content);
    return answer;
  }
  const int generation = m_generation;
  const quint32 id = send(Message::Call, operation, content);
  m_waiting[id] = &answer;
  awaitAnswer(answer);
  m_waiting.erase(id);
  if (answer || generation != m_generation || m_state != Answering) return answer;
  m_awaited = id;
  becomes(Silent, ENGINE_SILENT);
  return answer;
}

// The time counts that the process takes, not that of the listeners which it calls meanwhile.
void RemoteManager::awaitAnswer(const std::optional<QByteArray>& answer) {
  const int generation = m_generation;
  Clock::duration left = milliseconds(g_settings.answerLimit);
  for (;;) {
    sort();
    while (generation == m_generation && isCallHeld()) serveHeld();
    if (answer || generation != m_generation || !answers()) return;
    if (m_channel.hasMessage()) continue;
    if (!isTalking()) return processEnded();
    if (left <= left.zero()) return;
    const Clock::time_point start = Clock::now();
    m_channel.wait(untilMilliseconds(start + left, milliseconds(1 << 20)));
    left -= Clock::now() - start;
  }
}

// What a call causes happens before it returns; before that, what was heard earlier.
bool RemoteManager::isCallHeld() const {
  return std::any_of(m_held.begin(), m_held.end(),
                     [](const Held& held) { return held.message.within != 0; });
}

// Lines are written as they come. A call that changes the image does so before it returns.
bool RemoteManager::isUrgent(const Message& message) {
  return message.operation == HostOperations::numberOf<&HostRequests::diagnostics>() ||
         (message.within != 0 &&
          message.operation == HostOperations::numberOf<&HostRequests::imageMade>());
}

void RemoteManager::sort() {
  while (m_channel.hasMessage()) {
    const Message message = m_channel.take();
    if (message.kind == Message::Answer)
      takeAnswer(message);
    else if (isUrgent(message))
      serve({message, {}, 0});
    else
      m_held.push_back({message, {}, 0});
  }
}

void RemoteManager::takeAnswer(const Message& message) {
  m_lastSign = Clock::now();
  const auto waiting = m_waiting.find(message.id);
  if (waiting != m_waiting.end()) *waiting->second = message.content;
  if (message.id == m_pumpThere) m_pumpThere = 0;
  if (!isAwaited(message.id)) return;
  m_awaited = 0;
  if (m_state == Silent) becomes(Answering, ENGINE_ANSWERS);
}

// Events.

void RemoteManager::serveHeld() {
  const Held held = std::move(m_held.front());
  m_held.pop_front();
  serve(held);
}

void RemoteManager::serve(const Held& held) {
  const auto self = shared_from_this();
  const Activity activity;
  if (held.news) return tellNews(held.browser, *held.news);
  const Message& message = held.message;
  const bool isCall = message.kind == Message::Call;
  const int generation = m_generation;
  // A call that it makes for the one that wasn't answered: it waits for the host now.
  if (isCall && m_state == Silent && message.within != 0 && isAwaited(message.within)) {
    m_awaited = 0;
    becomes(Answering, ENGINE_ANSWERS);
  }
  QByteArray content;
  Coder in(*this, message.content), out(*this, &content);
  m_serving += isCall;
  const bool isServed = dispatch(message, in, out);
  m_serving -= isCall;
  if (generation != m_generation) return;
  if (!isServed) return makesNoSense();
  if (isCall) m_channel.send({Message::Answer, message.operation, message.id, 0, content});
}

// Writes whether there was anyone to call, and the result.
bool RemoteManager::dispatch(const Message& message, Coder& in, Coder& out) {
  qint64 target = 0;
  in.get(target);
  bool isServed = false;
  HostOperations::with(message.operation, [&](auto operation) {
    using Event = decltype(operation);
    using Call = CallTo<Event::value>;
    if constexpr (std::is_same_v<typename Call::Target, HostRequests>) {
      out.put(true);
      isServed = Call::serve(
          in, out, [this](auto&&... arguments) { return (this->*Event::value)(arguments...); });
    } else {
      RemoteBrowser* browser = browserOf(target);
      isServed = in.ok();
      out.put(browser != nullptr);
      const auto tell = [browser](auto&&... arguments) {
        return deliver<Event>(browser, arguments...);
      };
      if (browser) isServed = Call::serve(in, out, tell);
    }
  });
  return isServed;
}

void RemoteManager::diagnostics(const char* line) { diagnose("%s\n", line ? line : ""); }

// Pumps.

void RemoteManager::pumpEvents() {
  if (!diagnosticsUse().isIdle()) return;
  const auto self = shared_from_this();
  const Activity activity;
  if (m_serving > 0 && m_state == Answering && !m_pumpThere) {
    tell<&EngineRequests::pump>(0);
    m_pumpThere = m_lastId;
  }
  m_channel.exchange();
  sort();
  for (size_t left = m_held.size(); left > 0 && !m_held.empty(); --left) serveHeld();
  if (!isTalking() && m_state != Stopped && m_state != ShutDown) processEnded();
  m_process.reap();
  watchOver();
  fireTimers();
  finishPump();
}

void RemoteManager::fireTimers() {
  const Clock::time_point now = Clock::now();
  const std::vector<RemoteTimer*> timers = m_timers;
  for (RemoteTimer* timer : timers)
    if (timer->due() <= now) timer->fire();
}

// Nothing is destroyed while it is on the stack.
void RemoteManager::finishPump() {
  if (!Activity::isOnlyOne()) return;
  shutDownNow();
  for (RemoteBrowser* browser : std::exchange(m_dying, {})) destroyBrowser(browser, true);
  for (RemoteTimer* timer : std::exchange(m_disposed, {})) {
    m_timers.erase(std::remove(m_timers.begin(), m_timers.end(), timer), m_timers.end());
    delete timer;
  }
}

RemoteManager::Clock::time_point RemoteManager::nextTimer() const {
  Clock::time_point next = Clock::time_point::max();
  for (const RemoteTimer* timer : m_timers) next = std::min(next, timer->due());
  return next;
}

void RemoteManager::runEventLoop() {
  if (!diagnosticsUse().isIdle()) return;
  const auto self = shared_from_this();
  while (m_state != ShutDown && m_state != NotStarted) {
    pumpEvents();
    if (m_state == ShutDown || !m_held.empty()) continue;
    const int longest = untilMilliseconds(nextTimer(), kPingAfter);
    if (isTalking())
      m_channel.wait(longest);
    else
      poll(nullptr, 0, longest);
  }
  const Activity activity;
  finishPump();
}

// Timers.

ITimer* RemoteManager::createTimer(TimerCallback callback, int interval, bool singleShot,
                                   void* userData) {
  m_timers.push_back(new RemoteTimer(callback, interval, singleShot, userData));
  return m_timers.back();
}

bool RemoteManager::disposeTimer(ITimer* timer) {
  auto* remote = dynamic_cast<RemoteTimer*>(timer);
  if (!remote) return false;
  const auto has = [remote](const std::vector<RemoteTimer*>& timers) {
    return std::find(timers.begin(), timers.end(), remote) != timers.end();
  };
  for (RemoteManager* manager : g_managers) {
    if (!has(manager->m_timers) || has(manager->m_disposed)) continue;
    remote->Stop();
    manager->m_disposed.push_back(remote);
  }
  return true;
}

// Browsers.

ILarkaBrowser* RemoteManager::createBrowser() {
  if (m_state == ShutDown || m_state == NotStarted || !diagnosticsUse().isIdle()) return nullptr;
  auto* browser = new RemoteBrowser(shared_from_this(), ++m_lastBrowser);
  m_browsers[browser->id()] = browser;
  ask<&EngineRequests::createBrowser>(0, browser->id());
  return browser;
}

RemoteBrowser* RemoteManager::browserOf(qint64 id) const {
  const auto found = m_browsers.find(static_cast<int>(id));
  return found == m_browsers.end() ? nullptr : found->second;
}

void RemoteManager::destroyBrowser(RemoteBrowser* browser, bool immediate) {
  const std::shared_ptr<RemoteManager> manager = browser->manager();
  if (browser->isInspector()) return browser->Shutdown();
  const Activity activity;
  auto& dying = manager->m_dying;
  dying.erase(std::remove(dying.begin(), dying.end(), browser), dying.end());
  if (!manager->browserOf(browser->id())) return;
  if (!immediate || !diagnosticsUse().isIdle()) return dying.push_back(browser);
  manager->m_browsers.erase(browser->id());
  browser->abandon();
  manager->ask<&EngineRequests::destroyBrowser>(0, browser->id());
  Activity::destroy(browser);
  manager->endIfUnused();
}

RemoteBrowser* RemoteManager::launchInspector(RemoteBrowser* inspected, bool show) {
  const int id = ++m_lastBrowser;
  const auto made = ask<&EngineRequests::launchInspector>(0, inspected->id(), id, show);
  if (!made || !*made) return nullptr;
  auto* inspector = new RemoteBrowser(shared_from_this(), id, inspected);
  m_browsers[id] = inspector;
  return inspector;
}

void RemoteManager::forget(RemoteBrowser* browser) {
  const auto found = m_browsers.find(browser->id());
  if (found != m_browsers.end() && found->second == browser) m_browsers.erase(found);
}

// Handles.

LarkaHTMLControl RemoteManager::controlOf(qint64 id) {
  if (id == 0) return LarkaHTMLControl();
  return LarkaHTMLControl(new LarkaHTMLControlPrivate(RemoteHandle(weak_from_this(), id)), true);
}

qint64 RemoteManager::idOf(const LarkaPluginWidget& plugin) {
  const auto* record = LarkaPluginWidgetPrivate::of(plugin);
  const bool isOurs = record && record->remote && record->remote->living().get() == this;
  return isOurs ? record->remote->id() : 0;
}

LarkaPluginWidget RemoteManager::pluginOf(qint64 id) {
  if (id == 0) return LarkaPluginWidget();
  auto found = m_plugins.find(id);
  if (found == m_plugins.end()) {
    auto* record = new LarkaPluginWidgetPrivate(RemoteHandle(weak_from_this(), id));
    found = m_plugins.emplace(id, LarkaPluginWidget(record, true)).first;
  }
  ++LarkaPluginWidgetPrivate::of(found->second)->timesGot;
  return found->second;
}

void RemoteManager::pluginsGone(const std::vector<long long>& plugins) {
  for (const long long id : plugins) m_plugins.erase(id);
}

// Images.

void RemoteManager::imageMade(int browser, long long image, bool isPage, int stride, int rows) {
  const int file = image == 0 ? -1 : m_channel.takeFile();
  RemoteBrowser* found = browserOf(browser);
  if (!found) {
    if (file >= 0) close(file);
  } else if (!found->image().show(image, isPage, file, stride, rows)) {
    makesNoSense();
  } else if (isPage && image != 0) {
    found->pageImageMade();
  }
}

// The process writes into the other half once it hears that the host doesn't see it any more.
void RemoteManager::imageChanged(int browser, long long image, int half,
                                 const std::vector<Rectangle>& parts,
                                 const std::vector<long long>& plugins) {
  RemoteBrowser* found = browserOf(browser);
  const bool isShown = found && found->image().isShown(image);
  if (parts.size() > kMostParts || (isShown && !found->image().showHalf(half, parts)))
    return makesNoSense();
  tell<&EngineRequests::imageTaken>(0, browser);
  if (!isShown) return;
  std::vector<LarkaPluginWidget> painted;
  painted.reserve(plugins.size());
  for (const long long id : plugins) painted.push_back(pluginOf(id));
  const auto replaced = found->image().takeReplaced();  // valid until now
  found->notifyDirty(parts, painted);
}

}  // namespace LARKA
