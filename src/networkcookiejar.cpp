#include "networkcookiejar.h"

#include <QDateTime>
#include <QNetworkCookie>
#include <QUrl>
#include <algorithm>

#include "Trie.h"

// Ends the text of a cookie whose name, value and path are percent-encoded. No other text ends like
// this: a field with a ";" is always encoded.
static const char kEncoded[] = "; encoded";

// Whether a field reads back as it is from a Set-Cookie text.
static bool isPlain(const QByteArray& field) {
  return field.trimmed() == field && std::none_of(field.begin(), field.end(), [](char c) {
           return (c >= 0 && c < ' ') || c == 0x7f || c == ';';
         });
}

QDataStream& operator<<(QDataStream& stream, const QNetworkCookie& cookie) {
  const QByteArray path = cookie.path().toUtf8();
  const bool plain = isPlain(cookie.name()) && !cookie.name().contains('=') &&
                     isPlain(cookie.value()) && isPlain(path);
  QNetworkCookie written(cookie);
  if (!plain) {
    written.setName(cookie.name().toPercentEncoding());
    written.setValue(cookie.value().toPercentEncoding());
    written.setPath(QString::fromLatin1(path.toPercentEncoding("/")));
  }
  // The zone of an IPv6 host may hold anything. Such a cookie is lost: its node can't name it.
  if (!isPlain(cookie.domain().toUtf8())) written.setDomain(QString());
  return stream << written.toRawForm(QNetworkCookie::Full) + (plain ? "" : kEncoded);
}

// The toolkit writes the numeric domains of IPv6 hosts and can't read them.
static QList<QNetworkCookie> parsed(QByteArray text) {
  const QList<QNetworkCookie> cookies = QNetworkCookie::parseCookies(text);
  const char kDomain[] = "; domain=[";
  const int start = text.indexOf(kDomain);
  const int end = text.indexOf(']', start);
  if (!cookies.isEmpty() || start < 0 || end < 0) return cookies;
  const int address = start + static_cast<int>(sizeof(kDomain)) - 1;
  const QString domain = QString::fromLatin1(text.mid(address, end - address));
  QList<QNetworkCookie> withoutDomain =
      QNetworkCookie::parseCookies(text.remove(start, end + 1 - start));
  for (QNetworkCookie& cookie : withoutDomain) cookie.setDomain(domain);
  return withoutDomain;
}

// One cookie is one line.
QDataStream& operator>>(QDataStream& stream, QNetworkCookie& cookie) {
  const int kLongestText = 1 << 20;
  QByteArray text;
  stream >> text;
  if (text.size() > kLongestText) return stream;
  const int line = text.indexOf('\n');
  if (line >= 0) text.truncate(line);
  const bool encoded = text.endsWith(kEncoded);
  const QList<QNetworkCookie> cookies = parsed(text);
  if (cookies.isEmpty()) return stream;
  cookie = cookies.first();
  if (!encoded) return stream;
  cookie.setName(QByteArray::fromPercentEncoding(cookie.name()));
  cookie.setValue(QByteArray::fromPercentEncoding(cookie.value()));
  const QByteArray path = QByteArray::fromPercentEncoding(cookie.path().toUtf8());
  cookie.setPath(QString::fromStdString(path.toStdString()));  // with any NUL in it
  return stream;
}

