// SPDX-License-Identifier: MIT
#pragma once

#include <QDeadlineTimer>
#include <QFileSystemWatcher>
#include <QHash>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QWebSecurityOrigin>
#include <vector>

class QNetworkReply;
class QWebFrame;
class QWebPage;

namespace LARKA {

/// Decides where pages keep their data on disk, and enforces the limits of StorageLimits.h. There
/// is one for the process, because most of QtWebKit's settings are for all pages.
///
/// Origins go by the names that QtWebKit gives their files: scheme_host_port.
class PageStorage : public QObject {
  Q_OBJECT

 public:
  /// Returns the one instance, which is created on first use and owned by the application object.
  static PageStorage* instance();

  /// Watches a reply: if it is the manifest of an application cache, limits its origin's cache.
  static void watch(QNetworkReply* reply);

  /// Prepares a browser's storage directory (empty for none) and returns its full path. Call it
  /// before the browser's page is created.
  QString prepare(const QString& directory);

  /// Watches the page of a browser whose storage directory is `directory` (empty for none).
  void addPage(QWebPage* page, const QString& directory);

  /// Applies changed limits.
  void applyLimits();

 private:
  /// What an origin has on disk, in all directories.
  struct Stored {
    QStringList localStorage;  // paths of its files
    QStringList databases;     // paths of its directories
    qint64 bytes = 0;          // of all these
    qint64 lastUsed = 0;       // milliseconds since 1970
  };
  struct Page {
    QPointer<QWebPage> page;
    bool stores;
  };
  using StoredByOrigin = QMap<QString, Stored>;

  explicit PageStorage(QObject* parent);

  void placeDatabases(const QString& directory);
  void placeApplicationCaches(const QString& directory);
  void keepWithoutCaches(QWebPage* page);
  void watchFrame(QWebFrame* frame);
  void noteUse(QWebFrame* frame);
  QSet<QString> shownOrigins() const;

  void checkSoon();
  void check();
  StoredByOrigin scan();
  bool makeRoom(const StoredByOrigin& stored, const QSet<QString>& shown);
  void remove(const QString& origin, const Stored& stored);
  void clearLocalStorage(const QString& origin, const QString& directory);
  void setFull(bool full);

  void grantDatabases(QWebSecurityOrigin origin);
  qint64 grantedBut(const QString& name) const;
  void grantToKnown(const QSet<QString>& names);
  void takeBackGrants(const QSet<QString>& shown);

  QStringList m_directories;      // with local storage
  QString m_databases, m_caches;  // directories that this class gave to QtWebKit; empty for none
  std::vector<Page> m_pages;
  QSet<QString> m_used;          // origins that pages of this process have shown
  QSet<QString> m_unstampedUse;  // those whose files have not got a new modification time yet
  // Origins whose local storage was cleared since, and when QtWebKit will have written that.
  QHash<QString, QDeadlineTimer> m_cleared;
  QFileSystemWatcher m_watcher;
  QTimer m_checkTimer;
  bool m_full = false;
};

/// SetStorageLimits() for the pages of this process.
void limitPageStorage(long long bytesPerOrigin, long long bytesInAll);

}  // namespace LARKA
