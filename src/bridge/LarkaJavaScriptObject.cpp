// SPDX-License-Identifier: MIT
#include "bridge/LarkaJavaScriptObject.h"

#include <QWebFrame>

namespace {

/// Describes to QtWebKit what script can call. Never created: PublishedLarkaObject::qt_metacall
/// receives the calls. Outside the namespace because script could see the class name.
class Larka {
  Q_GADGET

 public:
  Q_INVOKABLE void exec(const QString&) {}
  Q_INVOKABLE QString exec2(const QString&) { return QString(); }
};

enum Method { Exec = 0, Exec2 = 1 };  // in the order of Larka

}  // namespace

namespace LARKA {

void LarkaJavaScriptObject::exec(const QString& script) { emit executeInLarka(script); }

QString LarkaJavaScriptObject::exec2(const QString& script) {
  return emit executeMediaAction(script);
}

// Converts the argument before looking the method up: the conversion may run script that removes
// the frame.
void PublishedLarkaObject::publish(QWebFrame* frame) {
  frame->addToJavaScriptWindowObject(QStringLiteral("larka"), this);
  frame->evaluateJavaScript(
      QStringLiteral("(function(host, String) {"
                     "  function textOf(value) {"
                     "    if (value === null || value === void 0) return '';"
                     "    return typeof value == 'symbol' ? '' + value : String(value);"
                     "  }"
                     "  window.larka = {"
                     "    exec: function(value) {"
                     "      if (arguments.length == 0) return host.exec();"
                     "      var text = textOf(value); host.exec(text);"
                     "    },"
                     "    exec2: function(value) {"
                     "      if (arguments.length == 0) return host.exec2();"
                     "      var text = textOf(value); return host.exec2(text);"
                     "    }"
                     "  };"
                     "})(window.larka, String); void 0"));
}

const QMetaObject* PublishedLarkaObject::metaObject() const { return &Larka::staticMetaObject; }

// arguments[0] points to the result.
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

}  // namespace LARKA

#include "LarkaJavaScriptObject.moc"
