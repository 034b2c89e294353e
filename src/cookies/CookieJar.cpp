// SPDX-License-Identifier: MIT
#include "cookies/CookieJar.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <QFileInfo>
#include <QNetworkCookie>
#include <QSaveFile>
#include <QTemporaryFile>
#include <QTimer>
#include <cerrno>

namespace LARKA {

namespace {

const int kSaveAfterMilliseconds = 2000;
const qint64 kSaveAtOnceAfterMilliseconds = 10000;

// How long to wait for another store that is saving. Saving takes a few milliseconds.
const int kWaitMilliseconds = 5;
const int kLastWaitMilliseconds = 1000;

// No more than this is read. A full store of the largest cookies takes 12 MiB.
const qint64 kLargestFile = 32 << 20;

const int kHeader = 8;

/// Keeps other stores from writing the file, from before this one reads it until it has written it.
///
/// It is a flock() on the cookie file: the kernel drops it when a process dies, and it separates
/// two stores of one process as well. There is no second file that would stay behind, or that could
/// not be made in a folder that is not writable. Saving replaces the locked file by a new one that
/// nobody has locked. So a lock counts only if the locked file still has that name: nobody else can
/// replace it then.
class FileLock {
 public:
  FileLock(const QString& fileName, int waitMilliseconds);
  ~FileLock() {
    if (m_file < 0) return;
    flock(m_file, LOCK_UN);  // a child process that was just forked has the file open, too
    close(m_file);
  }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  /// Returns whether another store still has the lock. A file that can't be locked counts as free.
  bool isTaken() const { return m_isTaken; }

 private:
  bool isAt(const QByteArray& path) const;

