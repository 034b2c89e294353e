// SPDX-License-Identifier: MIT
#include "cookies/networkcookiejar.h"

#include <QDateTime>
#include <QMap>
#include <QNetworkCookie>
#include <QPair>
#include <QSet>
#include <QUrl>
#include <algorithm>
#include <map>
#include <tuple>
#include <vector>

#include "cookies/Trie.h"

// Ends the text of a cookie whose name, value and path are percent-encoded. No other text ends like
// this, because a field with a ";" is always encoded.
static const char kEncoded[] = "; encoded";

// Returns whether a field survives being written to a Set-Cookie text and read back.
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
  // The zone of an IPv6 host may hold anything. Such a cookie is lost: the keys of its node don't
  // give the domain either.
  if (!isPlain(cookie.domain().toUtf8())) written.setDomain(QString());
  return stream << written.toRawForm(QNetworkCookie::Full) + (plain ? "" : kEncoded);
}

// Qt writes the numeric domains of IPv6 hosts, but can't read them.
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

// Only the first line counts.
static void readText(QByteArray text, QNetworkCookie* cookie) {
  const int kLongestText = 1 << 20;
  if (text.size() > kLongestText) return;
  const int line = text.indexOf('\n');
  if (line >= 0) text.truncate(line);
  const bool encoded = text.endsWith(kEncoded);
  const QList<QNetworkCookie> cookies = parsed(text);
  if (cookies.isEmpty()) return;
  *cookie = cookies.first();
  if (!encoded) return;
  cookie->setName(QByteArray::fromPercentEncoding(cookie->name()));
  cookie->setValue(QByteArray::fromPercentEncoding(cookie->value()));
  const QByteArray path = QByteArray::fromPercentEncoding(cookie->path().toUtf8());
  cookie->setPath(QString::fromStdString(path.toStdString()));  // with any NUL in it
}

QDataStream& operator>>(QDataStream& stream, QNetworkCookie& cookie) {
  QByteArray text;
  stream >> text;
  readText(text, &cookie);
  return stream;
}

namespace LARKA {

namespace {

const qint32 kMagic = 174;
const qint32 kVersion = 1;
const int kLongestPath = 1024;
const int kLongestDomain = 255;
const int kLargestCookie = 4096;  // name and value, in bytes
const int kMostOfADomain = 180;
const int kMostInAll = 3000;

// Top-level labels under which domains are registered at the third level. Keep them sorted:
// matchesBlacklist() does a binary search.
const char* const kTwoLevelDomains[] = {
    "ao", "ar", "arpa", "bd", "bn", "br", "co", "cr", "cy", "do", "eg", "et", "fj",
    "fk", "gh", "gn",   "gu", "id", "il", "jm", "ke", "kh", "ki", "kw", "kz", "lb",
    "lc", "lr", "ls",   "ml", "mm", "mv", "mw", "mx", "my", "ng", "ni", "np", "nz",
    "om", "pa", "pe",   "pg", "pw", "py", "qa", "sa", "sb", "sv", "sy", "th", "tn",
    "tz", "uk", "uy",   "va", "ve", "ye", "yu", "za", "zm", "zw"};

/// Returns the labels of a host, without the empty ones at either end.
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

bool isTooLarge(const QNetworkCookie& cookie) {
  return cookie.name().size() + cookie.value().size() > kLargestCookie;
}

bool isScheme(const QUrl& url, const char* scheme) {
  return url.scheme().toLower() == QLatin1String(scheme);
}

/// Returns whether a host is an IPv4 address: no top-level domain is a number.
bool isAddress(const QStringList& labels) {
  bool isNumber = false;
  labels.last().toUInt(&isNumber);
  return isNumber;
}

/// Returns a domain in the form that Qt's cookie parser gives it; empty if it is not a domain.
QString normalized(const QString& domain) { return QUrl::fromAce(QUrl::toAce(domain)); }

bool shorterPaths(const QNetworkCookie& a, const QNetworkCookie& b) {
  return b.path().length() < a.path().length();
}

/// Gives a cookie that was read in the node at `keys` its domain if it has none. Returns false if
/// it may not be there.
bool completeAt(const QStringList& keys, QNetworkCookie* cookie) {
  if (cookie->name().isEmpty()) return false;
  if (cookie->domain().isEmpty()) cookie->setDomain(normalized(keys.join(QLatin1Char('.'))));
  const QStringList labels = splitHost(cookie->domain());
  if (labels.isEmpty() || cookie->domain().length() > kLongestDomain || isTooLarge(*cookie))
    return false;
  // The file may spell an international name differently from Qt.
  return labels == keys || labels == splitHost(normalized(keys.join(QLatin1Char('.'))));
}

struct StoredCookie : QNetworkCookie {
  StoredCookie() = default;
  StoredCookie(const QNetworkCookie& cookie, quint64 serial)
      : QNetworkCookie(cookie), serial(serial) {}

