#include "page/WindowProbe.h"

#include <QNetworkRequest>
#include <QWebFrame>
#include <utility>

namespace LARKA {

WindowProbe::WindowProbe(std::function<void(const QUrl&)> found) : m_found(std::move(found)) {
  settings()->setAttribute(QWebSettings::JavascriptEnabled, false);
  const auto nowhere = [this] { finish(QUrl()); };
  connect(mainFrame(), &QWebFrame::provisionalLoad, this, nowhere);  // of the empty address
  QMetaObject::invokeMethod(this, nowhere, Qt::QueuedConnection);
}

bool WindowProbe::acceptNavigationRequest(QWebFrame*, const QNetworkRequest& request,
                                          NavigationType) {
  finish(request.url());
  return false;
}

// The engine is prepared for a page that goes away here: it asks a page whether it still has its
// frame after each of these two notices.
void WindowProbe::finish(const QUrl& url) {
  const auto report = [found = std::move(m_found), url] { found(url); };
  delete this;
  report();
}

}  // namespace LARKA
