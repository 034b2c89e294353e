#include "PageShot.h"

#include <QBuffer>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QUrl>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "ShotPng.h"

namespace {

using std::chrono::milliseconds;

// All but the last of these times run only while the page is pumped: a turn counts for at most so
// much, however long script or layout takes in it.
const milliseconds kLongestTurn(10);
// An engine process that is busy is given this long, besides the page's own time.
const std::chrono::seconds kBusyFor(2);
// Between two pumps.
const std::chrono::microseconds kShortestPause(100);
const std::chrono::microseconds kLongestPause(1000);
// A load that failed because script went elsewhere is followed by another one.
const milliseconds kFailingFor(100);
// A page is at rest when no request is running; when the timers of the first second have run out;
// and when so many pumps in a row have led to nothing, the more of them after QtWebKit was made to
// lay the page out. What it has to paint then it does in the next pump. Each pump is followed by a
// question, so that an engine process has handled its events by the next. A page that may change by
// itself, for example with an animation, has to be quiet for longer. Requests that follow the load
// are given some time to be answered. The page counts as moving after the last.
const int kQuietPumpsBefore = 2;
const int kQuietPumps = 4;
const milliseconds kQuietFor(80);
const milliseconds kAnsweredWithin(600);
const milliseconds kTimersFor(1000);
const milliseconds kMovesFor(1250);
const milliseconds kPaintsWithin(5000);
// The page is given this long to take in each key.
const milliseconds kKeyEvery(20);

// The title of the page that a browser shows when it could load nothing.
const char kFailedTitle[] = "Failed loading page";

// What the page says to larka-shot begins with this.
const char kResultMark[] = "larka-shot:";

// Notes when the timers of a document are due, and whether it has what makes it change later
// without them. Runs in each frame ahead of the page's own script.
const char kWatch[] = R"((function (window) {
  var due = {}, now = Date.now, usesMore = false;
  function watch(kind, start, stop, milliseconds) {
    var starts = window[start], stops = window[stop];
    window[start] = function (f, time) {
      var id = starts.apply(window, arguments);
      due[kind + id] = now() + milliseconds(time);
      return id;
    };
    window[stop] = function (id) {
      delete due[kind + id];
      return stops.apply(window, arguments);
    };
  }
  function soon() { return 20; }
  watch('timer', 'setTimeout', 'clearTimeout', function (time) { return 5 + (+time || 0); });
  watch('timer', 'setInterval', 'clearInterval', function (time) {
    return time > 1000 ? +time : Infinity;  // which is due again and again
  });
  watch('frame', 'requestAnimationFrame', 'cancelAnimationFrame', soon);
  watch('frame', 'webkitRequestAnimationFrame', 'webkitCancelAnimationFrame', soon);
  var posts = window.postMessage;
  window.postMessage = function () {
    due.message = now() + soon();
    return posts.apply(window, arguments);
  };
  ['Worker', 'WebSocket', 'EventSource', 'FileReader', 'MessageChannel', 'indexedDB',
   'webkitIndexedDB', 'openDatabase'].forEach(function (name) {
    var own = Object.getOwnPropertyDescriptor(window, name);
    if (!own || !own.configurable) return;
    Object.defineProperty(window, name, {configurable: true, enumerable: own.enumerable,
      get: function () {
        usesMore = true;
        return own.get ? own.get.call(window) : own.value;
      },
      set: function (value) {
        Object.defineProperty(window, name,
          {configurable: true, enumerable: own.enumerable, writable: true, value: value});
      }});
  });
  function isStill() {
    var document = window.document, sheets = document.styleSheets, rules, count = 0;
    if (usesMore || window.length || document.querySelector('video,audio,object,embed,applet,' +
        'marquee,animate,animateTransform,animateMotion,animateColor,set,[src*=".gif"],' +
        '[style*=animation],[style*=transition],meta[http-equiv=refresh]')) return false;
    for (var i = 0; i < sheets.length; i++) {
      rules = sheets[i].cssRules;  // null for a sheet from elsewhere
      if ((count += rules.length) > 1000) return false;
      for (var j = 0; j < rules.length; j++)
        if (/animation|transition|\.gif|@import/i.test(rules[j].cssText)) return false;
    }
    return true;
  }
  Object.defineProperty(window, 'larkaShotTimers', {value: function (limit) {
    var latest = 0;
    for (var id in due) {
      var left = due[id] - now();
      if (left <= 0) delete due[id];
      if (left == Infinity) left = limit;
      if (left <= limit && left > latest) latest = left;
    }
    return latest;
  }});
  var alert = window.alert, write = JSON.stringify;
  Object.defineProperty(window, 'larkaShotSay', {value: function (result) {
    alert.call(window, 'larka-shot:' + write(result));
  }});
  Object.defineProperty(window, 'larkaShotIsStill', {value: function () {
    try { return isStill(); } catch (e) { return false; }
  }});
})(window))";

