// NetworkAccessManager.h: the requests of one browser.
#pragma once

#include <QList>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslError>
#include <QUrl>

namespace LARKA {

/// Watches every request of one browser: bounds what a reply may buffer, ignores certificate errors
/// and logs failures to the standard error stream. Owned by the browser's page.
class NetworkAccessManager : public QNetworkAccessManager {
  Q_OBJECT

 public:
  explicit NetworkAccessManager(QObject* parent);

  bool hasRunningReplies() const;

 signals:
  void creatingRequest(const QUrl& url);
  void onRequestError();
  void onSslErrors();

 public slots:
  void onSslErrors(QNetworkReply* reply, const QList<QSslError>& errors);
  void onReplyError(QNetworkReply::NetworkError code);
  void onReplyProgress(qint64 bytesReceived, qint64 bytesTotal);
  void onReplyDone();

 protected:
  QNetworkReply* createRequest(Operation op, const QNetworkRequest& request,
                               QIODevice* outgoingData) override;
};

}  // namespace LARKA
