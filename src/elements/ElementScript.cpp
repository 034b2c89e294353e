// SPDX-License-Identifier: MIT
#include "elements/ElementScript.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QWebElement>
#include <QWebFrame>
#include <QWebPage>

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

// Finds where the expression begins that ends a script and is its value; -1 if there is none. What
// comes before it parses by itself, and ends with its last character: in a comment to the end of
// the line, one more bracket would parse, too. Each look parses the script: of a long one it looks
// only at the first and the last statements.
const char kFindValue[] = R"js(
(function(script) {
  var space = '(\\s|//.*\\n|/\\*([^*]|\\*(?!/))*\\*/)*';
  var noValue = RegExp('^' + space + '([{;]|(function|class|let)\\b|$)');
  var newStatement = RegExp('^' + space + '(?!in\\b|instanceof\\b)[\\w$"\']');
  function parses(text) {
    try { return !!Function(text); } catch (error) { return false; }
  }
  function isValue(text) {
    return !noValue.test(text) && parses('return (' + text + '\n)') && parses(text);
  }
  function mayEnd(last, rest) { return last == ';' || (last == '\n' && newStatement.test(rest)); }
  function isWhole(before) {
    return parses(before) && !(before.endsWith(';') && parses(before + ')'));
  }
  if (isValue(script)) return 0;
  var ends = [];
  for (var i = script.length; i > 0; --i)
    if (mayEnd(script[i - 1], script.slice(i))) ends.push(i);
  var most = Math.max(100, Math.floor(1e6 / script.length));
  ends.splice(most, Math.max(0, ends.length - 2 * most));
  for (i = 0; i < ends.length; ++i) {
    var before = script.slice(0, ends[i]);
    if (isValue(script.slice(ends[i])) && isWhole(before)) return ends[i];
  }
  return -1;
})
)js";

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

// Parses in a page of its own: no policy forbids that there, and no page has replaced anything.
int beginningOfValue(const QString& script) {
  QWebPage parser;
  bool found = false;
  const int beginning = parser.mainFrame()
                            ->evaluateJavaScript(QLatin1String(kFindValue) + QLatin1Char('(') +
                                                 quoted(script) + QLatin1Char(')'))
                            .toInt(&found);
  return found ? beginning : -1;
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

// A script that may not be evaluated is run as it is, but for the expression at its end.
QString resultOn(QWebElement element, const QString& script) {
  if (element.isNull()) return QString();
  static const QRegularExpression end(QStringLiteral("[\\s;]+\\z"));
  const WebKitCall call;
  if (canBeEvaluated(element, script))
    return valueOn(element, QLatin1String("eval(") + quoted(script) + QLatin1Char(')')).toString();
  const QString statements = QString(script).remove(end);
  const int beginning = beginningOfValue(statements);
  if (beginning < 0) {
    runOn(element, script + QLatin1Char('\n'));
    return QString();
  }
  const QString code = statements.left(beginning) + QLatin1String("\n;") +
                       QLatin1String(kWithoutObjects) + QLatin1String("((") +
                       statements.mid(beginning) + QLatin1String("\n))");
  return element.evaluateJavaScript(code).toString();
}

}  // namespace LARKA
