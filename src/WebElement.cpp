#include "WebElement.h"

#include <QTransform>
#include <QWebFrame>
#include <QWebPage>

namespace LARKA {

// A page that the engine keeps for going back to still has its frames; what it lost is its place in
// the main frame, or its frames their place among the children of their parents.
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

}  // namespace LARKA
