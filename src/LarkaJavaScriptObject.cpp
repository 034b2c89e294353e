#include "LarkaJavaScriptObject.h"

#include <QEvent>

bool LarkaJavaScriptObject::event(QEvent* event) {
  return event->type() == QEvent::DeferredDelete || QObject::event(event);
}

void LarkaJavaScriptObject::exec(const QString& script) { emit executeInLarka(script); }

QString LarkaJavaScriptObject::exec2(const QString& script) {
  return emit executeMediaAction(script);
}