// Has the page laid out. Gives the milliseconds until the last timer that is due before `limit`,
// and whether the page can change without a timer. Nothing is known of a frame from elsewhere.
const char kAsk[] = R"((function (limit) {
  var latest = 0;
  function ask(window) {
    var root = window.document.documentElement;
    if (root) root.offsetHeight;
    latest = Math.max(latest, window.larkaShotTimers(limit));
    for (var i = 0; i < window.length; i++) ask(window[i]);
  }
  try { ask(window); } catch (e) { latest = limit; }
  return [Math.ceil(latest), latest ? 0 : +window.larkaShotIsStill()];
}))";

// Runs a script of the user's, which follows as a string so that a syntax error can be caught, too.
const char kRun[] = R"((function (window, script) {
  var result = [''];
  try {
    var value = window.eval(script);
    if (value !== void 0 && value !== null) result = [value.toString()];
  } catch (e) {
    try { result = ['', 'failed: ' + e]; } catch (e) { result = ['', 'failed']; }
  }
  window.larkaShotSay(result);
}))";

/// Returns the arguments of a call in script.
std::string callWith(const QString& text) {
  const QByteArray list = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
  return "(window, " + list.mid(1, list.size() - 2).toStdString() + ")";
}

/// Returns a number that two different images hardly ever share.
uint64_t fingerprint(const QImage& image) {
  const uint64_t kPrime = 0x100000001b3;
  uint64_t even = 0, odd = 1;  // two sums, because each step waits for the one before
  for (int y = 0; y < image.height(); ++y) {
    const auto* pixels = reinterpret_cast<const QRgb*>(image.constScanLine(y));
    int x = 0;
    for (; x + 1 < image.width(); x += 2) {
      even = (even ^ pixels[x]) * kPrime;
      odd = (odd ^ pixels[x + 1]) * kPrime;
    }
    if (x < image.width()) even = (even ^ pixels[x]) * kPrime;
  }
  return even ^ (odd << 1);
}

QByteArray toJpeg(const QImage& image) {
  QByteArray bytes;
  QBuffer buffer(&bytes);
  image.save(&buffer, "jpg");
  return bytes;
}

}  // namespace

std::string whatIsWrongWith(const Shot& shot) {
  const QUrl url = QUrl::fromEncoded(shot.url.c_str());
  if (shot.url.empty() || !url.isLocalFile()) return shot.wrong;
  const QFileInfo file(url.toLocalFile());
  if (!file.exists()) return "no such file";
  if (file.isDir()) return "is a folder";
  return file.isReadable() ? "" : "can't be read: permission denied";
}

PageShot::PageShot(LARKA::BrowserManager* manager, const ShotOptions& options, const Shot& shot)
    : m_manager(manager), m_options(options), m_shot(shot), m_started(Clock::now()) {
  m_asked = m_entered = m_ended = m_started;
  m_browser = manager->CreateBrowser();
  m_browser->AddListener(this);
  LARKA::AddExtraListener(m_browser, this);
  LARKA::SetMaximumImageSize(m_browser, 3840, 2160);
  LARKA::SetDevicePixelRatio(m_browser, options.scale);
  LARKA::SetTransparent(m_browser, options.transparent);
  m_browser->Initialize(options.size.width, options.size.height, options.cookieJar.c_str(), nullptr,
                        false, nullptr);
  setUpNetwork();
  m_browser->SetZoomLevel(options.zoomPercent);
  LARKA::SetDocumentScript(m_browser, kWatch);
  m_browser->Navigate(shot.url.c_str());
}

