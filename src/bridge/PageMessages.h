// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>
#include <QUrl>

class QWebFrame;

namespace LARKA {

/// The messages between page script and the host: `window.larkaHost` in the frames of one browser.
class PageMessages : public QObject {
  Q_OBJECT

 public:
  using QObject::QObject;

  /// Gives a new document its `larkaHost`, before any script of its own runs.
  void publish(QWebFrame* frame);

  /// Calls `larkaHost.onmessage` of a frame, which may remove the frame. An exception goes to the
  /// console. Returns false if the text is no JSON, or if nothing listens.
  static bool send(QWebFrame* frame, const QString& json);

 signals:
  /// Script sent a message. `address` is that of its document.
  void received(const QString& json, const QUrl& address);
};

}  // namespace LARKA
