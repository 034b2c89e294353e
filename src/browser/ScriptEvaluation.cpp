// SPDX-License-Identifier: MIT
#include "browser/ScriptEvaluation.h"

#include <QString>
#include <QVariant>
#include <QWebElement>
#include <QWebFrame>
#include <QWebPage>

#include "bridge/ScriptText.h"
#include "host/HostText.h"

namespace LARKA {

namespace {

// Gives [JSON] or [message, line, stack, URL of the line]. What a page may have replaced, and what
// an exception may do when it is read, happens inside a try. Nothing but text and numbers comes
// out: QtWebKit would convert an object with all that can be reached from it.
const char kEvaluation[] =
    "(function(source) {"
    "  function text(value) { return typeof value == 'string' ? value : ''; }"
    "  var stringify, value, json, thrown, message = '', line = 0, stack = '', url = '';"
    "  try {"
    "    stringify = JSON.stringify;"
    "    value = (0, eval)(source);"
    "  } catch (error) {"
    "    thrown = [error];"
    "    try { line = +error.line || 0; stack = text(error.stack); url = text(error.sourceURL); }"
    "    catch (unreadable) {}"
    "  }"
    "  if (!thrown) {"
    "    try { json = stringify(value); return [text(json) || 'null']; }"
    "    catch (error) { thrown = [error]; }"
    "  }"
    "  try { message = '' + thrown[0]; } catch (unreadable) {}"
    "  return [message, line, stack, url];"
    "})";

// Finds the line of a script that can't be parsed; 0 if it can. For eval() it is the line that
// calls it. Nothing of the script runs, and the host's page doesn't see the error.
class SyntaxCheck : public QWebPage {
 public:
  int lineOfError(const QString& script) {
    mainFrame()->evaluateJavaScript(QLatin1String("throw 0;") + script);
    return m_line;
  }

 protected:
  void javaScriptConsoleMessage(const QString& message, int line, const QString&) override {
    if (message.startsWith(QLatin1String("SyntaxError"))) m_line = line;
  }

 private:
  int m_line = 0;
};

// Without what evaluates the script.
QString callsOfScript(const QString& stack) {
  const QLatin1String script("eval code");
  const int end = stack.lastIndexOf(script);
  if (end < 0) return stack.contains(QLatin1String("global code")) ? QString() : stack;
  return stack.left(end + script.size());
}

}  // namespace

// QtWebKit doesn't keep a frame that its script removes, but an element it does.
ScriptResult evaluate(QWebFrame* frame, const QString& script) {
  const QString code =
      QLatin1String(kEvaluation) + QLatin1Char('(') + quoted(script) + QLatin1Char(')');
  QWebElement document = frame->documentElement();
  const QVariantList outcome =
      (document.isNull() ? frame->evaluateJavaScript(code) : document.evaluateJavaScript(code))
          .toList();
  ScriptResult result;
  result.ok = outcome.size() == 1;
  if (result.ok) {
    result.json = toHost(withoutHalfPairs(outcome[0].toString()));
    return result;
  }
  result.message = toHost(outcome.value(0).toString());
  if (result.message.empty())
    result.message = outcome.isEmpty() ? "The script was ended" : "An exception without text";
  const QString stack = outcome.value(2).toString();
  result.stack = toHost(callsOfScript(stack));
  const bool isOfScript = !result.stack.empty() && outcome.value(3).toString().isEmpty();
  if (stack.startsWith(QLatin1String("eval@")) && result.stack.empty())
    result.line = SyntaxCheck().lineOfError(script);
  else if (isOfScript)
    result.line = outcome.value(1).toInt();
  return result;
}

QWebFrame* findFrame(const QWebFrame* frame, const QString& name) {
  for (QWebFrame* child : frame->childFrames()) {
    if (child->frameName() == name) return child;
    if (QWebFrame* deeper = findFrame(child, name)) return deeper;
  }
  return nullptr;
}

}  // namespace LARKA