// At once: the next page may want the cookies that this one has left.
PageShot::~PageShot() {
  m_browser->RemoveListener(this);
  LARKA::RemoveExtraListener(m_browser, this);
  m_manager->DestroyBrowser(m_browser, true);
}

void PageShot::setUpNetwork() {
  if (m_options.userAgent) m_browser->SetUserAgent(m_options.userAgent->c_str());
  if (!m_options.cache.empty()) m_browser->SetCacheParameters(m_options.cache.c_str(), -1);
  const ShotProxy& proxy = m_options.proxy;
  if (!proxy.host.empty())
    m_browser->SetProxy(proxy.host.c_str(), proxy.port, proxy.type, proxy.user.c_str(),
                        proxy.password.c_str());
  const std::string host = QUrl::fromEncoded(m_shot.url.c_str()).host().toStdString();
  for (const auto& cookie : m_options.cookies)
    m_browser->InjectCookie(host.c_str(), cookie.first.c_str(), cookie.second.c_str(), -1);
}

void PageShot::enter(State state) {
  if (m_state == kDone) return;
  m_state = state;
  m_entered = Clock::now();
  m_pumpedEntered = m_pumped;
  noteActivity();
}

void PageShot::noteActivity() {
  m_active = m_pumped;
  m_quietPumps = 0;
  m_laidOut = false;
  m_still = true;
}

// The page has been loaded, or something has been done to it, and it is let come to rest.
void PageShot::act() {
  enter(kWaiting);
  m_acted = m_pumped;
}

Outcome PageShot::outcome() const {
  Outcome outcome = m_outcome;
  outcome.seconds = std::chrono::duration<double>(m_ended - m_started).count();
  return outcome;
}

void PageShot::finish(const std::string& error) {
  m_state = kDone;
  m_outcome.error = error;
  m_ended = Clock::now();
}

// A page that isn't complete is better than none.
void PageShot::giveUp(const std::string& why) {
  if (!hasPage()) return finish(why);
  m_outcome.doubt = why;
  act();
}

/// Whether the browser shows anything of the page.
bool PageShot::hasPage() const { return m_arrived && m_browser->GetTitle() != kFailedTitle; }

std::string PageShot::loadFailure() const {
  const LARKA::LoadError error = LARKA::GetLoadError(m_browser);
  const bool isKnown = error.kind != LARKA::LOAD_ABORTED;
  const std::string why =
      isKnown ? QString::fromStdString(error.text).simplified().toStdString() : "";
  const char* way = m_options.proxy.host.empty() ? "" : " through the proxy";
  const bool wasGuess = m_shot.asked.find(':') == std::string::npos && why.rfind("host ", 0) == 0;
  return std::string("could not be loaded") + way + ": " +
         (why.empty() ? "there was no answer with a page" : why) +
         (wasGuess ? ", and there is no such file" : "");
}

// A load within a page that is there, such as that of a frame, may fail.
void PageShot::OnLoadFinished(bool ok) {
  if (ok) {
    m_loaded = true;
    m_outcome.doubt.clear();
    m_waitsUntil = m_pumped + kAnsweredWithin;
  }
  if (ok || (m_loaded && hasPage()))
    act();
  else
    enter(kFailing);
}

bool PageShot::OnJavaScriptConfirm(const char*) {
  noteDialog();
  return false;
}

std::string PageShot::OnJavaScriptPrompt(const char*, const char*, bool*) {
  noteDialog();
  return "";
}

void PageShot::noteDialog() {
  noteActivity();
  m_hadDialog = true;
}

void PageShot::OnEngineState(LARKA::ILarkaBrowser*, LARKA::EngineState state) {
  m_isSilent = state == LARKA::ENGINE_SILENT;
  m_silentSince = Clock::now();
  if (m_isSilent) m_pumped += kLongestTurn;  // a long one
  noteActivity();
  m_sawEngineStart |= state == LARKA::ENGINE_ANSWERS;
  if (state == LARKA::ENGINE_ENDED || state == LARKA::ENGINE_STOPPED) finish("QtWebKit crashed");
}

