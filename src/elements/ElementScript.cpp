// SPDX-License-Identifier: MIT
#include "elements/ElementScript.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QWebElement>

#include "host/HostEvents.h"

namespace LARKA {

namespace {

// Turns objects other than dates into empty strings. Compares with undefined instead of using
// typeof, because `typeof document.all` is "undefined", too.
const char kWithoutObjects[] =
    "(function(value) {"
    "  switch (typeof value) { case 'string': case 'number': case 'boolean': return value; }"
    "  if (value === null || value === void 0) return value;"
    "  try { return new Date(Date.prototype.getTime.call(value)); } catch (noDate) { return ''; }"
    "})";

QString quoted(const QString& text) {
  const QJsonDocument list(QJsonArray{text});
  return QString::fromUtf8(list.toJson(QJsonDocument::Compact)) + QLatin1String("[0]");
}

// Returns false if the page's security policy forbids eval(), or if the script declares something,
// which would not outlive the eval().
bool canBeEvaluated(QWebElement element, const QString& script) {
  static const QRegularExpression declaration(QStringLiteral("\\b(let|const|class)\\b|use strict"));
  if (script.contains(declaration)) return false;
  const QString probe = QStringLiteral("try { eval('1') === 1 } catch (forbidden) { false }");
  return element.evaluateJavaScript(probe).toBool();
}

}  // namespace

void runOn(QWebElement element, const QString& statement) {
  const WebKitCall call;
  element.evaluateJavaScript(statement + QLatin1String("; void 0"));
}

QVariant valueOn(QWebElement element, const QString& expression) {
  const WebKitCall call;
  return element.evaluateJavaScript(QLatin1String(kWithoutObjects) + QLatin1Char('(') + expression +
                                    QLatin1Char(')'));
}

QString resultOn(QWebElement element, const QString& script) {
  const WebKitCall call;
  const QVariant result =
      canBeEvaluated(element, script)
          ? valueOn(element, QLatin1String("eval(") + quoted(script) + QLatin1Char(')'))
          : element.evaluateJavaScript(script);
  return result.toString();
}

}  // namespace LARKA
