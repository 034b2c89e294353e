// SPDX-License-Identifier: MIT
#include "input/FocusedField.h"

#include <QTransform>
#include <QVariant>
#include <QWebFrame>
#include <QWebPage>
#include <algorithm>
#include <tuple>

#include "elements/WebElement.h"
#include "host/HostText.h"

namespace LARKA {

namespace {

// QtWebKit's own limit, which it also gives as the maxLength of an input without one.
const int kNoMaximum = 524288;

// The page may have replaced anything that these scripts read. Nothing but text and numbers comes
// out: QtWebKit would convert an object with all that can be reached from it.

// Gives [type, text, start, end, maximum, read-only]. An element that isn't laid out has no type.
const char kReadControl[] =
    "(function(field) {"
    "  var found = ['', '', 0, 0, -1, false];"
    "  try {"
    "    if (!field.getClientRects().length) return found;"
    "    found[0] = '' + field.type;"
    "    found[5] = !!(field.readOnly || field.webkitMatchesSelector(':disabled'));"
    "    found[1] = '' + field.value;"
    "    found[4] = +field.maxLength;"
    "    found[2] = +field.selectionStart;"
    "    found[3] = +field.selectionEnd;"
    "  } catch (unreadable) {}"
    "  return found;"
    "})(this)";

// Gives [generations up to the element that can be edited as a whole, text, start, end], or nothing
// for an element that can't be edited. The text is what the viewer sees, but for the style: white
// space in the source counts as it is shown, each block begins a line, and the BR that keeps an
// empty block open is no further line.
const char kReadRich[] =
    "(function(field) {"
    "  var up = 0, text = '', start = 0, end = 0, fresh = true, pending = false, atBreak = false;"
    "  var range;"
    "  function breakLine() {"
    "    text = text.replace(/ $/, '');"
    "    start = Math.min(start, text.length);"
    "    end = Math.min(end, text.length);"
    "    text += '\\n';"
    "    fresh = true;"
    "    pending = false;"
    "  }"
    "  function mark(node, offset) {"
    "    if (node === range.startContainer && offset === range.startOffset) start = text.length;"
    "    if (node === range.endContainer && offset === range.endOffset) end = text.length;"
    "  }"
    "  function write(part, keepsSpace) {"
    "    if (!keepsSpace) part = part.replace(/[ \\t\\r\\n]+/g, ' ');"
    "    if (!keepsSpace && (fresh || pending || / $/.test(text))) part = part.replace(/^ /, '');"
    "    if (!part) return;"
    "    if (pending) breakLine();"
    "    text += part;"
    "    fresh = atBreak = false;"
    "  }"
    "  function visitText(node) {"
    "    var keeps = /^pre/.test(getComputedStyle(node.parentNode).whiteSpace), from = 0;"
    "    var stops = [node.data.length];"
    "    if (node === range.startContainer) stops.push(range.startOffset);"
    "    if (node === range.endContainer) stops.push(range.endOffset);"
    "    stops.sort(function(a, b) { return a - b; }).forEach(function(stop) {"
    "      write(node.data.slice(from, stop), keeps);"
    "      mark(node, from = stop);"
    "    });"
    "  }"
    "  function visit(node) {"
    "    if (node.nodeType == 3) return visitText(node);"
    "    if (node.nodeType != 1) return;"
    "    if (node.nodeName == 'BR') { if (pending) breakLine(); breakLine(); atBreak = true; "
    "return; }"
    "    var display = getComputedStyle(node).display, block = !/^inline/.test(display);"
    "    if (display == 'none' ||"
    "        /^(input|textarea|select|button|iframe|object|audio|video)$/i.test(node.nodeName)) "
    "return;"
    "    if (block && (pending || !fresh)) breakLine();"
    "    for (var child = node.firstChild, i = 0; child; child = child.nextSibling) {"
    "      mark(node, i++);"
    "      visit(child);"
    "    }"
    "    mark(node, i);"
    "    if (block) pending = !fresh;"
    "  }"
    "  try {"
    "    if (!field.isContentEditable) return [];"
    "    for (; field.parentElement && field.parentElement.isContentEditable; ++up)"
    "      field = field.parentElement;"
    "    range = getSelection().getRangeAt(0);"
    "    if (!field.getClientRects().length) return [];"
    "  } catch (unreadable) { return []; }"
    "  try { visit(field); } catch (unreadable) {}"
    "  if (atBreak) text = text.slice(0, -1);"
    "  return [up, text.replace(/\\u00a0/g, ' '), start, end];"
    "})(this)";

struct KindOfType {
  const char* type;
  TextKind kind;
};

// QtWebKit makes a text of each type that it doesn't know, such as "date".
const KindOfType kKinds[] = {
    {"text", TEXT_PLAIN},    {"password", TEXT_PASSWORD},
    {"number", TEXT_NUMBER}, {"email", TEXT_EMAIL},
    {"url", TEXT_ADDRESS},   {"search", TEXT_SEARCH},
    {"tel", TEXT_TELEPHONE}, {"textarea", TEXT_SEVERAL_LINES},
};

TextKind kindOf(const QString& type) {
  for (const KindOfType& each : kKinds)
    if (type == QLatin1String(each.type)) return each.kind;
  return TEXT_NONE;
}

bool isControl(const QWebElement& element) {
  const QString tag = element.tagName();
  return tag.compare(QLatin1String("input"), Qt::CaseInsensitive) == 0 ||
         tag.compare(QLatin1String("textarea"), Qt::CaseInsensitive) == 0;
}

int charactersBefore(const QString& text, int position) {
  return text.left(std::max(position, 0)).toUcs4().size();
}

void setText(TextField* field, const QString& text, int start, int end) {
  field->text = toHost(text);
  field->selectionStart = charactersBefore(text, start);
  field->selectionEnd = std::max(field->selectionStart, charactersBefore(text, end));
}

FocusedField readControl(QWebElement element) {
  const QVariantList found = element.evaluateJavaScript(QLatin1String(kReadControl)).toList();
  FocusedField result;
  result.field.kind = kindOf(found.value(0).toString());
  if (result.field.kind == TEXT_NONE) return FocusedField();
  result.element = element;
  const int maximum = found.value(4).toInt();
  const bool isLimited = maximum >= 0 && maximum < kNoMaximum && result.field.kind != TEXT_NUMBER;
  if (isLimited) result.field.maximumLength = maximum;
  result.field.readOnly = found.value(5).toBool();
  setText(&result.field, found.value(1).toString(), found.value(2).toInt(), found.value(3).toInt());
  return result;
}

FocusedField readRich(QWebElement element) {
  const QVariantList found = element.evaluateJavaScript(QLatin1String(kReadRich)).toList();
  if (found.isEmpty()) return FocusedField();
  FocusedField result;
  for (int up = found[0].toInt(); up > 0 && !element.parent().isNull(); --up)
    element = element.parent();
  result.element = element;
  result.field.kind = TEXT_RICH;
  setText(&result.field, found.value(1).toString(), found.value(2).toInt(), found.value(3).toInt());
  return result;
}

QRect inView(const QWebElement& element, QRect rect) {
  for (const QWebFrame* frame = element.webFrame(); frame; frame = frame->parentFrame())
    rect.translate(frame->geometry().topLeft() - frame->scrollPosition());
  return rect;
}

// Empty while text is selected.
QRect caretOf(const QWebPage* page) {
  return page->inputMethodQuery(Qt::ImCursorRectangle).toRect();
}

Rectangle inImage(const QRect& rect, double scale) {
  const QRect scaled = QTransform::fromScale(scale, scale).mapRect(QRectF(rect)).toAlignedRect();
  return {scaled.x(), scaled.y(), std::max(scaled.width(), 1), std::max(scaled.height(), 1)};
}

bool isSame(const Rectangle& a, const Rectangle& b) {
  return std::tie(a.x, a.y, a.width, a.height) == std::tie(b.x, b.y, b.width, b.height);
}

}  // namespace

QWebElement focusedElement(const QWebPage* page) {
  QWebFrame* frame = page->currentFrame();
  const QWebElement focused = frame->findFirstElement(QStringLiteral(":focus"));
  return focused.isNull() ? frame->findFirstElement(QStringLiteral("body")) : focused;
}

// The script comes first: what it reads may move the element.
FocusedField readFocusedField(const QWebPage* page, double scale) {
  const QWebElement element = focusedElement(page);
  if (element.isNull()) return FocusedField();
  FocusedField found = isControl(element) ? readControl(element) : readRich(element);
  if (found.element.isNull() || !WebElement::isInPage(found.element)) return FocusedField();
  const QRect area = inView(found.element, WebElement::currentGeometry(found.element));
  const QRect caret = caretOf(page);
  found.field.area = inImage(area, scale);
  found.field.caret = inImage(caret.isEmpty() ? area : caret, scale);
  return found;
}

bool FieldGlimpse::operator==(const FieldGlimpse& other) const {
  const auto all = [](const FieldGlimpse& each) {
    return std::tie(each.focused, each.area, each.caret, each.cursor, each.anchor, each.attributes,
                    each.text);
  };
  return all(*this) == all(other);
}

FieldGlimpse glimpseOf(const QWebPage* page, const QWebElement& field) {
  FieldGlimpse glimpse;
  glimpse.focused = WebElement::isInPage(field) && field.webFrame() == page->currentFrame();
  if (!glimpse.focused) return glimpse;
  glimpse.area = inView(field, field.geometry());
  glimpse.caret = caretOf(page);
  glimpse.cursor = page->inputMethodQuery(Qt::ImCursorPosition).toInt();
  glimpse.anchor = page->inputMethodQuery(Qt::ImAnchorPosition).toInt();
  for (const char* name : {"type", "readonly", "disabled", "maxlength", "contenteditable"})
    glimpse.attributes += QLatin1Char(field.hasAttribute(QLatin1String(name)) ? '=' : '-') +
                          field.attribute(QLatin1String(name));
  return glimpse;
}

QString glimpseOfText(const QWebPage* page, const QWebElement& field) {
  return isControl(field) ? page->inputMethodQuery(Qt::ImSurroundingText).toString()
                          : field.toPlainText();
}

bool isSame(const TextField& a, const TextField& b) {
  return isSame(a.area, b.area) && isSame(a.caret, b.caret) &&
         std::tie(a.kind, a.text, a.selectionStart, a.selectionEnd, a.maximumLength, a.readOnly) ==
             std::tie(b.kind, b.text, b.selectionStart, b.selectionEnd, b.maximumLength,
                      b.readOnly);
}

}  // namespace LARKA