  mutable quint64 serial = 0;     // grows with every cookie that is set or read
  bool isOfAnotherStore = false;  // a session cookie that this store only keeps in the file
};

/// Returns whether a cookie ends with this process, whatever other processes do.
bool isOfThisSession(const StoredCookie& cookie) {
  return cookie.isSessionCookie() && !cookie.isOfAnotherStore;
}

using Cookies = std::vector<const StoredCookie*>;

bool isOlder(const StoredCookie* a, const StoredCookie* b) { return a->serial < b->serial; }

/// What makes two cookies namesakes: domain, path, name.
using Identity = std::tuple<QString, QString, QByteArray>;

Identity identityOf(const QNetworkCookie& cookie) {
  return {cookie.domain(), cookie.path(), cookie.name()};
}

/// The cookies of a saved state before they are parsed: the keys of the node and the text of each.
struct SavedState {
  QList<QPair<QStringList, QByteArray>> cookies;
  bool isWhole = false;  // not cut off, nor damaged otherwise
};

bool readHeader(QDataStream* stream) {
  qint32 magic = 0, version = 0;
  *stream >> magic >> version;
  return magic == kMagic && version == kVersion;
}

SavedState parsedState(const QByteArray& state) {
  QDataStream stream(state);
  if (!readHeader(&stream)) return {};
  Trie<QByteArray> tree;
  stream >> tree;
  SavedState parsed;
  parsed.isWhole = stream.status() == QDataStream::Ok && stream.atEnd() && tree.isConsistent();
  tree.forEachNode([&parsed](const Trie<QByteArray>& node, QStringList keys) {
    if (node.values.isEmpty() || keys.size() > kLongestDomain) return;
    std::reverse(keys.begin(), keys.end());
    for (const QByteArray& text : node.values) parsed.cookies.append({keys, text});
  });
  return parsed;
}

/// Returns the cookies of `state` that are not, or not the same, in `other`.
QList<StoredCookie> difference(const SavedState& state, const SavedState& other) {
  const QSet<QPair<QStringList, QByteArray>> known(other.cookies.begin(), other.cookies.end());
  QList<StoredCookie> found;
  for (const auto& read : state.cookies) {
    StoredCookie cookie;
    if (known.contains(read)) continue;
    readText(read.second, &cookie);
    if (completeAt(read.first, &cookie)) found.append(cookie);
  }
  return found;
}

/// If there are more than `most` cookies, removes and returns the surplus: all expired ones, then
/// the oldest.
Cookies takeSurplus(Cookies* cookies, size_t most, const QDateTime& now) {
  if (cookies->size() <= most) return {};
  const auto first = cookies->begin(), last = cookies->end();
  const auto live =
      std::partition(first, last, [&](auto* cookie) { return isExpired(*cookie, now); });
  const auto kept = std::max(live, last - static_cast<std::ptrdiff_t>(most));
  if (kept > live) std::nth_element(live, kept, last, isOlder);
  Cookies surplus(first, kept);
  cookies->erase(first, kept);
  return surplus;
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
  QList<StoredCookie> cookiesAlong(QStringList labels) const;
  /// Returns how many labels a registered domain has.
  int registrableSize(const QStringList& labels) const {
    return matchesBlacklist(labels.last()) ? 3 : 2;
  }
  QStringList family(const QStringList& labels) const;
  const StoredCookie* namesake(const QNetworkCookie& cookie, const QStringList& labels) const;
  void insert(const QNetworkCookie& cookie, const QStringList& labels);
  void remove(const QNetworkCookie& cookie);
  void removeNamesake(const QNetworkCookie& cookie, const QStringList& labels);
  void makeRoom(const QStringList& labels, const QDateTime& now) {
    makeRoomInFamily(labels, now);
    makeRoomInAll(now);
  }
  void makeRoomInFamily(const QStringList& labels, const QDateTime& now);
  void makeRoomInAll(const QDateTime& now) {
    if (count > kMostInAll) cut(tree, true, kMostInAll, now);
  }
  void cut(const Trie<StoredCookie>& node, bool all, int most, const QDateTime& now);
  void checkRestored();
  bool isChanged(const StoredCookie& cookie) const { return cookie.serial > savedSerial; }
  bool prevails(const StoredCookie* own, bool wasSaved, const StoredCookie& theirs) const;
  void merge(const QByteArray& state);
  void insertBeforeChanges(const QList<StoredCookie>& cookies, const QDateTime& now);

  Trie<StoredCookie> tree;
  int count = 0;  // of cookies in the tree
  quint64 lastSerial = 0;
  QByteArray saved;         // what the file held when the store last read or wrote it
  quint64 savedSerial = 0;  // of the last cookie that the store had then
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

/// Returns whether a response from `url` may set a cookie for the domain that the cookie names.
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

/// Gives a cookie of a response its default path and domain. Returns false if it may not be set.
bool NetworkCookieJarPrivate::complete(QNetworkCookie* cookie, const QUrl& url) const {
  if (cookie->path().isEmpty()) cookie->setPath(defaultPath(url));
  if (isTooLarge(*cookie) || cookie->path().length() > kLongestPath) return false;
  if (!cookie->domain().isEmpty()) return matchingDomain(*cookie, url);
  cookie->setDomain(url.host().toLower());
  return !cookie->domain().isEmpty();
}

/// Returns the cookies of a host and of the domains above it, up to its registrable domain.
QList<StoredCookie> NetworkCookieJarPrivate::cookiesAlong(QStringList labels) const {
  QList<StoredCookie> found = tree.find(labels);
  if (labels.size() <= 2) return found;
  const int shortest = registrableSize(labels);
  for (labels.removeFirst(); labels.size() >= shortest; labels.removeFirst())
    found += tree.find(labels);
  return found;
}

/// Returns the labels of a host's registrable domain, or of the host itself if it is in none.
QStringList NetworkCookieJarPrivate::family(const QStringList& labels) const {
  const int above = isAddress(labels) ? 0 : labels.size() - registrableSize(labels);
  return labels.mid(qMax(0, above));
}

void NetworkCookieJarPrivate::insert(const QNetworkCookie& cookie, const QStringList& labels) {
  tree.insert(labels, StoredCookie(cookie, ++lastSerial));
  ++count;
}

void NetworkCookieJarPrivate::remove(const QNetworkCookie& cookie) {
  if (tree.remove(splitHost(cookie.domain()), StoredCookie(cookie, 0))) --count;
}

const StoredCookie* NetworkCookieJarPrivate::namesake(const QNetworkCookie& cookie,
                                                      const QStringList& labels) const {
  const Trie<StoredCookie>* node = tree.walkTo(labels);
  if (!node) return nullptr;
  const auto found = std::find_if(node->values.begin(), node->values.end(), [&](auto& other) {
    return other.name() == cookie.name() && other.domain() == cookie.domain() &&
           other.path() == cookie.path();
  });
  return found == node->values.end() ? nullptr : &*found;
}

void NetworkCookieJarPrivate::removeNamesake(const QNetworkCookie& cookie,
                                             const QStringList& labels) {
  const StoredCookie* old = namesake(cookie, labels);
  if (old && tree.remove(labels, StoredCookie(*old))) --count;
}

/// Removes what exceeds the limit of a registrable domain after a cookie was added at `labels`.
void NetworkCookieJarPrivate::makeRoomInFamily(const QStringList& labels, const QDateTime& now) {
  if (count <= kMostOfADomain) return;
  const QStringList shared = family(labels);
  const bool alone = isAddress(shared) || shared.size() < registrableSize(shared);
  cut(*tree.walkTo(shared), !alone, kMostOfADomain, now);
}

/// Removes what exceeds `most` from the cookies of a node or, with `all`, of the node and those
/// below it together.
void NetworkCookieJarPrivate::cut(const Trie<StoredCookie>& node, bool all, int most,
                                  const QDateTime& now) {
  Cookies cookies;
  const auto add = [&cookies](const Trie<StoredCookie>& each, const QStringList&) {
    for (const StoredCookie& cookie : each.values) cookies.push_back(&cookie);
  };
  if (all)
    node.forEachNode(add);
  else
    add(node, {});
  QList<QNetworkCookie> surplus;
  for (const StoredCookie* cookie : takeSurplus(&cookies, most, now)) surplus.append(*cookie);
  for (const QNetworkCookie& cookie : surplus) remove(cookie);
}

/// Numbers the cookies of a tree that was read, in their order. If the tree is damaged, or holds
/// cookies that it must not hold, rebuilds it from those that may stay.
void NetworkCookieJarPrivate::checkRestored() {
  bool sound = tree.isConsistent();
  int total = 0;
  QList<StoredCookie> found;
  tree.forEachNode([&](const Trie<StoredCookie>& node, QStringList keys) {
    if (node.values.isEmpty()) return;
    std::reverse(keys.begin(), keys.end());
    total += node.values.size();
    for (const StoredCookie& read : node.values) {
      read.serial = ++lastSerial;
      if (splitHost(read.domain()) != keys) sound = false;
      StoredCookie cookie = read;
      if (completeAt(keys, &cookie)) found.append(cookie);
    }
  });

  const QDateTime now = QDateTime::currentDateTimeUtc();
  QMap<QStringList, Cookies> families;
  for (const StoredCookie& cookie : qAsConst(found))
    families[family(splitHost(cookie.domain()))].push_back(&cookie);
  Cookies kept;
  for (Cookies& cookies : families) {
    takeSurplus(&cookies, kMostOfADomain, now);
    kept.insert(kept.end(), cookies.begin(), cookies.end());
  }
  takeSurplus(&kept, kMostInAll, now);
  count = static_cast<int>(kept.size());
  if (sound && count == total) return;
  tree.clear();
  std::sort(kept.begin(), kept.end(), isOlder);
  for (const StoredCookie* cookie : kept) tree.insert(splitHost(cookie->domain()), *cookie);
}

/// Returns whether what this store has of a cookie stays although another store has set the cookie.
/// Who saves later wins.
bool NetworkCookieJarPrivate::prevails(const StoredCookie* own, bool wasSaved,
                                       const StoredCookie& theirs) const {
  if (own && isChanged(*own)) return true;
  if (theirs.isSessionCookie()) return own && isOfThisSession(*own);
  return !own && wasSaved;  // removed here
}

/// Makes the changes that other stores have made to the file, which now holds `state`. They change
/// nothing in this session, whose cookies end with the process.
void NetworkCookieJarPrivate::merge(const QByteArray& state) {
  const SavedState before = parsedState(saved), after = parsedState(state);
  const QDateTime now = QDateTime::currentDateTimeUtc();
  std::map<Identity, StoredCookie> gone;  // from `before`
  for (const StoredCookie& cookie : difference(before, after)) gone[identityOf(cookie)] = cookie;

  QList<StoredCookie> taken;
  for (StoredCookie cookie : difference(after, before)) {
    const auto old = gone.find(identityOf(cookie));
    const bool wasSaved = old != gone.end() && !isExpired(old->second, now);
    const StoredCookie* own = namesake(cookie, splitHost(cookie.domain()));
    if (prevails(own, wasSaved, cookie)) continue;
    if (own) remove(*own);
    cookie.isOfAnotherStore = cookie.isSessionCookie();
    if (!isExpired(cookie, now)) taken.append(cookie);
  }
  // A damaged file may lack what nobody has removed.
  for (const auto& [identity, cookie] : gone) {
    if (!after.isWhole) break;
    const StoredCookie* own = namesake(cookie, splitHost(cookie.domain()));
    if (own && !isChanged(*own) && !isOfThisSession(*own)) remove(*own);
  }
  saved = state;
  insertBeforeChanges(taken, now);
}

/// Adds cookies that count as newer than those that were saved, and older than those set since.
void NetworkCookieJarPrivate::insertBeforeChanges(const QList<StoredCookie>& cookies,
                                                  const QDateTime& now) {
  Cookies changed;
  tree.forEachNode([&](const Trie<StoredCookie>& node, const QStringList&) {
    for (const StoredCookie& cookie : node.values)
      if (isChanged(cookie)) changed.push_back(&cookie);
  });
  std::sort(changed.begin(), changed.end(), isOlder);
  quint64 serial = lastSerial;
  savedSerial = lastSerial += static_cast<quint64>(cookies.size());
  for (const StoredCookie* cookie : changed) cookie->serial = ++lastSerial;
  for (const StoredCookie& cookie : cookies) {
    cookie.serial = ++serial;
    tree.insert(splitHost(cookie.domain()), cookie);
    ++count;
  }
  for (const StoredCookie& cookie : cookies) makeRoomInFamily(splitHost(cookie.domain()), now);
  makeRoomInAll(now);
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
    d->insert(cookie, labels);
    d->makeRoom(labels, now);
    stored = true;
  }
  return stored;
}

QList<QNetworkCookie> NetworkCookieJar::cookiesForUrl(const QUrl& url) const {
  const QString host = isScheme(url, "file") ? QStringLiteral("localhost") : url.host();
  const QList<StoredCookie> found = d->cookiesAlong(splitHost(host));
  if (found.isEmpty()) return {};

  const QDateTime now = QDateTime::currentDateTimeUtc();
  const QString path = d->urlPath(url);
  const bool secure = isScheme(url, "https");
  QList<QNetworkCookie> result;
  for (const StoredCookie& cookie : found) {
    if (!d->matchingPath(cookie, path) || (cookie.isSecure() && !secure)) continue;
    if (cookie.isOfAnotherStore) continue;
    if (isExpired(cookie, now))
      d->remove(cookie);
    else
      result.append(cookie);
  }
  std::sort(result.begin(), result.end(), shorterPaths);
  return result;
}

void NetworkCookieJar::endSession() {
  const QDateTime now = QDateTime::currentDateTimeUtc();
  for (const StoredCookie& cookie : d->tree.all())
    if (isOfThisSession(cookie) || isExpired(cookie, now)) d->remove(cookie);
}

QByteArray NetworkCookieJar::saveState() const {
  QByteArray state;
  QDataStream stream(&state, QIODevice::WriteOnly);
  stream << kMagic << kVersion << d->tree;
  return state;
}

bool NetworkCookieJar::restoreState(const QByteArray& state) {
  QDataStream stream(state);
  if (!readHeader(&stream)) return false;
  stream >> d->tree;
  d->checkRestored();
  return true;
}

void NetworkCookieJar::setSaved(const QByteArray& state) {
  QDataStream stream(state);
  if (!readHeader(&stream)) return;
  d->saved = state;
  d->savedSerial = d->lastSerial;
}

void NetworkCookieJar::merge(const QByteArray& state) {
  QDataStream stream(state);
  if (state != d->saved && readHeader(&stream)) d->merge(state);
}

QList<QNetworkCookie> NetworkCookieJar::allCookies() const {
  QList<QNetworkCookie> cookies;
  for (const StoredCookie& cookie : d->tree.all())
    if (!cookie.isOfAnotherStore) cookies.append(cookie);
  return cookies;
}

void NetworkCookieJar::setAllCookies(const QList<QNetworkCookie>& cookies) {
  d->tree.clear();
  d->count = 0;
  for (const QNetworkCookie& cookie : cookies) d->insert(cookie, splitHost(cookie.domain()));
}

void NetworkCookieJar::setSecondLevelDomains(const QStringList& labels) {
  d->secondLevelDomains = labels;
  d->secondLevelDomains.sort();
  d->secondLevelDomainsLoaded = true;
}

}  // namespace LARKA
