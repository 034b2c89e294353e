// SPDX-License-Identifier: MIT
#include "larka/extras.h"

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

}  // namespace LARKA
