#include "WindowObjects.h"

#include <QSize>
#include <QWebFrame>

namespace LARKA {

namespace {

// QtWebKit's screen is that of the display, or 800 by 600 without one.
QString screenScript(const QSize& viewSize) {
  return QStringLiteral(
             "[['width', %1], ['availWidth', %1], ['height', %2], ['availHeight', %2]]"
             ".forEach(function(side) {"
             "  Object.defineProperty(Screen.prototype, side[0], {get: function() { return "
             "side[1]; },"
             "                        configurable: true, enumerable: true});"
             "}); void 0")
      .arg(viewSize.width())
      .arg(viewSize.height());
}

}  // namespace

// QtWebKit is built with touch events, which no operation sends: pages that find them wait for them
// alone.
void correctWindowObject(QWebFrame* frame, const QSize& viewSize) {
  static const QString withoutTouch = QStringLiteral(
      "['ontouchstart', 'ontouchmove', 'ontouchend', 'ontouchcancel'].forEach(function(name) {"
      "  [window, Document.prototype, HTMLDocument.prototype, Element.prototype,"
      "   HTMLElement.prototype].forEach(function(object) { delete object[name]; });"
      "});"
      "['TouchEvent', 'Touch', 'TouchList'].forEach(function(name) { delete window[name]; });");
  frame->evaluateJavaScript(withoutTouch + screenScript(viewSize));
}

void correctScreenSize(QWebFrame* frame, const QSize& viewSize) {
  frame->evaluateJavaScript(screenScript(viewSize));
  for (QWebFrame* child : frame->childFrames()) correctScreenSize(child, viewSize);
}

}  // namespace LARKA
