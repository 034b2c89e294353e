// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>

class QWebFrame;

namespace LARKA {

/// Passes strings from page script to the browser, which passes them to the host. Its slots are the
/// methods that script can call.
class LarkaJavaScriptObject : public QObject {
  Q_OBJECT

 public:
  explicit LarkaJavaScriptObject(QObject* parent) : QObject(parent) {}

 signals:
  void executeInLarka(const QString& script);
  QString executeMediaAction(const QString& script);

 public slots:
  void exec(const QString& script);

  /// Returns the answer of the slot that the signal is connected to; a null string without one.
  QString exec2(const QString& script);
};

/// The same object as script sees it: `window.larka`, with its two methods and nothing else. One
/// browser's frames share it.
///
/// QtWebKit crashes when script calls a method of a published object that it has kept after the
/// frame was removed. So script gets functions of the frame itself, which look the methods up at
/// each call. In a removed frame the lookup fails with a ReferenceError.
///
/// QtWebKit offers script everything that an object has. Through the signals a page or frame could
/// listen to the commands of others, and through `destroyed` to the end of the object, when no page
/// is left to run script in.
class PublishedLarkaObject : public LarkaJavaScriptObject {
 public:
  using LarkaJavaScriptObject::LarkaJavaScriptObject;

  /// Publishes the object to a frame's script as "larka".
  void publish(QWebFrame* frame);

  const QMetaObject* metaObject() const override;
  int qt_metacall(QMetaObject::Call call, int id, void** arguments) override;
};

}  // namespace LARKA
