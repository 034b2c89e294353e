// BrowserManagerQt.h: what all browsers share.
#pragma once

#include <QObject>

class QApplication;
class QGraphicsScene;
class QGraphicsView;
class QNetworkCookieJar;
class QNetworkDiskCache;

namespace LARKA {

/// What all browsers share: the cookie jar and the disk cache (children of this object), and the
/// hidden scene with the view that paints it.
class BrowserManagerPrivate : public QObject {
  Q_OBJECT

 public:
  BrowserManagerPrivate();
  ~BrowserManagerPrivate() override;

  /// Builds the hidden scene and view, once.
  void createView();

  QNetworkCookieJar* cookieJar = nullptr;
  QNetworkDiskCache* diskCache = nullptr;
  QApplication* application = nullptr;
  bool applicationCreatedHere = false;
  bool viewCreated = false;
  QGraphicsView* view = nullptr;
  QGraphicsScene* scene = nullptr;

 private:
  void spareTheView();
  void releaseLivingBrowsers();
};

}  // namespace LARKA
