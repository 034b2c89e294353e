// SPDX-License-Identifier: MIT
#include "paint/FocusRing.h"

#include <QWebElement>
#include <QWebFrame>
#include <QWebPage>

#include "elements/WebElement.h"
#include "host/HostEvents.h"
#include "paint/UserStyleSheet.h"

namespace LARKA {

namespace {

const int kLookAgainMilliseconds = 20;

// QtWebKit draws a ridge in a lighter and a darker shade of its colour, each half as wide on every
// side: #d4d400 and #2c2c00 for this one. Against any grey one of them has a contrast of 3:1 or
// more. Seen from three metres, three pixels of a 40-inch television cover 2.4 minutes of arc; a
// good eye resolves one.
//
// As a user style sheet this overrules QtWebKit's own ring, a line of dots, and any outline of the
// page's overrules it. The exceptions are QtWebKit's, except for read-only fields: it shows no
// focus there, and somebody with a remote control would lose it.
const char kRing[] =
    ":focus { outline: 6px ridge #808000 }"
    "html:focus, body:focus, applet:focus, embed:focus, iframe:focus, object:focus"
    "  { outline: none }";

// QtWebKit draws the outline of an inline element around its lines of text only. Pictures and
// blocks in it then get a ring of their own. If there is no text, that is the only one.
const char kAlsoAroundContent[] = ":focus > * { outline: inherit }";
const char kOnlyAroundContent[] =
    ":focus { outline-width: 0 } :focus > * { outline: 6px ridge #808000 }";

bool sticksOut(const QWebElement& child, const QWebElement& lines) {
  const QString display = computedStyle(child, "display");
  if (display.startsWith(QLatin1String("inline")))
    return !lines.geometry().contains(child.geometry());
  return display != QLatin1String("none");
}

QByteArray rulesFor(const QWebElement& focused) {
  const bool isPagesOwn = computedStyle(focused, "outline-style") != QLatin1String("ridge");
  if (isPagesOwn || computedStyle(focused, "display") != QLatin1String("inline")) return kRing;
  for (QWebElement child = focused.firstChild(); !child.isNull(); child = child.nextSibling()) {
    if (!sticksOut(child, focused)) continue;
    const bool hasText = !focused.toPlainText().trimmed().isEmpty();
    return QByteArray(kRing) + (hasText ? kAlsoAroundContent : kOnlyAroundContent);
  }
  return kRing;
}

}  // namespace

FocusRing::FocusRing(UserStyleSheet* style, QWebPage* page)
    : QObject(page), m_style(style), m_page(page) {
  m_style->set(UserStyleSheet::FocusRules, kRing);
  m_following.setSingleShot(true);
  connect(&m_following, &QTimer::timeout, this, &FocusRing::follow);
  // Emitted whenever the focus moves, while QtWebKit is on the stack.
  connect(page, &QWebPage::microFocusChanged, &m_following, [this] { m_following.start(0); });
}

void FocusRing::follow() {
  if (!webKitUse().isIdle()) return m_following.start(kLookAgainMilliseconds);
  const QWebElement focused = m_page->currentFrame()->findFirstElement(QStringLiteral(":focus"));
  if (!focused.isNull()) m_style->set(UserStyleSheet::FocusRules, rulesFor(focused));
}

}  // namespace LARKA
