// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QString>
#include <vector>

#include "cookies/CookieKeeper.h"
#include "cookies/networkcookiejar.h"

class QTimer;

namespace LARKA {

/// A cookie store in a file. It is read at construction and written 2 s after the last of a burst
/// of changes, about every 10 s while changes go on, and, without session cookies, at destruction.
/// Other stores, of this process or of others, may have the same file.
class CookieJar : public NetworkCookieJar {
  Q_OBJECT

 public:
  /// With `kWhenUsed` the file is read when cookies are first asked for or set, and stays as it is
  /// if that never happens.
  enum Reading { kAtOnce, kWhenUsed };

  CookieJar(const QString& fileName, QObject* parent, Reading reading = kAtOnce);
  ~CookieJar() override;

  /// Writes every store as its destructor would. For the end of a process, which may not destroy
  /// them.
  static void endAll();

  /// Makes changes to a cookie file that no store has read for that, on any thread. Returns false
  /// if another store is just writing it.
  static bool addToFile(const QString& fileName, const std::vector<CookieKeeper::Change>& changes);

  QList<QNetworkCookie> cookiesForUrl(const QUrl& url) const override;
  bool setCookiesFromUrl(const QList<QNetworkCookie>& cookies, const QUrl& url) override;

 signals:
  void changed();

 public slots:
  /// Replaces the store with the contents of the file. Does nothing if the file is missing or not a
  /// cookie file.
  void load();

  /// Takes over what other stores have changed in the file, and writes it, readable by its owner
  /// alone. If another store is about to write it, does so 2 s later. At any time it is either the
  /// old or the new file, unless it can only be overwritten: then it is not a valid cookie file
  /// until it is complete.
  void save();

  /// Removes every cookie, also those that other stores have written into the file.
  void clear();

 private:
  void loadWhenUsed();
  void mergeAndWrite();
  void end();
  void scheduleSave();

  static QList<CookieJar*> s_living;

  QElapsedTimer m_firstChange;  // since the first change after a save; invalid if none
  QTimer* m_saveTimer;
  QString m_fileName;
  bool m_isRead = false;
};

}  // namespace LARKA
