// PageStorage.h: what pages keep on disk, and its limits.
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

/// Tells the engine where pages keep their data, and holds that data to the limits of
/// StorageLimits.h. There is one for the process: most of the engine's settings are for all pages.
///
/// An origin is known by the name that the engine gives its files: scheme_host_port.
class PageStorage : public QObject {
  Q_OBJECT

 public:
  /// Made on first use; ends with the application object.
  static PageStorage* instance();

  /// Holds a reply to the limit of an origin if it is the manifest of an application cache.
  static void watch(QNetworkReply* reply);

  /// Readies a browser's storage directory, empty for none, and returns its full path. To be called
  /// before the browser's page is made.
  QString prepare(const QString& directory);

  /// Watches the page of a browser whose storage directory is `directory`, empty for none.
  void addPage(QWebPage* page, const QString& directory);

  /// Applies limits that have changed.
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
  QString m_databases, m_caches;  // directories; empty while the engine has none from here
  std::vector<Page> m_pages;
  QSet<QString> m_used;          // origins that pages of this process have shown
  QSet<QString> m_unstampedUse;  // those of them whose files don't tell it yet
  // Origins whose local storage was cleared since, and when the engine has written that.
  QHash<QString, QDeadlineTimer> m_cleared;
  QFileSystemWatcher m_watcher;
  QTimer m_checkTimer;
  bool m_full = false;
};

}  // namespace LARKA