void PageShot::OnUrlChanged(const char* url) {
  m_arrived = *url;
  noteActivity();
}

void PageShot::OnCreatingRequest(const char*) {
  noteActivity();
  m_waitsUntil = m_pumped + kAnsweredWithin;
}

// The first paint is one of the whole page; it is complete as long as nothing else is painted.
void PageShot::OnDirty(LARKA::ILarkaBrowser*) {
  noteActivity();
  if (m_repainted) return;
  const uint64_t now = fingerprint(image());
  m_repainted = m_firstImage.value_or(now) != now;
  m_firstImage = now;
}

/// Has the page laid out and returns the time until the last timer of the first second is due.
/// Nothing if the engine process doesn't answer.
std::optional<PageShot::Clock::duration> PageShot::timersLeft() {
  m_still = false;
  const Clock::duration limit = std::max(m_acted + kTimersFor - m_pumped, Clock::duration::zero());
  const auto count = std::chrono::duration_cast<milliseconds>(limit).count();
  const std::string call = kAsk + ('(' + std::to_string(count) + ')');
  const LARKA::ScriptResult result = LARKA::EvaluateScript(m_browser, call.c_str());
  if (!result.ok && result.message.empty()) return {};
  long latest = 0, still = 0;
  if (sscanf(result.json.c_str(), "[%ld,%ld]", &latest, &still) != 2) return limit;
  m_still = still;
  return milliseconds(latest);
}

bool PageShot::settled() {
  if (!m_browser->GetBrowserImage()) return false;
  if (isLate() && !hasMoreToDo()) return true;
  if (m_pumped >= m_pumpedEntered + kMovesFor || isLate()) return timersLeft().has_value();
  if (m_quietPumps < (m_laidOut ? kQuietPumps : kQuietPumpsBefore) || m_pumped < m_active)
    return false;
  if (m_pumped < m_waitsUntil && m_isBusy) return false;
  if (!m_still && m_pumped < m_active + kQuietFor) return false;
  const auto timers = timersLeft();
  if (!timers) return false;
  if (*timers > Clock::duration::zero()) {
    m_active = m_pumped + *timers;
    m_laidOut = false;
    return false;
  }
  if (std::exchange(m_laidOut, true)) return m_still || m_pumped >= m_active + kQuietFor;
  m_quietPumps = 0;
  return false;
}

// A page may be busy all the time, so that its own time hardly passes.
bool PageShot::isLate() const {
  const std::chrono::seconds timeout(m_options.timeoutSeconds);
  return m_pumped >= m_pumpedEntered + kQuietFor && Clock::now() >= m_entered + timeout;
}

bool PageShot::hasMoreToDo() const {
  return m_keysPressed < m_options.keys.size() || (m_options.script && !m_scriptDone);
}

// A page may keep loading again, itself or its frames, and never come to rest.
bool PageShot::isRestless() const {
  const std::chrono::seconds timeout(m_options.timeoutSeconds);
  const milliseconds wait(m_options.waitMilliseconds);
  return Clock::now() >= m_asked + 2 * timeout + wait + kPaintsWithin;
}

std::chrono::microseconds PageShot::longestPause() { return kLongestPause; }

std::chrono::microseconds PageShot::pause() const {
  if (m_isSilent) return kLongestPause;
  return std::min(kShortestPause * (1 << std::min(m_quietPumps, kQuietPumps)), kLongestPause);
}

// While the engine process is busy the page's time stands still, but not for ever.
void PageShot::awaitEngine() {
  const std::chrono::seconds timeout(m_options.timeoutSeconds);
  const milliseconds wait(m_options.waitMilliseconds);
  if (Clock::now() < std::max(m_asked + timeout + wait, m_silentSince + kBusyFor)) return;
  m_stuck = true;
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - m_started);
  finish("ended after " + std::to_string(seconds.count()) + " s: its script never ends");
}

