// SPDX-License-Identifier: MIT
#pragma once

#include <QNetworkCookie>
#include <QString>
#include <QUrl>
#include <vector>

namespace LARKA {

/// Saves cookies from a thread of its own if their store doesn't get to it in time: a page's script
/// may keep the store from it for as long as it likes. It is for engine processes, which may be
/// ended then; all other processes have none.
class CookieKeeper {
 public:
  /// What a response or a script has set.
  struct Change {
    QList<QNetworkCookie> cookies;
    QUrl url;
  };

  /// Has this process keep cookies from now on.
  static void use();

  /// Keeps a change until the store has saved the file, at most for 1.5 s. Then it is saved here.
  static void add(const QString& fileName, const Change& change);

  /// Forgets the changes to a file, which the store has saved or removed.
  static void forget(const QString& fileName);
};

}  // namespace LARKA
