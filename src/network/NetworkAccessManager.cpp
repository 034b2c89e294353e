// SPDX-License-Identifier: MIT
#include "network/NetworkAccessManager.h"

#include <QSslConfiguration>
#include <QTime>
#include <algorithm>

#include "host/Diagnostics.h"
#include "storage/PageStorage.h"

namespace LARKA {

namespace {

const qint64 kReadBufferBytes = 20971520;  // 20 MiB

const char kUserAgent[] = "User-Agent";

const char kIsRefused[] = "larkaIsRefused";

/// The server's own certificate. That of an error may be one of its issuers.
QSslCertificate certificateOf(const QNetworkReply& reply, const QList<QSslError>& errors) {
  const QSslCertificate own = reply.sslConfiguration().peerCertificate();
  return own.isNull() && !errors.isEmpty() ? errors.first().certificate() : own;
}

QByteArray currentTime() {
  return QTime::currentTime().toString(QStringLiteral("hh:mm:ss")).toLatin1();
}

/// The address for diagnostics, which are Latin-1 here on the standard error stream.
QByteArray addressOf(const QNetworkReply& reply) {
  const QString address = reply.url().toString();
  return diagnosticsAreHandled() ? address.toUtf8() : address.toLatin1();
}

}  // namespace

NetworkAccessManager::NetworkAccessManager(QObject* parent) : QNetworkAccessManager(parent) {
  connect(this, SIGNAL(sslErrors(QNetworkReply*, QList<QSslError>)), this,
          SLOT(onSslErrors(QNetworkReply*, QList<QSslError>)));
}

QNetworkReply* NetworkAccessManager::createRequest(Operation op, const QNetworkRequest& request,
                                                   QIODevice* outgoingData) {
  QNetworkRequest sent(request);
  // QtWebKit always sets the header. Qt replaces an empty one by its own, but sends a blank as an
  // empty one.
  if (sent.rawHeader(kUserAgent).isEmpty()) sent.setRawHeader(kUserAgent, " ");
  QNetworkReply* reply = QNetworkAccessManager::createRequest(op, sent, outgoingData);
  reply->setReadBufferSize(kReadBufferBytes);
  connect(reply, SIGNAL(errorOccurred(QNetworkReply::NetworkError)), this,
          SLOT(onReplyError(QNetworkReply::NetworkError)));
  PageStorage::watch(reply);
  emit creatingRequest(request.url());
  return reply;
}

bool NetworkAccessManager::hasRunningReplies() const {
  const QList<QNetworkReply*> replies = findChildren<QNetworkReply*>();
  return std::any_of(replies.begin(), replies.end(),
                     [](const QNetworkReply* reply) { return reply->isRunning(); });
}

// What comes through a connection that is open already isn't checked again.
void NetworkAccessManager::setCertificateChecks(bool check) {
  if (check && !m_certificates.checks()) clearConnectionCache();
  m_certificates.setChecks(check);
}

void NetworkAccessManager::onSslErrors(QNetworkReply* reply, const QList<QSslError>& errors) {
  const bool isAllowed = m_certificates.allows(reply->url(), certificateOf(*reply, errors), errors);
  reply->setProperty(kIsRefused, !isAllowed);
  QByteArray texts;
  for (const QSslError& error : errors) {
    if (isAllowed) reply->ignoreSslErrors(errors);
    texts += QByteArray::number(error.error()) + ' ' + error.errorString().toUtf8() + ", ";
  }
  diagnose("received SSL errors when loading '%s' (%s)\n",
           reply->url().toString().toUtf8().constData(), texts.constData());
  emit onSslErrors();
}

void NetworkAccessManager::onReplyError(QNetworkReply::NetworkError code) {
  const QNetworkReply* reply = qobject_cast<QNetworkReply*>(sender());
  if (!reply) return;
  const bool isOfHandshake = code == QNetworkReply::SslHandshakeFailedError;
  if (isOfHandshake && !reply->property(kIsRefused).toBool())
    m_certificates.forgetRefused(reply->url());
  diagnose("Error %d loading url '%s'\n", static_cast<int>(code), addressOf(*reply).constData());
}

// Kept for the contract; nothing here is used.

void NetworkAccessManager::onReplyProgress(qint64 bytesReceived, qint64 bytesTotal) {
  const QNetworkReply* reply = qobject_cast<QNetworkReply*>(sender());
  if (!reply) return;
  diagnose("load progress %s (bytes loaded/total) %llu/%llu (at %s)\n",
           addressOf(*reply).constData(), static_cast<unsigned long long>(bytesReceived),
           static_cast<unsigned long long>(bytesTotal), currentTime().constData());
}

void NetworkAccessManager::onReplyDone() {
  const QNetworkReply* reply = qobject_cast<QNetworkReply*>(sender());
  if (!reply) return;
  diagnose("finished loading %s (at %s)\n", addressOf(*reply).constData(),
           currentTime().constData());
}

}  // namespace LARKA
