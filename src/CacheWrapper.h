// CacheWrapper.h: a browser's share in a disk cache.
#pragma once

#include <QAbstractNetworkCache>

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

}  // namespace LARKA
