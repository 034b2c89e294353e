#include "PageShot.h"

#include <QBuffer>
#include <QFileInfo>
#include <QObject>
#include <QSaveFile>
#include <QUrl>
#include <QVariant>
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
// Between two pumps.
const std::chrono::microseconds kShortestPause(100);
const std::chrono::microseconds kLongestPause(1000);
// A load that failed because script went elsewhere is followed by another one.
const milliseconds kFailingFor(100);
// A page is at rest when no request is running; when the timers of the first second have run out;
// and when so many pumps in a row have led to nothing, the more of them after QtWebKit was made to
// lay the page out. What it has to paint then it does in the next pump. A page that may change by
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

// Notes when the timers of a page are due, and whether the page has what makes it change later
// without them. The first page that a browser loads keeps the variables of the empty one before it,
// so that this can run ahead of the page's own script.
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
  Object.defineProperty(window, 'larkaShotIsStill', {value: function () {
    try { return isStill(); } catch (e) { return false; }
  }});
})(window))";

// Has the page laid out. Gives the milliseconds until the last watched timer that is due before
// `limit`, and whether the page can change without a timer. In the frames where nothing is watched
// it starts and stops a timer and an animation frame, for QtWebKit numbers them from 1, and gives
// how many it started and the sum of their numbers too.
const char kAsk[] = R"((function (limit) {
  var latest = 0, count = 0, sum = 0, still = 0;
  (function ask(window) {
    var root = window.document && window.document.documentElement;
    if (root) root.offsetHeight;
    if (window.larkaShotTimers) {
      latest = window.larkaShotTimers(limit);
      still = latest ? 0 : +window.larkaShotIsStill();
    } else {
      var timer = window.setTimeout(Date, 0), frame = window.requestAnimationFrame(Date);
      window.clearTimeout(timer);
      window.cancelAnimationFrame(frame);
      count += 2;
      sum += timer + frame;
    }
    for (var i = 0; i < window.length; i++) ask(window[i]);
  })(window);
  return Math.ceil(latest) + ' ' + still + ' ' + count + ' ' + sum;
}))";

/// `code` in the form that reaches the page unchanged through ILarkaBrowser::ExecuteJavascript,
/// which reads Latin-1 and takes away one level of backslashes.
std::string escaped(const std::string& code) {
  std::string text;
  for (const QChar character : QString::fromStdString(code)) {
    if (character >= ' ' && character <= '~' && character != '\\') {
      text += character.toLatin1();
      continue;
    }
    char unit[8];
    snprintf(unit, sizeof(unit), "\\u%04x", character.unicode());
    text += unit;
  }
  return text;
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

/// Returns what is wrong with a file that is to be loaded, or an empty text.
std::string whatIsWrongWith(const QUrl& url) {
  if (!url.isLocalFile()) return "";
  const QFileInfo file(url.toLocalFile());
  if (!file.exists()) return "no such file";
  if (file.isDir()) return "is a folder";
  return file.isReadable() ? "" : "can't be read: permission denied";
}

}  // namespace

PageShot::PageShot(LARKA::BrowserManager* manager, const ShotOptions& options, const Shot& shot)
    : m_manager(manager), m_options(options), m_shot(shot), m_started(Clock::now()) {
  m_asked = m_entered = m_ended = m_started;
  const std::string wrong =
      shot.url.empty() ? shot.wrong : whatIsWrongWith(QUrl::fromEncoded(shot.url.c_str()));
  if (!wrong.empty()) {
    finish(wrong);
    return;
  }
  m_browser = manager->CreateBrowser();
  m_browser->AddListener(this);
  LARKA::SetMaximumImageSize(m_browser, 3840, 2160);
  LARKA::SetDevicePixelRatio(m_browser, options.scale);
  LARKA::SetTransparent(m_browser, options.transparent);
  m_browser->Initialize(options.size.width, options.size.height, options.cookieJar.c_str(), nullptr,
                        false, nullptr);
  setUpNetwork();
  m_browser->SetZoomLevel(options.zoomPercent);
  m_browser->ExecuteJavascript(escaped(kWatch).c_str());
  m_browser->Navigate(shot.url.c_str());
}

