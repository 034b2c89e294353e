// LarkaJavaScriptObject.h: the object "larka" of page script.
#pragma once

#include <QObject>
#include <QString>

class QWebFrame;

namespace LARKA {

/// What page script sees as `window.larka`: hands texts to the browser, which hands them to the
/// host. Its slots are the methods that script can call.
class LarkaJavaScriptObject : public QObject {
  Q_OBJECT

 public:
  explicit LarkaJavaScriptObject(QObject* parent) : QObject(parent) {}

 signals:
  void executeInLarka(const QString& script);
  QString executeMediaAction(const QString& script);

 public slots:
  void exec(const QString& script);

  /// Returns what the signal's slot answered; a null string without one.
  QString exec2(const QString& script);
};

/// The object as it is published: to script it has its two methods and nothing else.
///
/// A method that script keeps would crash QtWebKit when it is called after its frame has been
/// removed. So script gets functions of the frame's own that look the methods up at each call: of a
/// removed frame there are none to be found, which is a ReferenceError.
///
/// The engine offers script all that an object has. With the signals one page, or one frame, could
/// listen to the commands of others, and with `destroyed` to the object's end, when there is no
/// page any more to run script in.
class PublishedLarkaObject : public LarkaJavaScriptObject {
 public:
  using LarkaJavaScriptObject::LarkaJavaScriptObject;

  /// Makes this the object "larka" of a frame's script.
  void publish(QWebFrame* frame);

  const QMetaObject* metaObject() const override;
  int qt_metacall(QMetaObject::Call call, int id, void** arguments) override;
};

}  // namespace LARKA
