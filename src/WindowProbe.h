// WindowProbe.h: learns where a window that script opens would go.
#pragma once

#include <QUrl>
#include <QWebPage>
#include <functional>

namespace LARKA {

/// The page of a window that script asks for, until its address is known. The engine tells the
/// address to nobody else, and to the page as its first navigation, before the script goes on. The
/// page then deletes itself, and to the script it is as if there had never been one.
///
/// An address that is script itself ("javascript:") is neither told nor run; the page then lives
/// until the event loop turns.
class WindowProbe : public QWebPage {
  Q_OBJECT

 public:
  /// Calls `found` once with the address, which is empty where there is none, and is gone.
  explicit WindowProbe(std::function<void(const QUrl&)> found);

 protected:
  bool acceptNavigationRequest(QWebFrame* frame, const QNetworkRequest& request,
                               NavigationType type) override;

 private:
  void finish(const QUrl& url);

  std::function<void(const QUrl&)> m_found;
};

}  // namespace LARKA
