#include "CookieJar.h"

#include <QFile>
#include <QFileInfo>
#include <QNetworkCookie>
#include <QSaveFile>
#include <QTimer>

namespace LARKA {

namespace {

const int kSaveAfterMilliseconds = 2000;
const qint64 kSaveAtOnceAfterMilliseconds = 10000;

// Some 150,000 cookies; what is beyond counts as cut off.
const qint64 kLargestFile = 32 << 20;

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
  if (!QFileInfo(file).isFile()) return;  // a pipe would be waited for
  if (file.open(QIODevice::ReadOnly)) restoreState(file.read(kLargestFile));
}

void CookieJar::save() {
  m_firstChange.invalidate();
  const QFileInfo info(m_fileName);
  if (info.exists() && !info.isFile()) return;  // a device would be replaced by a file
  QSaveFile file(m_fileName);
  if (!file.open(QIODevice::WriteOnly)) return;
  file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
  const QByteArray state = saveState();
  // commit() alone takes a file that could only be written in part.
  if (file.write(state) == state.size() && file.flush()) file.commit();
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
