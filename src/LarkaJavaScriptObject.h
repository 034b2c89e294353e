// LarkaJavaScriptObject.h: the object "larka" of page script.
#pragma once

#include <QObject>
#include <QString>

class QEvent;

/// What page script sees as `window.larka`: hands texts to the browser, which hands them to the
/// host. Its slots are the methods that script can call.
class LarkaJavaScriptObject : public QObject {
  Q_OBJECT

 public:
  explicit LarkaJavaScriptObject(QObject* parent) : QObject(parent) {}

  /// Refuses a deferred deletion: script could ask for one, and the object serves every page.
  bool event(QEvent* event) override;

 signals:
  void executeInLarka(const QString& script);
  QString executeMediaAction(const QString& script);

 public slots:
  void exec(const QString& script);

  /// Returns what the signal's slot answered; a null string without one.
  QString exec2(const QString& script);
};
