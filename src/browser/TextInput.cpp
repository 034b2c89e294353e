// SPDX-License-Identifier: MIT
#include "browser/TextInput.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QPointer>
#include <QRegion>
#include <QWebFrame>
#include <QWebPage>
#include <utility>

#include "browser/LarkaBrowserQt.h"
#include "elements/ElementScript.h"
#include "host/HostEvents.h"
#include "input/PageInput.h"
#include "input/TypedText.h"
#include "larka/KeyCodes.h"
#include "paint/larkawebview.h"

namespace LARKA {

namespace {

// Not QWebPage::SelectAll: pages forbid that with a listener to selectstart.
const char kSelectControl[] = "try { this.select() } catch (error) {}";
const char kSelectRich[] = "try { getSelection().selectAllChildren(this) } catch (error) {}";

}  // namespace

// QtWebKit is on the stack when it emits these signals.
TextInput::TextInput(LarkaBrowser* browser, QWebPage* page)
    : QObject(page), m_browser(browser), m_page(page) {
  connect(page, &QWebPage::microFocusChanged, this, &TextInput::lookSoon);
  connect(page, &QWebPage::contentsChanged, this, &TextInput::lookSoon);
  connect(page, &QWebPage::loadFinished, this, &TextInput::lookSoon);
}

FocusedField TextInput::read() const {
  return readFocusedField(m_page, m_browser->webView()->imageScale());
}

TextField TextInput::field() const {
  const WebKitCall call(m_browser->pageUse());
  return read().field;
}

// Writing.

// While the page is on the stack it is not destroyed, whatever a listener does. But the browser may
// be shut down.
bool TextInput::hasScene() const { return m_browser->webView() && m_browser->webView()->scene(); }

FocusedField TextInput::readWritable() const {
  if (!hasScene()) return FocusedField();
  FocusedField found = read();
  return found.field.readOnly || !hasScene() ? FocusedField() : found;
}

bool TextInput::hasFocus(const QWebElement& element) const {
  if (!hasScene() || element.webFrame() != m_page->currentFrame()) return false;
  if (element.hasFocus()) return true;
  QWebElement focused = focusedElement(m_page);
  while (!focused.isNull() && focused != element) focused = focused.parent();
  return !focused.isNull();
}

bool TextInput::insert(const QString& text) {
  const WebKitCall call(m_browser->pageUse());
  const FocusedField found = readWritable();
  if (found.element.isNull()) return false;
  type(found.element, text);
  return true;
}

bool TextInput::replace(const QString& text) {
  const WebKitCall call(m_browser->pageUse());
  const FocusedField found = readWritable();
  if (found.element.isNull()) return false;
  runOn(found.element, QLatin1String(found.field.kind == TEXT_RICH ? kSelectRich : kSelectControl));
  if (!hasFocus(found.element)) return true;
  if (keysOf(text).isEmpty())
    pressBackspace();
  else
    type(found.element, text);
  return true;
}

// Ends at the beginning of the text: a host that wants all of it deleted may ask for any number.
bool TextInput::erase(int times) {
  const WebKitCall call(m_browser->pageUse());
  const FocusedField found = readWritable();
  if (found.element.isNull()) return false;
  const int length = QString::fromStdString(found.field.text).size();
  for (int i = 0; i < times && hasFocus(found.element); ++i) {
    const FieldGlimpse before = i > length ? glimpseOf(m_page, found.element) : FieldGlimpse();
    pressBackspace();
    if (i > length && glimpseOf(m_page, found.element) == before) break;
  }
  return true;
}

// What is left of a text is not typed into another element.
void TextInput::type(const QWebElement& element, const QString& text) {
  for (const QString& key : keysOf(text)) {
    if (!hasFocus(element)) return;
    press(key);
  }
}

void TextInput::press(const QString& key) {
  send(typingEvent(QEvent::KeyPress, key));
  send(typingEvent(QEvent::KeyRelease, key));
}

void TextInput::pressBackspace() {
  send(PageInput::key(QEvent::KeyPress, KEYCODE_BACKSPACE, 0));
  send(PageInput::key(QEvent::KeyRelease, KEYCODE_BACKSPACE, 0));
}

void TextInput::send(QEvent&& event) {
  if (hasScene()) m_page->event(&event);
}

// Reporting.

void TextInput::reportAll() {
  m_reported = TextField();
  lookSoon();
}

bool TextInput::isHeard() const { return !m_browser->extraListeners().isEmpty(); }

// Only a paint changes the place without a signal, and only one there the text.
void TextInput::painted(const QRegion& parts) {
  if (m_element.isNull() || m_looksSoon || !isHeard()) return;
  const WebKitCall call(m_browser->pageUse());
  const Rectangle& area = m_reported.area;
  FieldGlimpse glimpse = glimpseOf(m_page, m_element);
  glimpse.text = parts.intersects(QRect(area.x, area.y, area.width, area.height))
                     ? glimpseOfText(m_page, m_element)
                     : m_glimpse.text;
  if (glimpse != m_glimpse) lookSoon();
}

void TextInput::lookSoon() {
  if (m_looksSoon || !isHeard()) return;
  m_looksSoon = true;
  postHostEvent(this, m_browser->pageUse(), [this] {
    m_looksSoon = false;
    look();
  });
}

// While script waits for a listener this waits, too: reading runs script.
void TextInput::look() {
  if (!isHeard() || !m_browser->webView()) return;
  if (!webKitUse().isIdle()) {
    m_looksSoon = true;
    return whenIdle(webKitUse(), this, [this] {
      m_looksSoon = false;
      lookSoon();
    });
  }
  const QPointer<TextInput> self(this);
  FocusedField found;
  {
    const WebKitCall call(m_browser->pageUse());
    found = read();
    m_element = found.element;
    m_glimpse = glimpseOf(m_page, m_element);
    m_glimpse.text = glimpseOfText(m_page, m_element);
  }
  if (!self || isSame(found.field, m_reported)) return;
  m_reported = found.field;
  LarkaBrowser* browser = m_browser;
  browser->extraListeners().notify(
      [&](IExtraCallbacks* listener) { listener->OnTextField(browser, found.field); });
}

}  // namespace LARKA
