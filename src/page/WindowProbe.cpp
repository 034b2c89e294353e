// SPDX-License-Identifier: MIT
#include "page/WindowProbe.h"

#include <QNetworkRequest>
#include <QWebFrame>
#include <utility>

namespace LARKA {

WindowProbe::WindowProbe(std::function<void(const QUrl&)> found) : m_found(std::move(found)) {
  settings()->setAttribute(QWebSettings::JavascriptEnabled, false);
  const auto nowhere = [this] { finish(QUrl()); };
  connect(mainFrame(), &QWebFrame::provisionalLoad, this, nowhere);  // of the empty URL
  QMetaObject::invokeMethod(this, nowhere, Qt::QueuedConnection);
}

bool WindowProbe::acceptNavigationRequest(QWebFrame*, const QNetworkRequest& request,
                                          NavigationType) {
  finish(request.url());
  return false;
}

// QtWebKit survives that: after each of these two notices it checks whether the page still has its
// frame.
void WindowProbe::finish(const QUrl& url) {
  const auto report = [found = std::move(m_found), url] { found(url); };
  delete this;
  report();
}

}  // namespace LARKA