bool PageShot::advance(Clock::duration turn) {
  if (m_state == kDone) return true;
  if (m_isSilent) {
    awaitEngine();
    return m_state == kDone;
  }
  m_pumped += std::min<Clock::duration>(turn, kLongestTurn);
  ++m_quietPumps;
  if (m_state != kLoading) m_isBusy = LARKA::HasRunningRequests(m_browser);
  const Clock::duration here = m_pumped - m_pumpedEntered;
  const Clock::time_point now = Clock::now();
  if (m_state == kWaiting && now >= m_entered + milliseconds(m_options.waitMilliseconds)) {
    enter(kSettling);
  } else if (m_state == kSettling && here >= kPaintsWithin) {
    m_stuck = true;
    finish(m_browser->GetBrowserImage() ? write() : "was not painted");
  } else if (isRestless()) {
    m_stuck = true;
    m_outcome.doubt = "did not come to rest";
    finish(hasPage() && m_browser->GetBrowserImage() ? write() : m_outcome.doubt);
  } else if (m_state == kSettling && settled()) {
    goOn();
  } else if (m_state == kPressing && here >= kKeyEvery) {
    pressNextKey();
  } else if (m_state == kFailing && here >= kFailingFor) {
    giveUp(loadFailure());
  } else if (m_state == kLoading &&
             now >= m_entered + std::chrono::seconds(m_options.timeoutSeconds)) {
    m_stuck = true;
    giveUp("timed out after " + std::to_string(m_options.timeoutSeconds) + " s");
  }
  return m_state == kDone;
}

// The next thing to do to a page at rest; it may set the page in motion again, or leave it.
void PageShot::goOn() {
  if (m_keysPressed < m_options.keys.size()) {
    pressNextKey();
  } else if (m_options.script && !m_scriptDone) {
    m_scriptDone = true;
    m_asked = Clock::now();
    act();
    const std::string run = kRun + callWith(QString::fromUtf8(m_options.script->c_str()));
    const LARKA::ScriptResult result = LARKA::EvaluateScript(m_browser, run.c_str());
    if (!result.message.empty()) m_outcome.scriptError = "can't run: the page forbids eval()";
  } else {
    // An image can't be refreshed while script is in a dialog, maybe one after the other.
    m_stuck = isLate();
    if ((!m_repainted && !m_hadDialog) || LARKA::RefreshImage(m_browser) || m_stuck)
      finish(write());
  }
}

// The script of the options says so what it gave, whether its caller still waits for it or not.
void PageShot::OnJavaScriptAlert(const char* message) {
  const size_t length = strlen(kResultMark);
  if (!m_scriptDone || strncmp(message, kResultMark, length) != 0) return noteDialog();
  noteActivity();
  const QJsonArray result = QJsonDocument::fromJson(message + length).array();
  m_outcome.scriptValue = result.at(0).toString().toStdString();
  m_outcome.scriptError = result.at(1).toString().simplified().toStdString();
}

void PageShot::pressNextKey() {
  if (m_keysPressed == m_options.keys.size()) return act();
  enter(kPressing);
  const ShotKey& key = m_options.keys[m_keysPressed++];
  m_asked = m_entered;
  m_browser->KeyDown(key.code, key.modifiers);
  m_browser->KeyUp(key.code, key.modifiers);
}

/// The page image as it is, without a copy. Without --transparent a page has a white base, so
/// nothing in it is transparent.
QImage PageShot::image() const {
  const LARKA::ImageSize size = LARKA::GetImageSize(m_browser);
  return QImage(m_browser->GetBrowserImage(), size.width, size.height,
                m_browser->GetBrowserStride(),
                m_options.transparent ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
}

std::string PageShot::write() const {
  QImage picture = image();
  if (m_options.thumbnail.width > 0)
    picture = picture.scaled(m_options.thumbnail.width, m_options.thumbnail.height,
                             Qt::KeepAspectRatio, Qt::SmoothTransformation);
  const QString path = QString::fromLocal8Bit(m_shot.output.c_str());
  const bool png = path.endsWith(QStringLiteral(".png"), Qt::CaseInsensitive);
  const QByteArray bytes = png ? toPng(picture) : toJpeg(picture);
  if (bytes.isEmpty()) return "can't write " + m_shot.output + ": Qt lacks its plug-in for JPEG";
  QSaveFile file(path);
  errno = 0;
  if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush() &&
      file.commit())
    return "";
  const std::string reason = errno ? strerror(errno) : file.errorString().toStdString();
  return "can't write " + m_shot.output + ": " + reason;
}
