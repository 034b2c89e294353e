// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QString>

#include "cookies/networkcookiejar.h"

class QTimer;

namespace LARKA {

/// A cookie store in a file. It is read at construction and written 2 s after the last of a burst
/// of changes, about every 10 s while changes go on, and, without session cookies, at destruction.
class CookieJar : public NetworkCookieJar {
  Q_OBJECT

 public:
  CookieJar(const QString& fileName, QObject* parent);
  ~CookieJar() override;

  /// Writes every store as its destructor would. For the end of a process, which may not destroy
  /// them.
  static void endAll();

  bool setCookiesFromUrl(const QList<QNetworkCookie>& cookies, const QUrl& url) override;

 signals:
  void changed();

 public slots:
  /// Replaces the store with the contents of the file. Does nothing if the file is missing or not a
  /// cookie file.
  void load();

  /// Writes the file, readable by its owner alone. At any time it is either the old or the new
  /// file, unless it can only be overwritten: then it is not a valid cookie file until it is
  /// complete.
  void save();

  /// Removes every cookie.
  void clear();

 private:
  void scheduleSave();

  static QList<CookieJar*> s_living;

  QElapsedTimer m_firstChange;  // since the first change after a save; invalid if none
  QTimer* m_saveTimer;
  QString m_fileName;
};

}  // namespace LARKA
