// SPDX-License-Identifier: MIT
#include "storage/PageStorage.h"

#include <sys/time.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QLibrary>
#include <QNetworkReply>
#include <QUrl>
#include <QWebDatabase>
#include <QWebFrame>
#include <QWebPage>
#include <QWebSecurityOrigin>
#include <QWebSettings>
#include <algorithm>

#include "larka/StorageLimits.h"

namespace LARKA {

namespace {

const int kCheckAfterMilliseconds = 500;
const int kEmptiedAfterMilliseconds = 2000;  // QtWebKit writes after a second
const int kMostShown = 50;   // origins; a page with frames of more could fill a disk in a second
const int kCachesShare = 4;  // application caches get a quarter of the limit for all
const qint64 kSmallestCacheLimit = 4096;  // stands for none: 0 means no limit to QtWebKit
const char kLocalStorageSuffix[] = ".localstorage";
const qint64 kEmptyFile = 16 << 10;  // bytes; a local storage file without items is smaller
const char kNowhere[] = "/dev/null/databases";

qint64 g_perOrigin = kDefaultStoragePerOrigin;
qint64 g_inAll = kDefaultStorageInAll;

qint64 cachesLimit() { return std::max(g_inAll / kCachesShare, kSmallestCacheLimit); }

/// Returns the limit for local storage and databases of all origins.
qint64 limitInAll() { return g_inAll - g_inAll / kCachesShare; }

/// From here on makeRoom() removes origins, so that new ones still find room ...
qint64 nearlyFull() { return limitInAll() / 8 * 7; }
/// ... and down to here.
qint64 roomy() { return limitInAll() / 4 * 3; }

QString nameOf(const QWebSecurityOrigin& origin) {
  return QStringLiteral("%1_%2_%3").arg(origin.scheme(), origin.host()).arg(origin.port());
}

QString nameFromFile(const QString& file) { return QUrl::fromPercentEncoding(file.toUtf8()); }

/// Returns the address of an origin's root.
QUrl addressOf(const QString& name) {
  const int host = name.indexOf('_') + 1, port = name.lastIndexOf('_') + 1;
  QUrl url;
  url.setScheme(name.left(host - 1));
  url.setHost(name.mid(host, port - 1 - host));
  if (const int number = name.mid(port).toInt()) url.setPort(number);
  url.setPath(QStringLiteral("/"));
  return url;
}

qint64 bytesIn(const QString& directory) {
  qint64 bytes = 0;
  QDirIterator files(directory, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
  while (files.hasNext()) {
    files.next();
    bytes += files.fileInfo().size();
  }
  return bytes;
}

void addFrames(QWebFrame* frame, QSet<QString>* origins) {
  origins->insert(nameOf(frame->securityOrigin()));
  for (QWebFrame* child : frame->childFrames()) addFrames(child, origins);
}

// At the first use of an indexed database, QtWebKit decides where all of them will be: in the
// directory of the other databases, where nothing would limit them, or, if there is no directory,
// in memory.
void keepIndexedDatabasesInMemory() {
  QWebPage page;
  page.settings()->setAttribute(QWebSettings::OfflineStorageDatabaseEnabled, true);
  page.mainFrame()->setHtml(QStringLiteral(" "), QUrl(QStringLiteral("http://larka.invalid/")));
  page.mainFrame()->evaluateJavaScript(QStringLiteral("indexedDB.open('memory'); void 0"));
}

/// Shrinks a database file of QtWebKit's to what it still holds, unless it is busy. Uses the SQLite
/// library that QtWebKit uses: SQLite coordinates the users of a file in one process only if they
/// share the library.
void shrink(const QString& path) {
  static QLibrary sqlite(QStringLiteral("sqlite3"), 0);
  struct Database;
  static const auto open =
      reinterpret_cast<int (*)(const char*, Database**)>(sqlite.resolve("sqlite3_open"));
  static const auto execute =
      reinterpret_cast<int (*)(Database*, const char*, void*, void*, void*)>(
          sqlite.resolve("sqlite3_exec"));
  static const auto close = reinterpret_cast<int (*)(Database*)>(sqlite.resolve("sqlite3_close"));
  if (!open || !execute || !close) return;
  Database* database = nullptr;
  if (open(path.toUtf8().constData(), &database) == 0)
    execute(database, "VACUUM", nullptr, nullptr, nullptr);
  close(database);
}

QPointer<PageStorage> g_instance;

}  // namespace

PageStorage* PageStorage::instance() {
  if (!g_instance) g_instance = new PageStorage(QCoreApplication::instance());
  return g_instance;
}

PageStorage::PageStorage(QObject* parent) : QObject(parent) {
  m_checkTimer.setSingleShot(true);
  m_checkTimer.setInterval(kCheckAfterMilliseconds);
  connect(&m_checkTimer, &QTimer::timeout, this, &PageStorage::check);
  // Whatever QtWebKit writes, a journal file comes and goes in the directory.
  connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &PageStorage::checkSoon);
}

void PageStorage::checkSoon() {
  if (!m_checkTimer.isActive()) m_checkTimer.start();
}

// Directories.

// QtWebKit compares directories by their text, so each gets one spelling.
QString PageStorage::prepare(const QString& directory) {
  QString path = directory.isEmpty() ? QString() : QDir(directory).absolutePath();
  placeDatabases(path);
  if (path.isEmpty() || m_directories.contains(path)) return path;
  m_directories.append(path);
  if (QDir().mkpath(path)) m_watcher.addPath(path);
  placeApplicationCaches(path);
  check();
  return path;
}

// QtWebKit has one directory for the databases of all pages. Without one it writes into the current
// directory; with an impossible one it refuses databases, as it should. A directory that the host
// has set itself stays.
void PageStorage::placeDatabases(const QString& directory) {
  if (!m_databases.isEmpty()) return;
  const QString before = QWebSettings::offlineStoragePath();
  if (before.isEmpty()) {
    keepIndexedDatabasesInMemory();
    QWebSettings::setOfflineStoragePath(QString::fromLatin1(kNowhere));
  } else if (before != QLatin1String(kNowhere)) {
    return;
  }
  if (directory.isEmpty()) return;
  m_databases = directory + QStringLiteral("/databases");
  QWebSettings::setOfflineStoragePath(m_databases);
  QWebSettings::setOfflineStorageDefaultQuota(0);  // see grantDatabases
}

// Setting the limit empties the caches, so set it before the directory.
void PageStorage::placeApplicationCaches(const QString& directory) {
  if (!QWebSettings::offlineWebApplicationCachePath().isEmpty()) return;
  m_caches = directory + QStringLiteral("/applicationcaches");
  if (bytesIn(m_caches) > cachesLimit()) QDir(m_caches).removeRecursively();
  QWebSettings::setOfflineWebApplicationCacheQuota(cachesLimit());
  QWebSettings::setOfflineWebApplicationCachePath(m_caches);
  for (const Page& page : m_pages)
    if (page.page && !page.stores) keepWithoutCaches(page.page);
}

// The caches would be in another browser's directory.
void PageStorage::keepWithoutCaches(QWebPage* page) {
  page->settings()->setAttribute(QWebSettings::OfflineWebApplicationCacheEnabled, false);
}

void PageStorage::watch(QNetworkReply* reply) {
  connect(reply, &QNetworkReply::metaDataChanged, reply, [reply] {
    if (!g_instance || g_instance->m_caches.isEmpty()) return;
    const QString type = reply->header(QNetworkRequest::ContentTypeHeader).toString();
    if (type.startsWith(QLatin1String("text/cache-manifest"), Qt::CaseInsensitive))
      QWebSecurityOrigin(reply->url()).setApplicationCacheQuota(std::max(g_perOrigin, qint64(1)));
  });
}

// Pages.

void PageStorage::addPage(QWebPage* page, const QString& directory) {
  const auto isGone = [](const Page& known) { return !known.page; };
  m_pages.erase(std::remove_if(m_pages.begin(), m_pages.end(), isGone), m_pages.end());
  const bool stores = !directory.isEmpty();
  m_pages.push_back({page, stores});
  if (!stores) {
    if (!m_caches.isEmpty()) keepWithoutCaches(page);
    return;
  }
  page->settings()->setAttribute(QWebSettings::PrivateBrowsingEnabled, m_full);
  // An origin can't create its first database before this.
  connect(page, &QWebPage::databaseQuotaExceeded, this,
          [this](QWebFrame* frame) { grantDatabases(frame->securityOrigin()); });
  connect(page, &QObject::destroyed, this, &PageStorage::checkSoon);
  connect(page, &QWebPage::frameCreated, this, &PageStorage::watchFrame);
  watchFrame(page->mainFrame());
}

void PageStorage::watchFrame(QWebFrame* frame) {
  connect(frame, &QWebFrame::urlChanged, this, [this, frame] { noteUse(frame); });
}

void PageStorage::noteUse(QWebFrame* frame) {
  const QString origin = nameOf(frame->securityOrigin());
  m_used.insert(origin);
  m_unstampedUse.insert(origin);
  m_cleared.remove(origin);
  grantToKnown({origin});
  if (!m_full && shownOrigins().size() > kMostShown) setFull(true);
  checkSoon();
}

QSet<QString> PageStorage::shownOrigins() const {
  QSet<QString> shown;
  for (const Page& page : m_pages)
    if (page.page && page.stores) addFrames(page.page->mainFrame(), &shown);
  return shown;
}

// The check.

void PageStorage::check() {
  const QSet<QString> shown = shownOrigins();
  takeBackGrants(shown);
  StoredByOrigin all = scan();
  if (makeRoom(all, shown)) all = scan();
  qint64 bytes = 0;
  for (const Stored& stored : all) bytes += stored.bytes;
  setFull(bytes >= limitInAll() || g_perOrigin <= 0 || shown.size() > kMostShown);
}

PageStorage::StoredByOrigin PageStorage::scan() {
  StoredByOrigin all;
  const auto add = [&](const QFileInfo& info, const QString& origin, qint64 bytes) {
    const QString path = info.filePath();
    Stored& stored = all[origin];
    (info.isDir() ? stored.databases : stored.localStorage).append(path);
    if (bytes > kEmptyFile && !info.isDir() && m_cleared.contains(origin) &&
        m_cleared[origin].hasExpired()) {
      shrink(path);
      bytes = QFileInfo(path).size();
    }
    if (m_unstampedUse.contains(origin)) utimes(QFile::encodeName(path).constData(), nullptr);
    stored.bytes += bytes;
    stored.lastUsed = std::max(stored.lastUsed, QFileInfo(path).lastModified().toMSecsSinceEpoch());
  };
  const QString suffix = QString::fromLatin1(kLocalStorageSuffix);
  for (const QString& directory : m_directories) {
    const auto files = QDir(directory).entryInfoList({'*' + suffix}, QDir::Files | QDir::Hidden);
    for (const QFileInfo& file : files)
      add(file, nameFromFile(file.fileName().chopped(suffix.size())), file.size());
  }
  if (!m_databases.isEmpty()) {
    const auto filter = QDir::Dirs | QDir::NoDotAndDotDot;
    for (const QFileInfo& origin : QDir(m_databases).entryInfoList(filter))
      add(origin, nameFromFile(origin.fileName()), bytesIn(origin.filePath()));
  }
  m_unstampedUse.clear();
  return all;
}

// Returns whether it removed anything.
bool PageStorage::makeRoom(const StoredByOrigin& all, const QSet<QString>& shown) {
  qint64 bytes = grantedBut(QString());
  std::vector<QString> removable;
  for (auto stored = all.begin(); stored != all.end(); ++stored) {
    if (m_cleared.contains(stored.key())) continue;
    bytes += stored->bytes;
    const bool gains = stored->bytes > kEmptyFile || !m_used.contains(stored.key());
    if (gains && !shown.contains(stored.key())) removable.push_back(stored.key());
  }
  if (bytes <= nearlyFull() || removable.empty()) return false;
  std::stable_sort(removable.begin(), removable.end(), [&](const QString& a, const QString& b) {
    return all[a].lastUsed < all[b].lastUsed;
  });
  for (const QString& origin : removable) {
    if (bytes <= roomy()) break;
    remove(origin, all[origin]);
    bytes -= all[origin].bytes;
  }
  return true;
}

// QtWebKit's copy in memory has to go as well, or it would be written again.
void PageStorage::remove(const QString& origin, const Stored& stored) {
  for (const QString& file : stored.localStorage) {
    if (m_used.contains(origin)) {
      clearLocalStorage(origin, QFileInfo(file).path());
    } else {
      QFile::remove(file + QStringLiteral("-journal"));  // never leave a journal for a later file
      QFile::remove(file);
    }
  }
  for (const QWebSecurityOrigin& known : QWebSecurityOrigin::allOrigins()) {
    if (nameOf(known) != origin) continue;
    for (const QWebDatabase& database : known.databases()) QWebDatabase::removeDatabase(database);
  }
  if (m_used.contains(origin)) return;
  for (const QString& directory : stored.databases) QDir(directory).removeRecursively();
}

// Clears it through a page of that origin. QtWebKit empties the file a second later, but keeps it
// open and at its size; scan() shrinks it.
void PageStorage::clearLocalStorage(const QString& origin, const QString& directory) {
  QWebSettings* global = QWebSettings::globalSettings();
  const QString globalDirectory = global->localStoragePath();
  global->setLocalStoragePath(directory);
  QWebPage page;
  global->setLocalStoragePath(globalDirectory);
  page.settings()->setAttribute(QWebSettings::LocalStorageEnabled, true);
  page.mainFrame()->setHtml(QStringLiteral(" "), addressOf(origin));
  page.mainFrame()->evaluateJavaScript(QStringLiteral("localStorage.clear()"));
  m_cleared.insert(origin, QDeadlineTimer(kEmptiedAfterMilliseconds));
  QTimer::singleShot(kEmptiedAfterMilliseconds + kCheckAfterMilliseconds, this,
                     &PageStorage::check);
}

// Private browsing is QtWebKit's way to store nothing: writing throws QuotaExceededError.
void PageStorage::setFull(bool full) {
  if (full == m_full) return;
  m_full = full;
  for (const Page& page : m_pages)
    if (page.page && page.stores)
      page.page->settings()->setAttribute(QWebSettings::PrivateBrowsingEnabled, full);
}

// Databases.

// Raises the quota of an origin that a page shows to all that it may have and that there is room
// for. What other origins have been granted counts as used, so that all together never exceed the
// limit.
void PageStorage::grantDatabases(QWebSecurityOrigin origin) {
  if (m_databases.isEmpty()) return;
  checkSoon();
  qint64 room = limitInAll() - grantedBut(nameOf(origin));
  for (const Stored& stored : scan()) room -= stored.bytes;
  const qint64 quota = std::min(g_perOrigin, origin.databaseUsage() + std::max<qint64>(0, room));
  if (quota > origin.databaseQuota()) origin.setDatabaseQuota(quota);
}

/// Returns how many bytes are granted but not used, by all origins except one.
qint64 PageStorage::grantedBut(const QString& name) const {
  if (m_databases.isEmpty()) return 0;
  qint64 bytes = 0;
  for (const QWebSecurityOrigin& origin : QWebSecurityOrigin::allOrigins())
    if (nameOf(origin) != name)
      bytes += std::max<qint64>(0, origin.databaseQuota() - origin.databaseUsage());
  return bytes;
}

// Has to happen before a transaction reaches its quota: then it is too late for that transaction.
void PageStorage::grantToKnown(const QSet<QString>& names) {
  if (m_databases.isEmpty()) return;
  for (const QWebSecurityOrigin& known : QWebSecurityOrigin::allOrigins())
    if (names.contains(nameOf(known))) grantDatabases(known);
}

// Lowers the quotas of origins that no page shows to what they use, and those of all others to the
// limit or, if that is more, to what they use.
void PageStorage::takeBackGrants(const QSet<QString>& shown) {
  if (m_databases.isEmpty()) return;
  for (QWebSecurityOrigin origin : QWebSecurityOrigin::allOrigins()) {
    const qint64 usage = origin.databaseUsage();
    const qint64 most = shown.contains(nameOf(origin)) ? std::max(g_perOrigin, usage) : usage;
    if (origin.databaseQuota() > most) origin.setDatabaseQuota(most);
  }
}

void PageStorage::applyLimits() {
  if (!m_caches.isEmpty() && QWebSettings::offlineWebApplicationCacheQuota() != cachesLimit())
    QWebSettings::setOfflineWebApplicationCacheQuota(cachesLimit());
  check();
  grantToKnown(shownOrigins());
}

void limitPageStorage(long long bytesPerOrigin, long long bytesInAll) {
  g_perOrigin = std::max(bytesPerOrigin, 0LL);
  g_inAll = std::max(bytesInAll, 0LL);
  if (g_instance) g_instance->applyLimits();
}

}  // namespace LARKA
