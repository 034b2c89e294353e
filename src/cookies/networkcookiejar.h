// networkcookiejar.h: which cookies a response may set and which a request carries.
#pragma once

#include <QDataStream>
#include <QNetworkCookieJar>
#include <QStringList>

namespace LARKA {

class NetworkCookieJarPrivate;

/// The cookies of one store, by domain, and the rules for them. It can be written into bytes and
/// restored from them; the layout and the limits are in docs/cookie-file.md.
class NetworkCookieJar : public QNetworkCookieJar {
  Q_OBJECT

 public:
  explicit NetworkCookieJar(QObject* parent = nullptr);
  ~NetworkCookieJar() override;

  /// The cookies for a request, those with longer paths first. Expired ones that it meets are
  /// removed from the store.
  QList<QNetworkCookie> cookiesForUrl(const QUrl& url) const override;

  /// Stores the cookies of a response, and makes room for them. True when at least one was stored.
  bool setCookiesFromUrl(const QList<QNetworkCookie>& cookies, const QUrl& url) override;

  /// Removes session cookies and expired ones.
  void endSession();

  QByteArray saveState() const;

  /// Replaces the store by what `state` holds, as far as it can be read. False, with the store as
  /// it was, when that is no state.
  bool restoreState(const QByteArray& state);

  /// The top-level labels under which registrations happen at the third level, such as "uk"; they
  /// replace the built-in ones.
  void setSecondLevelDomains(const QStringList& labels);

 protected:
  QList<QNetworkCookie> allCookies() const;
  void setAllCookies(const QList<QNetworkCookie>& cookies);

 private:
  Q_DISABLE_COPY(NetworkCookieJar)

  NetworkCookieJarPrivate* d;
};

}  // namespace LARKA

/// A cookie as a byte array with the text of a Set-Cookie header, percent-encoded where that can't
/// carry it as it is. Reading one that can't be parsed leaves `cookie` as it was.
QDataStream& operator<<(QDataStream& stream, const QNetworkCookie& cookie);
QDataStream& operator>>(QDataStream& stream, QNetworkCookie& cookie);
