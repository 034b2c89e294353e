// SPDX-License-Identifier: MIT
#include "page/WindowObjects.h"

#include <QPointer>
#include <QSize>
#include <QWebFrame>
#include <utility>
#include <vector>

namespace LARKA {

namespace {

// For QtWebKit the screen is that of the display, or 800 by 600 without one.
// Typing crashes QtWebKit if script moves the focus from one text control to another when the
// character is on its way, in a listener to keypress or textInput. The character is dropped then.
// As the first listener of the window this one comes before those of the page, or after them.
const char kTypingGuard[] =
    "(function() {"
    "  function guard(event) {"
    "    var target = event.target;"
    "    if ('selectionStart' in target && target !== document.activeElement) "
    "event.preventDefault();"
    "  }"
    "  addEventListener('textInput', guard, true);"
    "  addEventListener('textInput', guard, false);"
    "})();";

QString screenScript(const QSize& viewSize) {
  QString script;
  const std::pair<const char*, int> sides[] = {{"width", viewSize.width()},
                                               {"availWidth", viewSize.width()},
                                               {"height", viewSize.height()},
                                               {"availHeight", viewSize.height()}};
  for (const auto& [name, pixels] : sides)
    script += QStringLiteral(
                  "Object.defineProperty(Screen.prototype, '%1', {get: function() { return %2; },"
                  " configurable: true, enumerable: true}); ")
                  .arg(QLatin1String(name))
                  .arg(pixels);
  return script + QLatin1String("void 0");
}

void appendFrames(QWebFrame* frame, std::vector<QPointer<QWebFrame>>* frames) {
  frames->emplace_back(frame);
  for (QWebFrame* child : frame->childFrames()) appendFrames(child, frames);
}

}  // namespace

// QtWebKit is built with touch events, but no operation of a browser sends them. Pages that find
// them would wait for touches and ignore the mouse.
void correctWindowObject(QWebFrame* frame, const QSize& viewSize) {
  static const QString withoutTouch = QStringLiteral(
      "['ontouchstart', 'ontouchmove', 'ontouchend', 'ontouchcancel'].forEach(function(name) {"
      "  [window, Document.prototype, HTMLDocument.prototype, Element.prototype,"
      "   HTMLElement.prototype].forEach(function(object) { delete object[name]; });"
      "});"
      "['TouchEvent', 'Touch', 'TouchList'].forEach(function(name) { delete window[name]; });");
  frame->evaluateJavaScript(withoutTouch + QLatin1String(kTypingGuard) + screenScript(viewSize));
}

void createWindowObjects(QWebFrame* frame) {
  std::vector<QPointer<QWebFrame>> frames;
  appendFrames(frame, &frames);
  for (const QPointer<QWebFrame>& each : frames)
    if (each) each->evaluateJavaScript(QStringLiteral("void 0"));
}

// The script may call functions that the page has replaced, and those may remove frames.
void correctScreenSize(QWebFrame* frame, const QSize& viewSize) {
  std::vector<QPointer<QWebFrame>> frames;
  appendFrames(frame, &frames);
  for (const QPointer<QWebFrame>& each : frames)
    if (each) each->evaluateJavaScript(screenScript(viewSize));
}

}  // namespace LARKA
