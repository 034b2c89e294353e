// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <QWebPage>

namespace LARKA {

/// Why a page could not be loaded.
struct LoadFailure {
  enum Kind {  // with the numbers of LoadErrorKind
    kNone,     // it was loaded, or is being loaded
    kOther,
    kNameNotFound,
    kRefused,
    kTimedOut,
    kConnectionLost,
    kCertificate,
    kAborted,
    kBlocked,   // by a missing password or permission, or because QtWebKit blocks the port
    kNotThere,  // there is no such file
    kStatus,    // the server answered with an error instead of a page
    kNotShown,  // what came is nothing that QtWebKit shows
  };

  Kind kind = kNone;
  QUrl url;
  int httpStatus = 0;  // 0 unless the server answered with an error
  QString text;        // for people, such as "connection refused"

  // Only if the certificate is not valid.
  int certificateErrors = 0;    // of CertificateError
  QByteArray certificate = {};  // its digest
};

/// Returns the failure for which QtWebKit asks for an error page.
LoadFailure failureOf(const QWebPage::ErrorPageExtensionOption& option);

}  // namespace LARKA
