// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractNetworkCache>
#include <QSharedPointer>

class QNetworkDiskCache;

namespace LARKA {

/// Represents a shared disk cache in one browser's network access manager, which deletes the cache
/// that it is given. The shared cache must outlive the wrapper.
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

/// Returns the size limit in bytes for one in MiB; negative stands for 200 MiB. The result wraps at
/// 32 bits, from 2048 MiB on: hosts rely on it.
qint64 cacheLimit(int sizeInMegabytes);

}  // namespace LARKA
