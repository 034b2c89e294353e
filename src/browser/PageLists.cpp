// SPDX-License-Identifier: MIT
#include "browser/PageLists.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QRegularExpression>
#include <QUuid>
#include <QWebFrame>
#include <QWebPage>
#include <QWheelEvent>
#include <utility>

#include "elements/SelectPopup.h"
#include "elements/WebElement.h"
#include "host/HostEvents.h"
#include "host/HostText.h"
#include "paint/larkawebview.h"

namespace LARKA {

namespace {

const int kWatchMilliseconds = 100;
const int kWheelStep = 120 / 3;  // eighths of a degree for a line
const QList<int> kOpeningKeys = {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space};

// QtWebKit doesn't say whether script has refused a space: it accepts all of them. So the event is
// kept and looked at afterwards.
const char kKeepEvent[] =
    "(function(window, name) {"
    "  var kept = { listen: function(event) { kept.event = event; } };"
    "  Object.defineProperty(window, name, { configurable: true, value: kept });"
    "  window.addEventListener('keydown', kept.listen, true);"
    "})(window, '%1'); void 0";
const char kIsRefused[] =
    "(function(window, name) {"
    "  var kept = window[name];"
    "  delete window[name];"
    "  window.removeEventListener('keydown', kept.listen, true);"
    "  return !kept.event || kept.event.defaultPrevented;"
    "})(window, '%1')";

/// Sends a key to a page where `target` has the focus. Returns whether script has refused it.
bool scriptRefuses(QKeyEvent* key, QWebElement target, QWebPage* page) {
  static const QString name = QUuid::createUuid().toString(QUuid::Id128);
  const QPointer<QWebPage> alive(page);
  target.evaluateJavaScript(QString(QLatin1String(kKeepEvent)).arg(name));
  page->event(key);
  return !alive || target.evaluateJavaScript(QString(QLatin1String(kIsRefused)).arg(name)).toBool();
}

/// Reads "rgb(0, 0, 0)" and "rgba(0, 0, 0, 0.5)"; transparent for anything else.
QColor colourOf(const QString& text) {
  static const QRegularExpression form(
      QStringLiteral("^rgba?\\((\\d+), (\\d+), (\\d+)(?:, ([\\d.]+))?\\)$"));
  const QRegularExpressionMatch match = form.match(text);
  if (!match.hasMatch()) return Qt::transparent;
  QColor colour(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt());
  if (match.lastCapturedIndex() == 4) colour.setAlphaF(match.captured(4).toDouble());
  return colour;
}

QColor over(const QColor& colour, const QColor& ground) {
  const auto mix = [alpha = colour.alphaF()](int top, int bottom) {
    return qRound(top * alpha + bottom * (1 - alpha));
  };
  return QColor(mix(colour.red(), ground.red()), mix(colour.green(), ground.green()),
                mix(colour.blue(), ground.blue()));
}

QColor backgroundOf(const QWebElement& element) {
  return colourOf(computedStyle(element, "background-color"));
}

/// Returns the colour that an element has on the page, as far as its background and those of its
/// ancestors are plain colours.
QColor groundOf(const QWebElement& element) {
  if (element.isNull()) return Qt::white;
  const QColor own = backgroundOf(element);
  return own.alpha() == 255 ? own : over(own, groundOf(element.parent()));
}

QFont scaled(QFont font, double factor) {
  if (font.pixelSize() > 0) font.setPixelSize(std::max(1, qRound(font.pixelSize() * factor)));
  return font;
}

}  // namespace

PageLists::PageLists(LarkaWebView* view, const StackUse& use, ILarkaBrowser* browser,
                     Listeners<IExtraCallbacks>* listeners)
    : Overlay(view->page()),
      m_view(view),
      m_use(use),
      m_browser(browser),
      m_popup(new SelectPopup(view->page(), use, this)),
      m_question(this, listeners) {
  connect(m_popup, &SelectPopup::opened, this, &PageLists::open);
  connect(m_popup, &SelectPopup::closedByPage, this, &PageLists::close);
  connect(&m_watch, &QTimer::timeout, this, &PageLists::watch);
  m_watch.setInterval(kWatchMilliseconds);
  m_clock.start();
}

// QtWebKit is opening it.
void PageLists::open() {
  endQuestion();
  m_list = SelectList(m_popup->items());
  m_painter = ListPainter(&m_list);
  m_font = scaled(m_popup->font(), 1 / m_view->zoomFactor());
  m_watch.start();
  postHostEvent(this, m_use, [this, id = m_question.begin()] { announce(id); });
}

void PageLists::announce(int id) {
  if (m_question.id() != id) return;
  if (m_list.size() == 0 || !arrange()) return close();
  const ListRequest list = request();
  const auto ask = [&](IExtraCallbacks* listener) {
    return listener->OnListOpened(m_browser, list);
  };
  if (m_question.offer(ask) && !m_question.isTaken()) show();
}

ListRequest PageLists::request() const {
  ListRequest request;
  request.id = m_question.id();
  request.control = toHost(m_view->toImage(m_style.control));
  for (const ListItem& item : m_list.items()) {
    if (item.kind == ListItem::Group) continue;
    ListEntry entry;
    entry.text = toHost(item.text);
    entry.group = toHost(item.group);
    entry.enabled = item.isChoosable();
    entry.selected = item.selected;
    entry.separator = item.kind == ListItem::Separator;
    request.entries.push_back(entry);
  }
  return request;
}

void PageLists::show() {
  m_isShown = true;
  m_turned = 0;
  m_view->setOverlay(this);
  redraw();
}

/// Finds the place of the list. Returns false if nothing of the element is seen.
bool PageLists::arrange() {
  const QWebElement select = m_popup->element();
  if (!m_popup->isOpen() || !WebElement::isInPage(select)) return false;
  WebElement::currentGeometry(select);  // lays the page out
  ListStyle style;
  style.view = m_view->shownRect();
  style.control = WebElement(select).paintedRect() & style.view;
  style.font = scaled(m_font, m_view->zoomFactor());
  style.ground = groundOf(select);
  style.plain = over(backgroundOf(select), Qt::white);
  style.rightToLeft = computedStyle(select, "direction") == QLatin1String("rtl");
  if (style.control.isEmpty()) return false;
  if (style.font != m_style.font || m_painter.bounds().isEmpty()) m_painter.measure(style.font);
  m_style = style;
  m_painter.arrange(style);
  return true;
}

void PageLists::redraw() {
  const QRect now = m_isShown ? m_painter.bounds() : QRect();
  m_view->AddRect(m_drawn | now);
  m_drawn = now;
}

void PageLists::follow() {
  if (!m_isShown) return;
  if (!arrange()) return close();
  if (m_painter.bounds() != m_drawn) redraw();
}

// QtWebKit closes the list of an element that is removed, not displayed, or loses the focus, but
// not of one that is disabled or invisible. It doesn't say when entries change.
void PageLists::watch() {
  if (!webKitUse().isIdle()) return;
  const WebKitCall call(m_use);
  if (m_question.isForsaken() || !isUsable() || !arrange()) return close();
  if (!m_isShown && !m_question.isTaken()) return;
  if (!refresh() && m_isShown && m_painter.bounds() != m_drawn) redraw();
}

bool PageLists::isUsable() const {
  QWebElement select = m_popup->element();
  if (computedStyle(select, "visibility") != QLatin1String("visible")) return false;
  const QString isDisabled = QStringLiteral("this.webkitMatchesSelector(':disabled')");
  return !select.evaluateJavaScript(isDisabled).toBool();
}

/// Shows the entries as they are now, or offers them again. Returns false if they are as before.
bool PageLists::refresh() {
  std::vector<ListItem> items = m_popup->items();
  if (items == m_list.items()) return false;
  if (m_question.isTaken()) {
    open();
    return true;
  }
  m_list.setItems(std::move(items));
  m_painter.measure(m_style.font);
  if (m_list.size() == 0 || !arrange())
    close();
  else
    redraw();
  return true;
}

void PageLists::disappear() {
  m_watch.stop();
  if (!std::exchange(m_isShown, false)) return;
  m_view->setOverlay(nullptr);
  redraw();
}

void PageLists::endQuestion() {
  disappear();
  m_question.end([browser = m_browser](IExtraCallbacks* listener, int id) {
    listener->OnListClosed(browser, id);
  });
}

void PageLists::close() {
  endQuestion();
  m_popup->close();
}

// Script that hears of it may do anything.
void PageLists::choose(int index) {
  disappear();
  m_question.end();
  m_popup->choose(index);
}

void PageLists::chooseHighlighted() {
  const int line = m_list.highlighted();
  if (line >= 0)
    choose(m_list.items()[static_cast<size_t>(line)].index);
  else
    close();
}

bool PageLists::answer(int id, int index) {
  if (id == 0 || id != m_question.id()) return false;
  const WebKitCall call(m_use);
  if (index == -1) {
    m_question.end();
    disappear();
    m_popup->close();
    return true;
  }
  if (index < 0 || refresh()) return false;
  for (const ListItem& item : m_list.items()) {
    if (item.kind == ListItem::Group || index-- > 0) continue;
    if (!item.isChoosable()) return false;
    choose(item.index);
    return true;
  }
  return false;
}

// Keys and the pointer.

bool PageLists::takes(QEvent* event) {
  switch (event->type()) {
    case QEvent::KeyPress:
      return takesKey(*static_cast<QKeyEvent*>(event));
    case QEvent::KeyRelease:
      return m_heldKeys.remove(static_cast<QKeyEvent*>(event)->key());
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
      return takesPress(*static_cast<QMouseEvent*>(event));
    case QEvent::MouseMove:
      return takesMove(*static_cast<QMouseEvent*>(event));
    case QEvent::MouseButtonRelease:
      return takesRelease(*static_cast<QMouseEvent*>(event));
    case QEvent::Wheel:
      return takesWheel(*static_cast<QWheelEvent*>(event));
    default:
      return false;
  }
}

// A press outside closes the list and does nothing else.
bool PageLists::takesPress(const QMouseEvent& press) {
  m_hasPress = m_isShown;
  if (m_isShown && !m_painter.contains(press.pos())) close();
  return m_hasPress;
}

bool PageLists::takesMove(const QMouseEvent& move) {
  if (!m_isShown) return false;
  const int before = m_list.highlighted();
  m_list.highlight(m_painter.lineAt(move.pos()));
  if (m_list.highlighted() != before) redraw();
  return true;
}

// The page gets the end of a press that opened the list.
bool PageLists::takesRelease(const QMouseEvent& release) {
  if (!std::exchange(m_hasPress, false)) return false;
  const int line = m_isShown ? m_painter.lineAt(release.pos()) : -1;
  if (line < 0) return true;
  m_list.highlight(line);
  if (m_list.highlighted() == line) chooseHighlighted();
  return true;
}

bool PageLists::takesWheel(const QWheelEvent& wheel) {
  const QPoint point = wheel.position().toPoint();
  if (!m_isShown || !m_painter.contains(point)) return false;
  m_turned += wheel.angleDelta().y();
  const int lines = m_turned / kWheelStep;
  m_turned -= lines * kWheelStep;
  m_list.scroll(-lines);
  m_list.highlight(m_painter.lineAt(point));
  redraw();
  return true;
}

// Tab chooses, and then the page moves the focus.
bool PageLists::takesKey(const QKeyEvent& key) {
  m_heldKeys.remove(key.key());
  if (!m_isShown) return opens(key);
  const QPointer<PageLists> self(this);
  if (key.key() == Qt::Key_Tab) {
    chooseHighlighted();
    return !self;
  }
  m_heldKeys.insert(key.key());
  switch (m_list.press(key, m_clock.elapsed())) {
    case SelectList::Chosen:
      chooseHighlighted();
      break;
    case SelectList::Closed:
      close();
      break;
    default:
      redraw();
  }
  return true;
}

// QtWebKit opens a list with the pointer only. Script gets a plain key and can refuse it; without a
// text it does nothing else.
bool PageLists::opens(const QKeyEvent& key) {
  const Qt::KeyboardModifiers modifiers = key.modifiers() & ~Qt::KeypadModifier;
  const bool isArrow = key.key() == Qt::Key_Down || key.key() == Qt::Key_Up;
  const bool isAltArrow = isArrow && modifiers == Qt::AltModifier;
  const bool isPlain = modifiers == Qt::NoModifier && kOpeningKeys.contains(key.key());
  if (!isAltArrow && !isPlain) return false;
  QWebPage* page = m_view->page();
  const QWebElement select = SelectPopup::focusedIn(page);
  if (select.isNull()) return false;
  if (isPlain) {
    const QPointer<PageLists> self(this);
    QKeyEvent textless(key.type(), key.key(), key.modifiers(), QStringLiteral(""));
    const bool isRefused = scriptRefuses(&textless, select, page);
    if (!self || isRefused || SelectPopup::focusedIn(page) != select) return true;
  }
  SelectPopup::open(select);
  return true;
}

}  // namespace LARKA