namespace LARKA {

namespace {

const qint32 kMagic = 174;
const qint32 kVersion = 1;
const int kLongestPath = 1024;
const int kLongestDomain = 255;

// Sorted; searched as it is.
const char* const kTwoLevelDomains[] = {
    "ao", "ar", "arpa", "bd", "bn", "br", "co", "cr", "cy", "do", "eg", "et", "fj",
    "fk", "gh", "gn",   "gu", "id", "il", "jm", "ke", "kh", "ki", "kw", "kz", "lb",
    "lc", "lr", "ls",   "ml", "mm", "mv", "mw", "mx", "my", "ng", "ni", "np", "nz",
    "om", "pa", "pe",   "pg", "pw", "py", "qa", "sa", "sb", "sv", "sy", "th", "tn",
    "tz", "uk", "uy",   "va", "ve", "ye", "yu", "za", "zm", "zw"};

/// The labels of a host, without the empty ones at either end.
QStringList splitHost(const QString& host) {
  QStringList labels = host.split(QLatin1Char('.'));
  while (!labels.isEmpty() && labels.last().isEmpty()) labels.removeLast();
  while (!labels.isEmpty() && labels.first().isEmpty()) labels.removeFirst();
  return labels;
}

QString withSlash(const QString& path) {
  return path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/');
}

QString defaultPath(const QUrl& url) {
  const QString path = url.path();
  const QString directory = path.mid(0, path.lastIndexOf(QLatin1Char('/')) + 1);
  return directory.isEmpty() ? QStringLiteral("/") : directory;
}

bool isExpired(const QNetworkCookie& cookie, const QDateTime& now) {
  return !cookie.isSessionCookie() && cookie.expirationDate() < now;
}

bool isScheme(const QUrl& url, const char* scheme) {
  return url.scheme().toLower() == QLatin1String(scheme);
}

/// A domain in the form in which it is read from a cookie; empty for what is none.
QString normalized(const QString& domain) { return QUrl::fromAce(QUrl::toAce(domain)); }

bool shorterPaths(const QNetworkCookie& a, const QNetworkCookie& b) {
  return b.path().length() < a.path().length();
}

/// Whether a cookie that was read may be in the node at `keys`.
bool mayBeAt(const QNetworkCookie& cookie, const QStringList& keys) {
  const QStringList labels = splitHost(cookie.domain());
  if (labels.isEmpty() || cookie.domain().length() > kLongestDomain) return false;
  // A file may spell an international name in a way that this toolkit doesn't.
  return labels == keys || labels == splitHost(normalized(keys.join(QLatin1Char('.'))));
}

}  // namespace

class NetworkCookieJarPrivate {
 public:
  QString urlPath(const QUrl& url) const { return withSlash(url.path()); }
  bool matchingPath(const QNetworkCookie& cookie, const QString& urlPath) const {
    return urlPath.startsWith(withSlash(cookie.path()));
  }
  bool matchingDomain(const QNetworkCookie& cookie, const QUrl& url) const;
  bool matchesBlacklist(const QString& label) const;
  bool complete(QNetworkCookie* cookie, const QUrl& url) const;
  QList<QNetworkCookie> cookiesAlong(QStringList labels) const;
  void repair();
  void removeNamesake(const QNetworkCookie& cookie, const QStringList& labels);

