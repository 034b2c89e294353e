#include "PageShot.h"

#include <QSaveFile>
#include <QUrl>
#include <algorithm>
#include <cstdio>
#include <utility>

namespace {

using std::chrono::milliseconds;

// All but the last of these times run only while the page is pumped: a turn counts for at most so
// much, however long script or layout takes in it.
const milliseconds kLongestTurn(10);
// A load that failed because script went elsewhere is followed by another one.
const milliseconds kFailingFor(100);
// A page is at rest when it has done nothing for the first; when what was repainted has been
// compared with a whole new image, which the library does 200 ms after the last paint; when
// requests that followed the load have had time to be answered; and when the timers of the first
// second have run out, if there are any. It counts as moving after the last.
const milliseconds kQuietFor(80);
const milliseconds kMendedAfter(220);
const milliseconds kAnsweredWithin(600);
const milliseconds kTimersFor(1000);
const milliseconds kMovesFor(1250);
const milliseconds kPaintsWithin(5000);
// The page is given this long to take in each key.
const milliseconds kKeyEvery(20);

// The title of the page that a browser shows when it could load nothing.
const char kFailedTitle[] = "Failed loading page";

// Notes when the timers of a page are due. The first page that a browser loads keeps the variables
// of the empty one before it, so that this can run ahead of the page's own script.
const char kWatchTimers[] = R"((function (window) {
  var due = {}, now = Date.now;
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
  watch('timer', 'setTimeout', 'clearTimeout', function (time) { return 5 + (+time || 0); });
  watch('timer', 'setInterval', 'clearInterval', function (time) {
    return time > 1000 ? +time : Infinity;  // which is due again and again
  });
  watch('frame', 'requestAnimationFrame', 'cancelAnimationFrame', function () { return 20; });
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
})(window))";

// Gives the milliseconds until the last watched timer that is due before `limit`. In the frames
// where none is watched it starts and stops a timer and an animation frame, for QtWebKit numbers
// them from 1, and gives how many it started and the sum of their numbers too.
const char kAskTimers[] = R"((function (limit) {
  var latest = 0, count = 0, sum = 0;
  (function ask(window) {
    if (window.larkaShotTimers) {
      latest = window.larkaShotTimers(limit);
    } else {
      var timer = window.setTimeout(Date, 0), frame = window.requestAnimationFrame(Date);
      window.clearTimeout(timer);
      window.cancelAnimationFrame(frame);
      count += 2;
      sum += timer + frame;
    }
    for (var i = 0; i < window.length; i++) ask(window[i]);
  })(window);
  return Math.ceil(latest) + ' ' + count + ' ' + sum;
}))";

const int kLargestImageWidth = 1280;
const int kLargestImageHeight = 720;

/// `code` in the form that reaches the page unchanged through ILarkaBrowser::ExecuteJavascript,
/// which reads Latin-1 and takes away one level of backslashes.
std::string escaped(const std::string& code) {
  std::string text;
  for (const QChar character : QString::fromStdString(code)) {
    char unit[8];
    snprintf(unit, sizeof(unit), "\\u%04x", character.unicode());
    const bool plain = character >= ' ' && character <= '~' && character != '\\';
    text += plain ? std::string(1, character.toLatin1()) : unit;
  }
  return text;
}

}  // namespace

PageShot::PageShot(LARKA::BrowserManager* manager, const ShotOptions& options, const Shot& shot)
    : m_manager(manager), m_options(options), m_shot(shot), m_started(Clock::now()) {
  m_asked = m_entered = m_ended = m_started;
  if (shot.url.empty()) {
    finish("not an address");
    return;
  }
  m_browser = manager->CreateBrowser();
  m_browser->AddListener(this);
  m_browser->Initialize(options.size.width, options.size.height, options.cookieJar.c_str(), nullptr,
                        false, nullptr);
  setUpNetwork();
  m_browser->SetZoomLevel(options.zoomPercent);
  m_browser->ExecuteJavascript(escaped(kWatchTimers).c_str());
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
  m_pumpedEntered = m_active = m_pumped;
}

// The page has been loaded, or something has been done to it, and it is let come to rest.
void PageShot::act() {
  enter(kWaiting);
  m_acted = m_pumped;
  m_hasTimers = false;
}

void PageShot::finish(const std::string& error) {
  m_state = kDone;
  m_error = error;
  m_ended = Clock::now();
}

// A page that isn't complete is better than none.
void PageShot::giveUp(const std::string& why) {
  if (!hasPage()) return finish(why);
  m_doubt = why;
  act();
}

/// Whether the browser shows anything of the page.
bool PageShot::hasPage() const { return m_arrived && m_browser->GetTitle() != kFailedTitle; }

// A load within a page that is there, such as that of a frame, may fail.
void PageShot::OnLoadFinished(bool ok) {
  if (ok) {
    m_loaded = true;
    m_doubt.clear();
    m_timers = 0;
    // A request just before comes from what script does at the end of the load.
    if (m_waitsUntil != m_pumped + kAnsweredWithin) m_waitsUntil = m_pumped;
  }
  if (ok || (m_loaded && hasPage()))
    act();
  else
    enter(kFailing);
}

