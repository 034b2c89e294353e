// SPDX-License-Identifier: MIT
#include "network/CertificatePolicy.h"

#include <QCryptographicHash>
#include <QStringList>

#include "larka/extras.h"

namespace LARKA {

namespace {

// A page may ask any number of servers.
const int kMostRemembered = 100;

CertificateError errorOf(QSslError::SslError error) {
  switch (error) {
    case QSslError::SelfSignedCertificate:
      return CERTIFICATE_SELF_SIGNED;
    case QSslError::SelfSignedCertificateInChain:
    case QSslError::UnableToGetIssuerCertificate:
    case QSslError::UnableToGetLocalIssuerCertificate:
    case QSslError::UnableToVerifyFirstCertificate:
    case QSslError::CertificateUntrusted:
    case QSslError::InvalidCaCertificate:
      return CERTIFICATE_UNKNOWN_ISSUER;
    case QSslError::CertificateExpired:
      return CERTIFICATE_EXPIRED;
    case QSslError::CertificateNotYetValid:
      return CERTIFICATE_NOT_YET_VALID;
    case QSslError::HostNameMismatch:
      return CERTIFICATE_WRONG_HOST;
    case QSslError::CertificateRevoked:
    case QSslError::CertificateBlacklisted:
      return CERTIFICATE_REVOKED;
    default:
      return CERTIFICATE_OTHER;
  }
}

}  // namespace

QString BadCertificate::text() const {
  static const struct {
    CertificateError error;
    const char* text;
  } kTexts[] = {
      {CERTIFICATE_WRONG_HOST, "is for another host"},
      {CERTIFICATE_EXPIRED, "has expired"},
      {CERTIFICATE_NOT_YET_VALID, "is not valid yet"},
      {CERTIFICATE_REVOKED, "was revoked"},
      {CERTIFICATE_SELF_SIGNED, "is self-signed"},
      {CERTIFICATE_UNKNOWN_ISSUER, "has an unknown issuer"},
      {CERTIFICATE_OTHER, "is not valid"},
  };
  QStringList found;
  for (const auto& each : kTexts)
    if (errors & each.error) found += QLatin1String(each.text);
  const QString last = found.takeLast();
  const QString others =
      found.isEmpty() ? QString() : found.join(QLatin1String(", ")) + QLatin1String(" and ");
  return QLatin1String("its certificate ") + others + last;
}

bool CertificatePolicy::allows(const QUrl& url, const QSslCertificate& certificate,
                               const QList<QSslError>& errors) {
  if (!m_checks) return true;
  const Server server = serverOf(url);
  BadCertificate bad;
  if (!certificate.isNull()) bad.digest = certificate.digest(QCryptographicHash::Sha256);
  if (m_accepted.contains({server, bad.digest})) return true;
  for (const QSslError& error : errors) bad.errors |= errorOf(error.error());
  if (m_refused.size() >= kMostRemembered) m_refused.clear();
  m_refused.insert(server, bad);
  return false;
}

void CertificatePolicy::accept(const QUrl& url, const QByteArray& digest) {
  m_accepted.insert({serverOf(url), digest});
}

CertificatePolicy::Server CertificatePolicy::serverOf(const QUrl& url) {
  const int kHttpsPort = 443;
  return {url.host(), url.port(kHttpsPort)};
}

}  // namespace LARKA
