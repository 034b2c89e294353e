// SPDX-License-Identifier: MIT
#include "network/CacheWrapper.h"

#include <QMap>
#include <QNetworkDiskCache>
#include <QWeakPointer>

namespace LARKA {

QSharedPointer<QNetworkDiskCache> diskCacheOf(const QString& directory) {
  static QMap<QString, QWeakPointer<QNetworkDiskCache>> all;
  QSharedPointer<QNetworkDiskCache> cache = all[directory].toStrongRef();
  if (cache) return cache;
  cache.reset(new QNetworkDiskCache(nullptr));
  cache->setCacheDirectory(directory);
  all[directory] = cache;
  return cache;
}

qint64 cacheLimit(int sizeInMegabytes) {
  const qint64 kDefaultBytes = 209715200;
  if (sizeInMegabytes < 0) return kDefaultBytes;
  return static_cast<qint32>(static_cast<quint32>(sizeInMegabytes) << 20);
}

CacheWrapper::CacheWrapper(QNetworkDiskCache* target) : m_target(target) {}

QNetworkCacheMetaData CacheWrapper::metaData(const QUrl& url) { return m_target->metaData(url); }

void CacheWrapper::updateMetaData(const QNetworkCacheMetaData& metaData) {
  m_target->updateMetaData(metaData);
}

QIODevice* CacheWrapper::data(const QUrl& url) { return m_target->data(url); }

bool CacheWrapper::remove(const QUrl& url) { return m_target->remove(url); }

qint64 CacheWrapper::cacheSize() const { return m_target->cacheSize(); }

QIODevice* CacheWrapper::prepare(const QNetworkCacheMetaData& metaData) {
  return m_target->prepare(metaData);
}

void CacheWrapper::insert(QIODevice* device) { m_target->insert(device); }

void CacheWrapper::clear() { m_target->clear(); }

}  // namespace LARKA