void PageShot::OnUrlChanged(const char*) {
  m_arrived = true;
  m_active = m_pumped;
}

// The end of a load waits for its own requests.
void PageShot::OnCreatingRequest(const char*) {
  m_active = m_pumped;
  m_waitsUntil = m_pumped + kAnsweredWithin;
}

// The first paint is one of the whole page; it is complete as long as nothing else is painted.
void PageShot::OnDirty(LARKA::ILarkaBrowser*) {
  m_painted = m_pumped;
  if (m_repainted) return;
  if (m_firstImage.isNull()) {
    m_firstImage = image().copy();
  } else if (image() != m_firstImage) {
    m_repainted = true;
    m_firstImage = QImage();
  }
}

/// The time until the last timer of the first second is due. Where timers aren't watched it is the
/// whole second if any were started, for nothing tells whether they have run out.
PageShot::Clock::duration PageShot::timersLeft() {
  const Clock::duration limit = m_acted + kTimersFor - m_pumped;
  if (limit <= Clock::duration::zero()) return limit;
  const auto count = std::chrono::duration_cast<milliseconds>(limit).count();
  const std::string call = kAskTimers + ('(' + std::to_string(count) + ')');
  const std::string answer = m_browser->ExecuteJavascript(escaped(call).c_str());
  long latest = 0, started = 0, sum = 0;
  if (sscanf(answer.c_str(), "%ld %ld %ld", &latest, &started, &sum) != 3) return limit;
  if (sum != std::exchange(m_timers, sum) + started) m_hasTimers = true;
  return m_hasTimers ? limit : milliseconds(latest);
}

bool PageShot::settled() {
  if (!m_browser->GetBrowserImage()) return false;
  const Clock::duration here = m_pumped - m_pumpedEntered;
  const std::chrono::seconds timeout(m_options.timeoutSeconds);
  if (here >= kMovesFor || (here >= kQuietFor && Clock::now() >= m_entered + timeout)) return true;
  if (m_pumped < std::max(m_active + kQuietFor, m_waitsUntil)) return false;
  if (m_pumped < m_painted + (m_repainted ? kMendedAfter : kQuietFor)) return false;
  const Clock::duration timers = timersLeft();
  if (timers > Clock::duration::zero()) m_active = m_pumped + timers;
  return m_pumped > std::max(m_active, m_painted);
}

// A page may keep loading again, itself or its frames, and never come to rest.
bool PageShot::isRestless() const {
  const std::chrono::seconds timeout(m_options.timeoutSeconds);
  const milliseconds wait(m_options.waitMilliseconds);
  return Clock::now() >= m_asked + 2 * timeout + wait + kPaintsWithin;
}

bool PageShot::advance(Clock::duration turn) {
  m_pumped += std::min<Clock::duration>(turn, kLongestTurn);
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
    giveUp("could not be loaded");
  } else if (m_state == kLoading &&
             now >= m_entered + std::chrono::seconds(m_options.timeoutSeconds)) {
    giveUp("timed out after " + std::to_string(m_options.timeoutSeconds) + " s");
  } else if (isRestless()) {
    m_doubt = "did not come to rest";
    finish(hasPage() && m_browser->GetBrowserImage() ? write() : m_doubt);
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
    m_scriptValue = m_browser->ExecuteJavascript(escaped(*m_options.script).c_str());
  } else {
    finish(write());
  }
}

void PageShot::pressNextKey() {
  if (m_keysPressed == m_options.keys.size()) return act();
  enter(kPressing);
  const ShotKey& key = m_options.keys[m_keysPressed++];
  m_asked = m_entered;
  m_browser->KeyDown(key.code, key.modifiers);
  m_browser->KeyUp(key.code, key.modifiers);
}

/// The page image as it is, without a copy.
QImage PageShot::image() const {
  return QImage(m_browser->GetBrowserImage(), std::min(m_browser->GetWidth(), kLargestImageWidth),
                std::min(m_browser->GetHeight(), kLargestImageHeight),
                m_browser->GetBrowserStride(), QImage::Format_ARGB32_Premultiplied);
}

std::string PageShot::write() const {
  QImage picture = image();
  if (m_options.thumbnail.width > 0)
    picture = picture.scaled(m_options.thumbnail.width, m_options.thumbnail.height,
                             Qt::KeepAspectRatio, Qt::SmoothTransformation);
  const QString path = QString::fromLocal8Bit(m_shot.output.c_str());
  const char* format = path.endsWith(QStringLiteral(".png"), Qt::CaseInsensitive) ? "png" : "jpg";
  QSaveFile file(path);
  if (file.open(QIODevice::WriteOnly) && picture.save(&file, format) && file.flush() &&
      file.commit())
    return "";
  return "can't write " + m_shot.output + ": " + file.errorString().toStdString();
}
