// BrowserManagerQt.h: what all browsers share.
#pragma once

#include <QList>
#include <QObject>
#include <QPointer>

#include "host/HostCalls.h"

class QApplication;
class QGraphicsScene;
class QGraphicsView;
class QNetworkAccessManager;
class QNetworkDiskCache;

namespace LARKA {

class CookieJar;

/// What all browsers share: the cookie jar and the disk cache (children of this object), and the
/// hidden scene with the view that paints it.
class BrowserManagerPrivate : public QObject {
  Q_OBJECT

 public:
  BrowserManagerPrivate();
  ~BrowserManagerPrivate() override;

  /// Builds the hidden scene and view, once.
  void createView();

  /// Gives a browser's requests the shared jar, and keeps the jar.
  void shareCookieJar(QNetworkAccessManager* manager);

  CookieJar* cookieJar = nullptr;
  QNetworkDiskCache* diskCache = nullptr;
  QApplication* application = nullptr;
  bool applicationCreatedHere = false;
  bool viewCreated = false;
  QGraphicsView* view = nullptr;
  QGraphicsScene* scene = nullptr;

 protected:
  bool event(QEvent* event) override { return hostCalls.postpones(event) || QObject::event(event); }

 private:
  void spareTheView();
  void releaseLivingBrowsers();

  HostCalls hostCalls{this};
  QList<QPointer<QNetworkAccessManager>> jarUsers;
};

}  // namespace LARKA
