#include "PageShot.h"

#include <QImage>
#include <QSaveFile>
#include <QUrl>
#include <algorithm>
#include <cstdio>

namespace {

using std::chrono::milliseconds;

// A load that failed because script went elsewhere is followed by another one.
const milliseconds kFailingFor(100);
// A page is at rest when it has not been painted for the first, and counts as moving after the
// second.
const milliseconds kQuietFor(80);
const milliseconds kMovesFor(1000);
const milliseconds kPaintsWithin(5000);
// The page is given this long to take in each key.
const milliseconds kKeyEvery(20);

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
  m_asked = m_entered = m_painted = m_ended = m_started;
  if (shot.url.empty()) {
    finish("not an address");
    return;
  }
  m_browser = manager->CreateBrowser();
  m_browser->AddListener(this);
  const char* jar = options.cookieJar.empty() ? nullptr : options.cookieJar.c_str();
  m_browser->Initialize(options.size.width, options.size.height, jar, nullptr, false, nullptr);
  setUpNetwork();
  m_browser->SetZoomLevel(options.zoomPercent);
  m_browser->Navigate(shot.url.c_str());
}

// At once: the next page may want the cookies that this one has left.
PageShot::~PageShot() {
  if (!m_browser) return;
  m_browser->RemoveListener(this);
  m_manager->DestroyBrowser(m_browser, true);
}

void PageShot::setUpNetwork() {
  if (m_options.hasUserAgent) m_browser->SetUserAgent(m_options.userAgent.c_str());
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
}

void PageShot::finish(const std::string& error) {
  m_state = kDone;
  m_error = error;
  m_ended = Clock::now();
}

bool PageShot::settled(Clock::time_point now) const {
  const Clock::time_point waited = m_entered + milliseconds(m_options.waitMilliseconds);
  if (now < waited || !m_browser->GetBrowserImage()) return false;
  return now >= std::max(m_painted, waited) + kQuietFor || now >= waited + kMovesFor;
}

// A page may go on loading anew, itself or its frames, and never come to rest.
bool PageShot::isRestless(Clock::time_point now) const {
  const std::chrono::seconds timeout(m_options.timeoutSeconds);
  const milliseconds wait(m_options.waitMilliseconds);
  return m_state != kDone && now >= m_asked + 2 * timeout + wait + kPaintsWithin;
}

bool PageShot::advance() {
  const Clock::time_point now = Clock::now();
  if (m_state == kSettling && settled(now))
    goOn();
  else if (m_state == kPressing && now >= m_entered + kKeyEvery)
    pressNextKey();
  else if (m_state == kFailing && now >= m_entered + kFailingFor)
    finish("could not be loaded");
  else if (m_state == kSettling &&
           now >= m_entered + milliseconds(m_options.waitMilliseconds) + kPaintsWithin)
    finish("was not painted");
  else if (m_state == kLoading && now >= m_entered + std::chrono::seconds(m_options.timeoutSeconds))
    finish("timed out after " + std::to_string(m_options.timeoutSeconds) + " s");
  else if (isRestless(now))
    finish("did not come to rest");
  return m_state == kDone;
}

// The next thing to do to a page at rest; it may set the page in motion again, or leave it.
void PageShot::goOn() {
  if (m_keysPressed < m_options.keys.size()) {
    pressNextKey();
  } else if (m_options.hasScript && !m_scriptDone) {
    m_scriptDone = true;
    m_asked = Clock::now();
    enter(kSettling);
    m_scriptValue = m_browser->ExecuteJavascript(escaped(m_options.script).c_str());
  } else {
    finish(write());
  }
}

void PageShot::pressNextKey() {
  enter(m_keysPressed < m_options.keys.size() ? kPressing : kSettling);
  if (m_state != kPressing) return;
  const ShotKey& key = m_options.keys[m_keysPressed++];
  m_asked = m_entered;
  m_browser->KeyDown(key.code, key.modifiers);
  m_browser->KeyUp(key.code, key.modifiers);
}

std::string PageShot::write() const {
  QImage image(m_browser->GetBrowserImage(), std::min(m_browser->GetWidth(), kLargestImageWidth),
               std::min(m_browser->GetHeight(), kLargestImageHeight), m_browser->GetBrowserStride(),
               QImage::Format_ARGB32_Premultiplied);
  if (m_options.thumbnail.width > 0)
    image = image.scaled(m_options.thumbnail.width, m_options.thumbnail.height, Qt::KeepAspectRatio,
                         Qt::SmoothTransformation);
  const QString path = QString::fromLocal8Bit(m_shot.output.c_str());
  const char* format = path.endsWith(QStringLiteral(".png"), Qt::CaseInsensitive) ? "png" : "jpg";
  QSaveFile file(path);
  if (file.open(QIODevice::WriteOnly) && image.save(&file, format) && file.flush() && file.commit())
    return "";
  return "can't write " + m_shot.output + ": " + file.errorString().toStdString();
}
