// CacheWrapper.h: a browser's share in a disk cache.
#pragma once

#include <QAbstractNetworkCache>
#include <QSharedPointer>

class QNetworkDiskCache;

namespace LARKA {

/// Stands in for a shared disk cache in one browser's network access manager, which owns what it is
/// given. The cache outlives it.
class CacheWrapper : public QAbstractNetworkCache {
  Q_OBJECT

 public:
  explicit CacheWrapper(QNetworkDiskCache* target);

  QNetworkCacheMetaData metaData(const QUrl& url) override;
  void updateMetaData(const QNetworkCacheMetaData& metaData) override;
  QIODevice* data(const QUrl& url) override;
  bool remove(const QUrl& url) override;
  qint64 cacheSize() const override;
  QIODevice* prepare(const QNetworkCacheMetaData& metaData) override;
  void insert(QIODevice* device) override;

 public slots:
  void clear() override;

 private:
  QNetworkDiskCache* m_target;
};

/// Returns the disk cache in `directory`, the same for all browsers that use it. It goes with the
/// last of them.
QSharedPointer<QNetworkDiskCache> diskCacheOf(const QString& directory);

/// The size in bytes of a cache that a host limits to so many MiB; negative stands for 200. The
/// multiplication wraps in 32 bits: hosts count on what becomes of sizes from 2048 on.
qint64 cacheLimit(int sizeInMegabytes);

}  // namespace LARKA
