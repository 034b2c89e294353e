// SPDX-License-Identifier: MIT
#include "bridge/PageMessages.h"

#include <QPointer>
#include <QWebElement>
#include <QWebFrame>

#include "bridge/ScriptText.h"

namespace LARKA {

namespace {

// Script gets functions of its frame, as in PublishedLarkaObject: QtWebKit crashes when script
// calls a method of an object that was published to a frame that is gone. So the method is looked
// up last, when no script of the page comes between. The address is that of the document that the
// function belongs to, as it is before any script can have changed that: no page can speak for
// another one, not even with a function that it has kept of a frame. (QWebFrame::url() is empty for
// child frames.)
const char kPublication[] =
    "(function(port, stringify, String, address) {"
    "  window.larkaHost = {"
    "    postMessage: function(value) {"
    "      var json = stringify(value);"
    "      json = json === void 0 ? 'null' : String(json);"
    "      port.post(json, address);"
    "    },"
    "    onmessage: null"
    "  };"
    "})(window.larkaHost, JSON.stringify, String, document.URL); void 0";

// As the listener of an event: its exception goes to the console, and the script goes on.
const char kDelivery[] =
    "(function(json) {"
    "  var host = window.larkaHost, listener = host && host.onmessage, value, event, target;"
    "  if (typeof listener != 'function') return false;"
    "  try { value = JSON.parse(json); } catch (error) { return false; }"
    "  target = document.createElement('a');"
    "  target.addEventListener('message', function() { listener.call(host, value); });"
    "  event = document.createEvent('Event');"
    "  event.initEvent('message', false, false);"
    "  target.dispatchEvent(event);"
    "  return true;"
    "})";

/// What the functions of one frame call.
class MessagePort : public QObject {
  Q_OBJECT

 public:
  using QObject::QObject;

  void belongTo(PageMessages* messages) { m_messages = messages; }

  Q_INVOKABLE void post(const QString& json, const QString& address) {
    if (m_messages) emit m_messages->received(json, QUrl(address));
  }

 private:
  QPointer<PageMessages> m_messages;
};

}  // namespace

void PageMessages::publish(QWebFrame* frame) {
  auto* port = frame->findChild<MessagePort*>(QString(), Qt::FindDirectChildrenOnly);
  if (!port) port = new MessagePort(frame);
  port->belongTo(this);
  frame->addToJavaScriptWindowObject(QStringLiteral("larkaHost"), port);
  frame->evaluateJavaScript(QLatin1String(kPublication));
}

bool PageMessages::send(QWebFrame* frame, const QString& json) {
  const QString code =
      QLatin1String(kDelivery) + QLatin1Char('(') + quoted(json) + QLatin1Char(')');
  QWebElement document = frame->documentElement();
  return (document.isNull() ? frame->evaluateJavaScript(code) : document.evaluateJavaScript(code))
      .toBool();
}

}  // namespace LARKA

#include "PageMessages.moc"
