// SPDX-License-Identifier: MIT
#include "elements/WebElement.h"

#include <QTransform>
#include <QWebFrame>
#include <QWebPage>

#include "elements/ElementScript.h"

namespace LARKA {

namespace {

bool hasPosition(const QWebElement& element, const char* position) {
  return computedStyle(element, "position") == QLatin1String(position);
}

/// Returns the innermost element around `element` that it is placed in, and that may clip it.
QWebElement boxAround(const QWebElement& element) {
  if (hasPosition(element, "fixed")) return QWebElement();
  QWebElement box = element.parent();
  if (!hasPosition(element, "absolute")) return box;
  while (!box.isNull() && hasPosition(box, "static")) box = box.parent();
  return box;
}

// The style of these two is that of the frame.
bool clips(const QWebElement& box) {
  const QString tag = box.tagName().toLower();
  return tag != QLatin1String("html") && tag != QLatin1String("body") &&
         computedStyle(box, "overflow-x") != QLatin1String("visible");
}

}  // namespace

// A page in QtWebKit's page cache still has its frames. But the main frame has another document, or
// the frames are no longer among the children of their parents.
QWebElement WebElement::ifOnPage(const QWebElement& element) {
  QWebFrame* frame = element.webFrame();
  if (!frame || !frame->page() || element.document() != frame->documentElement())
    return QWebElement();
  while (QWebFrame* parent = frame->parentFrame()) {
    if (!parent->childFrames().contains(frame)) return QWebElement();
    frame = parent;
  }
  return frame == frame->page()->mainFrame() ? element : QWebElement();
}

bool WebElement::isInPage(const QWebElement& element) {
  const QWebElement root = ifOnPage(element).document();
  QWebElement ancestor = element;
  while (!ancestor.isNull() && ancestor != root) ancestor = ancestor.parent();
  return !root.isNull() && ancestor == root;
}

// Reading the computed width makes QtWebKit lay the page out. Page script can't notice that, unlike
// script that reads an element's size; but the roots of plain XML have no computed style.
QRect WebElement::currentGeometry(const QWebElement& element) {
  const QString width = QStringLiteral("width");
  if (element.document().styleProperty(width, QWebElement::ComputedStyle).isNull())
    runOn(element, QStringLiteral("this.offsetWidth"));
  return element.geometry();
}

QRect WebElement::currentGeometry() const { return currentGeometry(element()); }

QRect WebElement::paintedRect() const {
  const QWebElement painted = element();
  QRect rect = painted.geometry();
  for (QWebFrame* frame = painted.webFrame(); frame; frame = frame->parentFrame()) {
    const QRect shown(QPoint(0, 0), frame->geometry().size());
    rect = rect.translated(-frame->scrollPosition()) & shown;
    rect.translate(frame->geometry().topLeft());
  }
  return rect;
}

QRect WebElement::visibleRect() const {
  QRect rect = paintedRect();
  QWebElement box = element();
  const QWebElement root = box.document();
  const QWebElement fullScreen = root.findFirst(QStringLiteral(":-webkit-full-screen"));
  while (!rect.isEmpty() && box != fullScreen && !(box = boxAround(box)).isNull())
    if (clips(box)) rect &= WebElement(box).paintedRect();
  return rect;
}

QRect WebElement::wholeRect() const {
  const QWebElement painted = element();
  QRect rect = painted.geometry();
  for (QWebFrame* frame = painted.webFrame(); frame; frame = frame->parentFrame())
    rect.translate(frame->geometry().topLeft() - frame->scrollPosition());
  return rect;
}

QRect WebElement::mapTo(Target target, const QRect& rect) const {
  QRect mapped = rect;
  QWebFrame* const ownFrame = element().webFrame();
  for (QWebFrame* frame = ownFrame; frame; frame = frame->parentFrame()) {
    mapped.translate(frame->geometry().topLeft());
    if (target == Viewport || frame->parentFrame()) mapped.translate(-frame->scrollPosition());
  }
  if (!ownFrame) return mapped;
  const double zoom = ownFrame->page()->mainFrame()->zoomFactor();
  return zoom == 1.0 ? mapped : QTransform::fromScale(1 / zoom, 1 / zoom).mapRect(mapped);
}

QString computedStyle(const QWebElement& element, const char* property) {
  return element.styleProperty(QLatin1String(property), QWebElement::ComputedStyle);
}

QSize extent(const QRect& rect) {
  const auto pixels = [](int first, int last) {
    return static_cast<int>(static_cast<unsigned>(last) - static_cast<unsigned>(first) + 1u);
  };
  return QSize(pixels(rect.left(), rect.right()), pixels(rect.top(), rect.bottom()));
}

}  // namespace LARKA