// At once: the next page may want the cookies that this one has left.
PageShot::~PageShot() {
  if (!m_browser) return;
  m_browser->RemoveListener(this);
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
  m_hasTimers = false;
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

/// The browser as the object that the library makes of it. It answers some questions that the
/// public interface doesn't.
QObject* PageShot::object() const { return dynamic_cast<QObject*>(m_browser); }

std::string PageShot::loadFailure() const {
  const std::string why = object()->property("loadFailure").toString().simplified().toStdString();
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
    m_timers = 0;
    m_waitsUntil = m_pumped + kAnsweredWithin;
  }
  if (ok || (m_loaded && hasPage()))
    act();
  else
    enter(kFailing);
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
/// Where timers aren't watched it is the whole second if any were started, for nothing tells
/// whether they have run out.
PageShot::Clock::duration PageShot::timersLeft() {
  m_still = false;
  const auto zero = Clock::duration::zero();
  const Clock::duration limit = std::max(m_acted + kTimersFor - m_pumped, zero);
  const auto count = std::chrono::duration_cast<milliseconds>(limit).count();
  const std::string call = kAsk + ('(' + std::to_string(count) + ')');
  const std::string answer = m_browser->ExecuteJavascript(escaped(call).c_str());
  long latest = 0, still = 0, started = 0, sum = 0;
  if (sscanf(answer.c_str(), "%ld %ld %ld %ld", &latest, &still, &started, &sum) != 4) return limit;
  m_still = still;
  if (sum != std::exchange(m_timers, sum) + started) m_hasTimers = true;
  return m_hasTimers ? limit : milliseconds(latest);
}

bool PageShot::settled() {
  if (!m_browser->GetBrowserImage()) return false;
  const Clock::duration here = m_pumped - m_pumpedEntered;
  const std::chrono::seconds timeout(m_options.timeoutSeconds);
  if (here >= kMovesFor || (here >= kQuietFor && Clock::now() >= m_entered + timeout)) return true;
  if (m_quietPumps < (m_laidOut ? kQuietPumps : kQuietPumpsBefore) || m_pumped < m_active)
    return false;
  if (m_pumped < m_waitsUntil && object()->property("hasRunningRequests").toBool()) return false;
  if (!m_still && m_pumped < m_active + kQuietFor) return false;
  const Clock::duration timers = timersLeft();
  if (timers > Clock::duration::zero()) {
    m_active = m_pumped + timers;
    m_laidOut = false;
    return false;
  }
  if (std::exchange(m_laidOut, true)) return m_still || m_pumped >= m_active + kQuietFor;
  m_quietPumps = 0;
  return false;
}

// A page may keep loading again, itself or its frames, and never come to rest.
bool PageShot::isRestless() const {
  const std::chrono::seconds timeout(m_options.timeoutSeconds);
  const milliseconds wait(m_options.waitMilliseconds);
  return Clock::now() >= m_asked + 2 * timeout + wait + kPaintsWithin;
}

std::chrono::microseconds PageShot::pause() const {
  return std::min(kShortestPause * (1 << std::min(m_quietPumps, kQuietPumps)), kLongestPause);
}

bool PageShot::advance(Clock::duration turn) {
  m_pumped += std::min<Clock::duration>(turn, kLongestTurn);
  ++m_quietPumps;
  const Clock::duration here = m_pumped - m_pumpedEntered;
  const Clock::time_point now = Clock::now();
  if (m_state == kDone) return true;
  if (m_state == kWaiting && now >= m_entered + milliseconds(m_options.waitMilliseconds)) {
    enter(kSettling);
  } else if (m_state == kSettling && settled()) {
    goOn();
  } else if (m_state == kSettling && here >= kPaintsWithin) {
    finish("was not painted");
  } else if (m_state == kPressing && here >= kKeyEvery) {
    pressNextKey();
  } else if (m_state == kFailing && here >= kFailingFor) {
    giveUp(loadFailure());
  } else if (m_state == kLoading &&
             now >= m_entered + std::chrono::seconds(m_options.timeoutSeconds)) {
    giveUp("timed out after " + std::to_string(m_options.timeoutSeconds) + " s");
  } else if (isRestless()) {
    m_outcome.doubt = "did not come to rest";
    finish(hasPage() && m_browser->GetBrowserImage() ? write() : m_outcome.doubt);
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
    runScript();
  } else {
    finish(write());
  }
}

/// Runs the script of the options. It is passed as a string, so that a syntax error can be caught,
/// too; a second call asks what was caught, for an empty value alone doesn't tell.
void PageShot::runScript() {
  std::string script;
  for (const char c : escaped(*m_options.script)) script += c == '"' ? "\\\"" : std::string(1, c);
  const std::string run = R"((function (window) {
    window.larkaShotError = 'none';
    try {
      var value = window.eval(")" +
                          script + R"(");
      return value === void 0 || value === null ? value : value.toString();
    } catch (e) {
      try { window.larkaShotError = 'failed: ' + e; } catch (e) { window.larkaShotError = 'failed'; }
    }
  })(window))";
  m_outcome.scriptValue = m_browser->ExecuteJavascript(escaped(run).c_str());
  const std::string error = m_browser->ExecuteJavascript(
      "(function(error){delete larkaShotError;return error})(larkaShotError)");
  if (error.empty())
    m_outcome.scriptError = "can't run: the page forbids eval()";
  else if (error != "none")
    m_outcome.scriptError = QString::fromStdString(error).simplified().toStdString();
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

// What is stale in an image that was painted in parts the library replaces on its own, but later.
std::string PageShot::write() const {
  if (m_repainted) object()->property("isImageMended");
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
