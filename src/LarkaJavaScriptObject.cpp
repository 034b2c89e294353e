#include "LarkaJavaScriptObject.h"

#include <QWebFrame>

namespace {

/// Describes what script can call. Never made: the calls go to PublishedLarkaObject::qt_metacall.
class Larka {
  Q_GADGET

 public:
  Q_INVOKABLE void exec(const QString&) {}
  Q_INVOKABLE QString exec2(const QString&) { return QString(); }
};

enum Method { Exec = 0, Exec2 = 1 };  // in the order of Larka

}  // namespace

void LarkaJavaScriptObject::exec(const QString& script) { emit executeInLarka(script); }

QString LarkaJavaScriptObject::exec2(const QString& script) {
  return emit executeMediaAction(script);
}

// The text is made before the method is looked up: making it may run script that removes the frame.
void PublishedLarkaObject::publish(QWebFrame* frame) {
  frame->addToJavaScriptWindowObject(QStringLiteral("larka"), this);
  frame->evaluateJavaScript(
      QStringLiteral("(function(host) {"
                     "  window.larka = {"
                     "    exec: function(text) { text = '' + text; host.exec(text); },"
                     "    exec2: function(text) { text = '' + text; return host.exec2(text); }"
                     "  };"
                     "})(window.larka); void 0"));
}

const QMetaObject* PublishedLarkaObject::metaObject() const { return &Larka::staticMetaObject; }

// The first argument is where the result goes.
int PublishedLarkaObject::qt_metacall(QMetaObject::Call call, int id, void** arguments) {
  if (call != QMetaObject::InvokeMetaMethod) return id;
  const auto* script = static_cast<const QString*>(arguments[1]);
  if (id == Exec) exec(*script);
  if (id == Exec2) {
    const QString answer = exec2(*script);
    if (arguments[0]) *static_cast<QString*>(arguments[0]) = answer;
  }
  return -1;
}

#include "LarkaJavaScriptObject.moc"
