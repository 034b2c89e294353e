// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslError>
#include <QUrl>

#include "network/CertificatePolicy.h"

namespace LARKA {

/// Makes the requests of one browser: limits what a reply may buffer, ignores certificate errors
/// unless they are to be checked, and logs failures. The browser's page owns it.
class NetworkAccessManager : public QNetworkAccessManager {
  Q_OBJECT

 public:
  explicit NetworkAccessManager(QObject* parent);

  bool hasRunningReplies() const;

  /// Has requests fail, from now on, if the server's certificate is not valid.
  void setCertificateChecks(bool check);
  CertificatePolicy& certificates() { return m_certificates; }

  // The order of the signals and slots is part of the contract.
 signals:
  void creatingRequest(const QUrl& url);
  void onRequestError();  // kept for the contract; never emitted
  void onSslErrors();

 public slots:
  void onSslErrors(QNetworkReply* reply, const QList<QSslError>& errors);
  void onReplyError(QNetworkReply::NetworkError code);

  // Kept for the contract; nothing here is used. Connect them to a reply to watch it.
  void onReplyProgress(qint64 bytesReceived, qint64 bytesTotal);
  void onReplyDone();

 protected:
  QNetworkReply* createRequest(Operation op, const QNetworkRequest& request,
                               QIODevice* outgoingData) override;

 private:
  CertificatePolicy m_certificates;
};

}  // namespace LARKA
