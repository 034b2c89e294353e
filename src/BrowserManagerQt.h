// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <memory>

#include "host/Destruction.h"

class QApplication;
class QGraphicsScene;
class QGraphicsView;
class QNetworkAccessManager;
class QNetworkDiskCache;

namespace LARKA {

class CookieJar;
class RemoteManager;

/// Owns what all browsers share: the cookie jar and the disk cache (its children), and the hidden
/// scene with the view that paints it.
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
  std::shared_ptr<RemoteManager> remote;  // does everything if QtWebKit runs in another process

 protected:
  bool event(QEvent* event) override {
    return postponesDestruction(event, this, StackUse()) || QObject::event(event);
  }

 private:
  void spareTheView();
  void releaseLivingBrowsers();

  QList<QPointer<QNetworkAccessManager>> jarUsers;
};

}  // namespace LARKA
