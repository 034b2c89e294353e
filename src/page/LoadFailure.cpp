// SPDX-License-Identifier: MIT
#include "page/LoadFailure.h"

#include <QNetworkReply>

namespace LARKA {

namespace {

// What QtWebKit calls the load of a type that it doesn't show. The other number of its own is for
// ports that aren't meant for the web.
const int kInterruptedByPolicy = 102;

const char kEndlessRedirection[] = "Redirection limit reached";
const int kFirstErrorStatus = 400;

LoadFailure::Kind kindOf(int networkError) {
  switch (networkError) {
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::ProxyNotFoundError:
      return LoadFailure::kNameNotFound;
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::ProxyConnectionRefusedError:
      return LoadFailure::kRefused;
    case QNetworkReply::TimeoutError:
    case QNetworkReply::ProxyTimeoutError:
      return LoadFailure::kTimedOut;
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::ProxyConnectionClosedError:
      return LoadFailure::kConnectionLost;
    case QNetworkReply::SslHandshakeFailedError:
      return LoadFailure::kCertificate;
    case QNetworkReply::OperationCanceledError:
      return LoadFailure::kAborted;
    case QNetworkReply::ContentAccessDenied:
    case QNetworkReply::ContentOperationNotPermittedError:
    case QNetworkReply::AuthenticationRequiredError:
    case QNetworkReply::ProxyAuthenticationRequiredError:
      return LoadFailure::kBlocked;
    case QNetworkReply::ContentNotFoundError:
      return LoadFailure::kNotThere;
    default:
      return LoadFailure::kOther;
  }
}

/// Makes Qt's sentence the end of another one.
QString asEnd(QString text) {
  if (text.size() > 1 && text[1].isLower()) text[0] = text[0].toLower();
  return text;
}

}  // namespace

// For a page that breaks off QtWebKit passes the status of its beginning, which was no error.
LoadFailure failureOf(const QWebPage::ErrorPageExtensionOption& option) {
  LoadFailure failure{LoadFailure::kOther, option.url, 0, asEnd(option.errorString)};
  if (option.domain == QWebPage::QtNetwork) {
    failure.kind = kindOf(option.error);
  } else if (option.domain == QWebPage::WebKit && option.error == kInterruptedByPolicy) {
    failure.kind = LoadFailure::kNotShown;
    failure.text = QStringLiteral("it is nothing that can be shown as a page");
  } else if (option.domain == QWebPage::WebKit) {
    failure.kind = LoadFailure::kBlocked;
    failure.text = QStringLiteral("QtWebKit loads nothing from this port");
  } else if (option.errorString == QLatin1String(kEndlessRedirection)) {
    // QtWebKit makes up a status for it.
  } else if (option.error < kFirstErrorStatus) {
    failure = {LoadFailure::kConnectionLost, option.url, 0,
               QStringLiteral("the connection was lost")};
  } else {
    failure = {
        LoadFailure::kStatus, option.url, option.error,
        QStringLiteral("the server answered %1 %2").arg(option.error).arg(option.errorString)};
  }
  return failure;
}

}  // namespace LARKA
