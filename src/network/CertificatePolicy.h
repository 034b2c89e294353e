// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QPair>
#include <QSet>
#include <QSslCertificate>
#include <QSslError>
#include <QString>
#include <QUrl>

namespace LARKA {

/// A certificate that is not valid, and why.
struct BadCertificate {
  QByteArray digest;  // empty if there was none
  int errors = 0;     // of CertificateError

  /// For people, such as "its certificate is self-signed".
  QString text() const;
};

/// Decides for one browser with which servers there may be a secure connection.
class CertificatePolicy {
 public:
  /// Without checks, which is the default, every certificate will do.
  void setChecks(bool checks) { m_checks = checks; }
  bool checks() const { return m_checks; }

  /// Returns whether a server with errors may be talked to. Remembers it if not.
  bool allows(const QUrl& url, const QSslCertificate& certificate, const QList<QSslError>& errors);

  /// Returns the certificate that this server was refused for the last time.
  BadCertificate refused(const QUrl& url) const { return m_refused.value(serverOf(url)); }
  void forgetRefused(const QUrl& url) { m_refused.remove(serverOf(url)); }

  /// Allows a server to have this certificate.
  void accept(const QUrl& url, const QByteArray& digest);

 private:
  using Server = QPair<QString, int>;
  static Server serverOf(const QUrl& url);

  bool m_checks = false;
  QMap<Server, BadCertificate> m_refused;
  QSet<QPair<Server, QByteArray>> m_accepted;
};

}  // namespace LARKA