  int m_file = -1;
  bool m_isTaken = false;
};

/// Makes the file if there is none, so that it can be locked. With no more than a header it is a
/// cookie file that was cut off, from which nobody concludes that cookies were removed.
void makeMissing(const QString& fileName) {
  if (QFileInfo::exists(fileName)) return;
  QTemporaryFile file(fileName + QLatin1String(".XXXXXX"));
  const QByteArray header = NetworkCookieJar().saveState().left(kHeader);
  if (file.open() && file.write(header) == header.size() && file.flush())
    file.setAutoRemove(!file.rename(fileName));  // does not replace a file that is there by now
}

// It counts the attempts: a clock would stand still in tests.
FileLock::FileLock(const QString& fileName, int waitMilliseconds) {
  const QByteArray path = QFile::encodeName(fileName);
  for (int waited = 0; waited <= waitMilliseconds; ++waited) {
    if (waited > 0) usleep(1000);
    makeMissing(fileName);
    m_file = open(path.constData(), O_RDWR | O_CLOEXEC);
    if (m_file < 0) return;
    m_isTaken = flock(m_file, LOCK_EX | LOCK_NB) == 0 ? !isAt(path) : errno == EWOULDBLOCK;
    if (!m_isTaken) return;
    close(m_file);
    m_file = -1;
  }
}

bool FileLock::isAt(const QByteArray& path) const {
  struct stat locked = {}, named = {};
  return fstat(m_file, &locked) == 0 && stat(path.constData(), &named) == 0 &&
         locked.st_dev == named.st_dev && locked.st_ino == named.st_ino;
}

bool writeAt(QFile* file, qint64 offset, const QByteArray& bytes) {
  return file->seek(offset) && file->write(bytes) == bytes.size() && fsync(file->handle()) == 0;
}

/// Overwrites a file that can't be replaced by a new one; leaves it alone if there is no room. The
/// header stays blank until the rest is written, so that a half-written file never reads as a whole
/// one. Returns false if it is not the new one now.
bool writeOver(const QString& fileName, const QByteArray& state) {
  QFile file(fileName);
  if (!file.open(QIODevice::ReadWrite | QIODevice::Unbuffered)) return false;
  file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
  const qint64 before = file.size();
  if (posix_fallocate(file.handle(), 0, state.size()) != 0) {
    file.resize(before);
    return false;
  }
  return writeAt(&file, 0, QByteArray(kHeader, 0)) && writeAt(&file, kHeader, state.mid(kHeader)) &&
         file.resize(state.size()) && writeAt(&file, 0, state.left(kHeader));
}

/// Writes the file, if need be over the old one. Returns false if it is not the new one now.
bool writeFile(const QString& fileName, const QByteArray& state) {
  QSaveFile file(fileName);
  if (file.open(QIODevice::WriteOnly)) {
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    // commit() alone accepts a file of which only a part could be written.
    if (file.write(state) == state.size() && file.flush() && file.commit()) return true;
  }
  const bool replaceable =
      file.error() != QFileDevice::OpenError && file.error() != QFileDevice::RenameError;
  return !replaceable && QFileInfo::exists(fileName) && writeOver(fileName, state);
}

QByteArray contentsOf(const QString& fileName) {
  QFile file(fileName);
  if (!QFileInfo(file).isFile()) return {};  // opening a pipe would block
  return file.open(QIODevice::ReadOnly) ? file.read(kLargestFile) : QByteArray();
}

/// Returns whether the file can be replaced. A device is never.
bool isReplaceable(const QString& fileName) {
  const QFileInfo info(fileName);
  return !fileName.isEmpty() && (info.isFile() || !info.exists());
}

}  // namespace

QList<CookieJar*> CookieJar::s_living;

CookieJar::CookieJar(const QString& fileName, QObject* parent, Reading reading)
    : NetworkCookieJar(parent), m_saveTimer(new QTimer(this)), m_fileName(fileName) {
  m_saveTimer->setSingleShot(true);
  connect(m_saveTimer, SIGNAL(timeout()), this, SLOT(save()));
  if (reading == kAtOnce) load();
  s_living.append(this);
}

void CookieJar::endAll() {
  for (CookieJar* jar : s_living) jar->end();
}

CookieJar::~CookieJar() {
  s_living.removeOne(this);
  end();
}

void CookieJar::load() {
  m_isRead = true;
  const QByteArray state = contentsOf(m_fileName);
  if (restoreState(state)) setSaved(state);
}

void CookieJar::loadWhenUsed() {
  if (!m_isRead) load();
}

void CookieJar::save() {
  loadWhenUsed();
  m_firstChange.invalidate();
  if (!isReplaceable(m_fileName)) return;
  {
    const FileLock lock(m_fileName, kWaitMilliseconds);
    if (lock.isTaken()) return scheduleSave();
    mergeAndWrite();
  }
  CookieKeeper::forget(m_fileName);
}

void CookieJar::end() {
  if (!m_isRead) return;
  CookieKeeper::forget(m_fileName);  // which would save what is of this session
  endSession();
  if (!isReplaceable(m_fileName)) return;
  // Without the lock another store's last changes could be lost; without saving, those of this
  // store certainly would.
  const FileLock lock(m_fileName, kLastWaitMilliseconds);
  mergeAndWrite();
}

bool CookieJar::addToFile(const QString& fileName,
                          const std::vector<CookieKeeper::Change>& changes) {
  if (!isReplaceable(fileName)) return true;
  const FileLock lock(fileName, kWaitMilliseconds);
  if (lock.isTaken()) return false;
  NetworkCookieJar jar;
  jar.restoreState(contentsOf(fileName));
  for (const CookieKeeper::Change& change : changes)
    jar.setCookiesFromUrl(change.cookies, change.url);
  writeFile(fileName, jar.saveState());
  return true;
}

void CookieJar::mergeAndWrite() {
  merge(contentsOf(m_fileName));
  const QByteArray state = saveState();
  if (writeFile(m_fileName, state)) setSaved(state);
}

QList<QNetworkCookie> CookieJar::cookiesForUrl(const QUrl& url) const {
  const_cast<CookieJar*>(this)->loadWhenUsed();
  return NetworkCookieJar::cookiesForUrl(url);
}

bool CookieJar::setCookiesFromUrl(const QList<QNetworkCookie>& cookies, const QUrl& url) {
  loadWhenUsed();
  const bool stored = NetworkCookieJar::setCookiesFromUrl(cookies, url);
  CookieKeeper::add(m_fileName, {cookies, url});
  scheduleSave();
  return stored;
}

// What the file holds now is removed with the next save. What others write until then stays.
void CookieJar::clear() {
  m_isRead = true;
  CookieKeeper::forget(m_fileName);
  setAllCookies({});
  setSaved(contentsOf(m_fileName));
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