  Trie<QNetworkCookie> tree;
  mutable bool secondLevelDomainsLoaded = false;
  mutable QStringList secondLevelDomains;  // sorted
};

bool NetworkCookieJarPrivate::matchesBlacklist(const QString& label) const {
  if (!secondLevelDomainsLoaded) {
    for (const char* domain : kTwoLevelDomains) secondLevelDomains += QLatin1String(domain);
    secondLevelDomainsLoaded = true;
  }
  return std::binary_search(secondLevelDomains.begin(), secondLevelDomains.end(), label);
}

/// Whether a response from `url` may set a cookie for the domain that the cookie names.
bool NetworkCookieJarPrivate::matchingDomain(const QNetworkCookie& cookie, const QUrl& url) const {
  const QString domain = cookie.domain().simplified().toLower().remove(QLatin1Char(' '));
  const QStringList labels = splitHost(domain);
  if (labels.isEmpty()) return false;
  if (labels.size() == 1) {
    if (labels.first() != QLatin1String("localhost")) return false;
    if (isScheme(url, "file")) return true;
  }
  if (labels.size() == 2 && matchesBlacklist(labels.last())) return false;

  QStringList hostLabels = url.host().toLower().split(QLatin1Char('.'), Qt::SkipEmptyParts);
  if (hostLabels.isEmpty()) return false;
  while (hostLabels.size() > labels.size()) hostLabels.removeFirst();
  return std::equal(hostLabels.begin(), hostLabels.end(), labels.begin());
}

/// Gives a cookie of a response its default path and domain. False when it may not be set.
bool NetworkCookieJarPrivate::complete(QNetworkCookie* cookie, const QUrl& url) const {
  if (cookie->path().length() > kLongestPath) return false;
  if (cookie->path().isEmpty()) cookie->setPath(defaultPath(url));
  if (!cookie->domain().isEmpty()) return matchingDomain(*cookie, url);
  cookie->setDomain(url.host().toLower());
  return !cookie->domain().isEmpty();
}

/// The cookies of a host and of the domains above it, up to where registrations happen.
QList<QNetworkCookie> NetworkCookieJarPrivate::cookiesAlong(QStringList labels) const {
  QList<QNetworkCookie> found = tree.find(labels);
  if (labels.size() <= 2) return found;
  const int shortest = matchesBlacklist(labels.last()) ? 3 : 2;
  for (labels.removeFirst(); labels.size() >= shortest; labels.removeFirst())
    found += tree.find(labels);
  return found;
}

void NetworkCookieJarPrivate::removeNamesake(const QNetworkCookie& cookie,
                                             const QStringList& labels) {
  const QList<QNetworkCookie> neighbours = tree.find(labels);
  const auto old = std::find_if(neighbours.begin(), neighbours.end(), [&](const auto& other) {
    return other.name() == cookie.name() && other.domain() == cookie.domain() &&
           other.path() == cookie.path();
  });
  if (old != neighbours.end()) tree.remove(labels, *old);
}

/// Rebuilds a tree that is damaged, or holds what it may not, from the cookies that may stay. Those
/// without a domain get that of their node.
void NetworkCookieJarPrivate::repair() {
  bool sound = tree.isConsistent();
  QList<QNetworkCookie> found;
  tree.forEachNode([&](const Trie<QNetworkCookie>& node, QStringList keys) {
    if (node.values.isEmpty()) return;
    std::reverse(keys.begin(), keys.end());
    for (QNetworkCookie cookie : node.values) {
      if (splitHost(cookie.domain()) != keys) sound = false;
      if (cookie.name().isEmpty()) continue;
      if (cookie.domain().isEmpty()) cookie.setDomain(normalized(keys.join(QLatin1Char('.'))));
      if (mayBeAt(cookie, keys))
        found.append(cookie);
      else
        sound = false;
    }
  });
  if (sound) return;
  tree.clear();
  for (const QNetworkCookie& cookie : found) tree.insert(splitHost(cookie.domain()), cookie);
}

NetworkCookieJar::NetworkCookieJar(QObject* parent)
    : QNetworkCookieJar(parent), d(new NetworkCookieJarPrivate) {}

NetworkCookieJar::~NetworkCookieJar() { delete d; }

bool NetworkCookieJar::setCookiesFromUrl(const QList<QNetworkCookie>& cookies, const QUrl& url) {
  const QDateTime now = QDateTime::currentDateTimeUtc();
  bool stored = false;
  for (QNetworkCookie cookie : cookies) {
    if (!d->complete(&cookie, url)) continue;
    const QStringList labels = splitHost(cookie.domain());
    d->removeNamesake(cookie, labels);
    if (isExpired(cookie, now)) continue;
    d->tree.insert(labels, cookie);
    stored = true;
  }
  return stored;
}

QList<QNetworkCookie> NetworkCookieJar::cookiesForUrl(const QUrl& url) const {
  const QString host = isScheme(url, "file") ? QStringLiteral("localhost") : url.host();
  const QList<QNetworkCookie> found = d->cookiesAlong(splitHost(host));
  if (found.isEmpty()) return found;

  const QDateTime now = QDateTime::currentDateTimeUtc();
  const QString path = d->urlPath(url);
  const bool secure = isScheme(url, "https");
  QList<QNetworkCookie> result;
  for (const QNetworkCookie& cookie : found) {
    if (!d->matchingPath(cookie, path) || (cookie.isSecure() && !secure)) continue;
    if (isExpired(cookie, now))
      d->tree.remove(splitHost(cookie.domain()), cookie);
    else
      result.append(cookie);
  }
  std::sort(result.begin(), result.end(), shorterPaths);
  return result;
}

void NetworkCookieJar::endSession() {
  const QDateTime now = QDateTime::currentDateTimeUtc();
  for (const QNetworkCookie& cookie : d->tree.all())
    if (cookie.isSessionCookie() || isExpired(cookie, now))
      d->tree.remove(splitHost(cookie.domain()), cookie);
}

QByteArray NetworkCookieJar::saveState() const {
  QByteArray state;
  QDataStream stream(&state, QIODevice::WriteOnly);
  stream << kMagic << kVersion << d->tree;
  return state;
}

bool NetworkCookieJar::restoreState(const QByteArray& state) {
  QDataStream stream(state);
  qint32 magic = 0, version = 0;
  if (stream.atEnd()) return false;
  stream >> magic >> version;
  if (magic != kMagic || version != kVersion) return false;
  stream >> d->tree;
  d->repair();
  return true;
}

QList<QNetworkCookie> NetworkCookieJar::allCookies() const { return d->tree.all(); }

void NetworkCookieJar::setAllCookies(const QList<QNetworkCookie>& cookies) {
  d->tree.clear();
  for (const QNetworkCookie& cookie : cookies) d->tree.insert(splitHost(cookie.domain()), cookie);
}

void NetworkCookieJar::setSecondLevelDomains(const QStringList& labels) {
  d->secondLevelDomains = labels;
  d->secondLevelDomains.sort();
  d->secondLevelDomainsLoaded = true;
}

}  // namespace LARKA
