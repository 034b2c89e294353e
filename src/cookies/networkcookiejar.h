// SPDX-License-Identifier: MIT
#pragma once

#include <QDataStream>
#include <QNetworkCookieJar>
#include <QStringList>

namespace LARKA {

class NetworkCookieJarPrivate;

/// A store of cookies by domain, with the rules for which cookies a response may set and which a
/// request carries. docs/cookie-file.md describes the saved state and the limits.
class NetworkCookieJar : public QNetworkCookieJar {
  Q_OBJECT

 public:
  explicit NetworkCookieJar(QObject* parent = nullptr);
  ~NetworkCookieJar() override;

  /// Returns the cookies for a request, longest paths first. Removes the expired ones that it finds
  /// on the way.
  QList<QNetworkCookie> cookiesForUrl(const QUrl& url) const override;

  /// Stores the cookies of a response and makes room for them. Returns true if it stored any.
  bool setCookiesFromUrl(const QList<QNetworkCookie>& cookies, const QUrl& url) override;

  /// Removes session cookies and expired cookies.
  void endSession();

  QByteArray saveState() const;

  /// Replaces the store with the contents of `state`, as far as these can be read. Returns false
  /// and changes nothing if `state` has another format or version.
  bool restoreState(const QByteArray& state);

  /// Replaces the built-in list of top-level labels under which domains are registered at the third
  /// level, such as "uk".
  void setSecondLevelDomains(const QStringList& labels);

 protected:
  QList<QNetworkCookie> allCookies() const;
  void setAllCookies(const QList<QNetworkCookie>& cookies);

  /// Notes that the file of this store holds `state`. What the store sets or removes from now on
  /// counts as changed.
  void setSaved(const QByteArray& state);

  /// Makes the changes by which `state`, which the file now holds, differs from what it held
  /// before, except to cookies that this store has changed as well. Session cookies of `state` stay
  /// in the file but are given to no request. Like setSaved(), ignores what is no saved state.
  void merge(const QByteArray& state);

 private:
  Q_DISABLE_COPY(NetworkCookieJar)

  NetworkCookieJarPrivate* d;
};

}  // namespace LARKA

/// Write and read a cookie as a byte array with the text of a Set-Cookie header; name, value and
/// path are percent-encoded if such a header can't carry them. Reading leaves `cookie` unchanged if
/// the text can't be parsed.
QDataStream& operator<<(QDataStream& stream, const QNetworkCookie& cookie);
QDataStream& operator>>(QDataStream& stream, QNetworkCookie& cookie);
