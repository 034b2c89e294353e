// SPDX-License-Identifier: MIT
#include "larka/extras.h"

#include <QString>

#include "browser/LarkaBrowserQt.h"
#include "host/HostText.h"
#include "paint/larkawebview.h"

namespace LARKA {

namespace {

/// Returns null for anything but a browser that hasn't been shut down.
LarkaBrowser* livingBrowser(ILarkaBrowser* browser) {
  auto* found = dynamic_cast<LarkaBrowser*>(browser);
  return found && found->webView() ? found : nullptr;
}

ScriptResult failure(const char* message) {
  ScriptResult result;
  result.message = message;
  return result;
}

}  // namespace

std::vector<Rectangle> GetChangedRectangles(ILarkaBrowser* browser) {
  std::vector<Rectangle> rectangles;
  if (const LarkaBrowser* found = livingBrowser(browser)) {
    for (const QRect& rect : found->webView()->changedParts())
      rectangles.push_back({rect.x(), rect.y(), rect.width(), rect.height()});
  }
  return rectangles;
}

LoadError GetLoadError(ILarkaBrowser* browser) {
  LoadError error;
  const LarkaBrowser* found = livingBrowser(browser);
  if (!found) return error;
  const LoadFailure& failure = found->lastFailure();
  error.kind = static_cast<LoadErrorKind>(failure.kind);
  error.httpStatus = failure.httpStatus;
  error.address = toHost(failure.url);
  error.text = toHost(failure.text);
  return error;
}

void SetLoadTimeLimit(ILarkaBrowser* browser, int milliseconds) {
  if (LarkaBrowser* found = livingBrowser(browser)) found->setLoadTimeLimit(milliseconds);
}

FrameStatistics TakeFrameStatistics(ILarkaBrowser* browser) {
  LarkaBrowser* found = livingBrowser(browser);
  return found ? found->webView()->takeStatistics() : FrameStatistics();
}

ScriptResult EvaluateScript(ILarkaBrowser* browser, const char* script, const char* frame) {
  LarkaBrowser* larka = livingBrowser(browser);
  if (!larka) return failure("No browser with a page");
  if (!script) return failure("No script");
  return larka->evaluateScript(QString::fromUtf8(script), QString::fromUtf8(frame));
}

bool SetStyleSheet(ILarkaBrowser* browser, const char* rules) {
  LarkaBrowser* larka = livingBrowser(browser);
  if (larka) larka->setStyleSheet(rules);
  return larka;
}

bool SetDocumentScript(ILarkaBrowser* browser, const char* script) {
  LarkaBrowser* larka = livingBrowser(browser);
  if (larka) larka->setDocumentScript(QString::fromUtf8(script));
  return larka;
}

}  // namespace LARKA
