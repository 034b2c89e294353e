// SPDX-License-Identifier: MIT
#include "browser/PageColours.h"

#include <QRegularExpression>
#include <QWebFrame>
#include <QWebPage>
#include <utility>

#include "elements/ElementScript.h"
#include "elements/WebElement.h"
#include "host/HostEvents.h"
#include "host/HostText.h"
#include "paint/larkawebview.h"

namespace LARKA {

namespace {

const int kWatchMilliseconds = 100;

bool isDisabled(const QWebElement& input) {
  return valueOn(input, QStringLiteral("this.webkitMatchesSelector(':disabled')")).toBool();
}

/// Returns the colour inputs of a frame and its child frames that have a colour.
QList<QWebElement> inputsWith(const QString& colour, QWebFrame* frame) {
  QList<QWebElement> found;
  for (const QWebElement& input : frame->findAllElements(QStringLiteral("input[type=color]")))
    if (valueOn(input, QStringLiteral("this.value")).toString() == colour) found += input;
  for (QWebFrame* child : frame->childFrames()) found += inputsWith(colour, child);
  return found;
}

}  // namespace

PageColours::PageColours(LarkaWebView* view, const StackUse& use, ILarkaBrowser* browser,
                         Listeners<IExtraCallbacks>* listeners)
    : QObject(view->page()),
      m_view(view),
      m_use(use),
      m_browser(browser),
      m_question(this, listeners) {
  connect(&m_watch, &QTimer::timeout, this, &PageColours::watch);
  m_watch.setInterval(kWatchMilliseconds);
}

void PageColours::ask(const QColor& present) {
  end();
  const QByteArray colour = present.name().toLatin1();
  m_input = find(QString::fromLatin1(colour));
  if (m_input.isNull()) return;
  // Not in the event loop of QtWebKit's dialog.
  whenIdle(webKitUse(), this, [this, colour, id = m_question.begin()] {
    postHostEvent(this, m_use, [=] { announce(id, colour); });
  });
}

// QtWebKit doesn't say which element asks. Script may have activated one without the focus; if it
// isn't the only one of its colour, the question is refused.
QWebElement PageColours::find(const QString& present) const {
  const QList<QWebElement> inputs = inputsWith(present, m_view->page()->mainFrame());
  const QWebElement focused =
      m_view->page()->currentFrame()->findFirstElement(QStringLiteral("input[type=color]:focus"));
  if (inputs.contains(focused)) return focused;
  return inputs.size() == 1 ? inputs.first() : QWebElement();
}

void PageColours::announce(int id, const QByteArray& present) {
  if (m_question.id() != id) return;
  if (!WebElement::isInPage(m_input)) return m_question.end();
  WebElement::currentGeometry(m_input);  // lays the page out
  const Rectangle control = toHost(m_view->toImage(WebElement(m_input).paintedRect()));
  const bool isOpen = m_question.offer([&](IExtraCallbacks* listener) {
    return listener->OnColorOpened(m_browser, id, control, present.constData());
  });
  if (!isOpen) return;
  if (m_question.isTaken())
    m_watch.start();
  else
    m_question.end();
}

void PageColours::watch() {
  if (!webKitUse().isIdle()) return;
  if (m_question.isForsaken() || !WebElement::isInPage(m_input) || isDisabled(m_input)) end();
}

void PageColours::end() {
  m_watch.stop();
  m_question.end([browser = m_browser](IExtraCallbacks* listener, int id) {
    listener->OnColorClosed(browser, id);
  });
}

// As for a choice of the viewer's, script hears of it unless the colour is the same.
bool PageColours::answer(int id, const char* colour) {
  static const QRegularExpression form(QStringLiteral("\\A#[0-9A-Fa-f]{6}\\z"));
  if (id == 0 || id != m_question.id()) return false;
  const QString chosen = QString::fromLatin1(colour).toLower();
  if (colour && !form.match(chosen).hasMatch()) return false;
  m_watch.stop();
  m_question.end();
  const QWebElement input = WebElement::isInPage(m_input) ? m_input : QWebElement();
  if (!colour) return true;
  if (input.isNull() || isDisabled(input)) return false;
  const QString choose = QStringLiteral(
      "(function(input, colour, document) {"
      "  if (input.value === colour) return;"
      "  input.value = colour;"
      "  ['input', 'change'].forEach(function(name) {"
      "    var event = document.createEvent('Event');"
      "    event.initEvent(name, true, false);"
      "    input.dispatchEvent(event);"
      "  });"
      "})(this, '%1', document)");
  const WebKitCall call(m_use);
  runOn(input, choose.arg(chosen));
  return true;
}

}  // namespace LARKA
