// SPDX-License-Identifier: MIT
#include "cookies/CookieJar.h"

#include <fcntl.h>
#include <unistd.h>

#include <QFile>
#include <QFileInfo>
#include <QNetworkCookie>
#include <QSaveFile>
#include <QTimer>

namespace LARKA {

namespace {

const int kSaveAfterMilliseconds = 2000;
const qint64 kSaveAtOnceAfterMilliseconds = 10000;

// load() reads no more than this. A full store of the largest cookies takes 12 MiB.
const qint64 kLargestFile = 32 << 20;

bool writeAt(QFile* file, qint64 offset, const QByteArray& bytes) {
  return file->seek(offset) && file->write(bytes) == bytes.size() && fsync(file->handle()) == 0;
}

/// Overwrites a file that can't be replaced by a new one; leaves it alone if there is no room. The
/// header stays blank until the rest is written, so that a half-written file never reads as a whole
/// one.
void writeOver(const QString& fileName, const QByteArray& state) {
  const int kHeader = 8;
  QFile file(fileName);
  if (!file.open(QIODevice::ReadWrite | QIODevice::Unbuffered)) return;
  file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
  const qint64 before = file.size();
  if (posix_fallocate(file.handle(), 0, state.size()) != 0) {
    file.resize(before);
    return;
  }
  if (writeAt(&file, 0, QByteArray(kHeader, 0)) && writeAt(&file, kHeader, state.mid(kHeader)) &&
      file.resize(state.size()))
    writeAt(&file, 0, state.left(kHeader));
}

}  // namespace

QList<CookieJar*> CookieJar::s_living;

CookieJar::CookieJar(const QString& fileName, QObject* parent)
    : NetworkCookieJar(parent), m_saveTimer(new QTimer(this)), m_fileName(fileName) {
  m_saveTimer->setSingleShot(true);
  connect(m_saveTimer, SIGNAL(timeout()), this, SLOT(save()));
  load();
  s_living.append(this);
}

void CookieJar::endAll() {
  for (CookieJar* jar : s_living) {
    jar->endSession();
    jar->save();
  }
}

CookieJar::~CookieJar() {
  s_living.removeOne(this);
  endSession();
  save();
}

void CookieJar::load() {
  QFile file(m_fileName);
  if (!QFileInfo(file).isFile()) return;  // opening a pipe would block
  if (file.open(QIODevice::ReadOnly)) restoreState(file.read(kLargestFile));
}

void CookieJar::save() {
  m_firstChange.invalidate();
  const QFileInfo info(m_fileName);
  if (info.exists() && !info.isFile()) return;  // don't replace a device
  const QByteArray state = saveState();
  QSaveFile file(m_fileName);
  if (file.open(QIODevice::WriteOnly)) {
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    // commit() alone accepts a file of which only a part could be written.
    if (file.write(state) == state.size() && file.flush()) file.commit();
  }
  const bool replaceable =
      file.error() != QFileDevice::OpenError && file.error() != QFileDevice::RenameError;
  if (!replaceable && info.exists()) writeOver(m_fileName, state);
}

bool CookieJar::setCookiesFromUrl(const QList<QNetworkCookie>& cookies, const QUrl& url) {
  const bool stored = NetworkCookieJar::setCookiesFromUrl(cookies, url);
  scheduleSave();
  return stored;
}

void CookieJar::clear() {
  setAllCookies({});
  scheduleSave();
}

void CookieJar::scheduleSave() {
  if (!m_firstChange.isValid()) m_firstChange.start();
  m_saveTimer->stop();
  if (m_firstChange.hasExpired(kSaveAtOnceAfterMilliseconds))
    save();
  else
    m_saveTimer->start(kSaveAfterMilliseconds);
}

}  // namespace LARKA
