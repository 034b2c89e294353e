// CookieJar.h: cookies that outlive the process.
#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QString>

#include "cookies/networkcookiejar.h"

class QTimer;

namespace LARKA {

/// A cookie store in a file: read when it is made, written 2 s after the last of a burst of changes
/// (and about every 10 s while they go on), and once more, without session cookies, at its end.
class CookieJar : public NetworkCookieJar {
  Q_OBJECT

 public:
  CookieJar(const QString& fileName, QObject* parent);
  ~CookieJar() override;

  /// Writes every store that there is as at its end. For the end of a process, which may leave
  /// stores undestroyed.
  static void endAll();

  bool setCookiesFromUrl(const QList<QNetworkCookie>& cookies, const QUrl& url) override;

 signals:
  void changed();

 public slots:
  /// Replaces the store by what the file holds. A file that is missing or no cookie file changes
  /// nothing.
  void load();

  /// Writes the file, readable by its owner alone. At any time it is the old one or the new one,
  /// except where it can only be written over: there it is no cookie file until it is complete.
  void save();

  /// Removes every cookie.
  void clear();

 private:
  void scheduleSave();

  static QList<CookieJar*> s_living;

  QElapsedTimer m_firstChange;  // since the last save; invalid when there is none
  QTimer* m_saveTimer;
  QString m_fileName;
};

}  // namespace LARKA
