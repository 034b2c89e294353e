// LarkaPluginWidgetQt.h: the record behind LarkaPluginWidget.
#pragma once

#include <QImage>
#include <QRect>
#include <QSharedPointer>
#include <QWebElement>
#include <functional>
#include <utility>

#include "elements/WebElement.h"
#include "host/SharedRecord.h"
#include "larka/LarkaPluginWidget.h"

namespace LARKA {

class LarkaPluginWidgetPrivate : public SharedRecord, public WebElement {
 public:
  /// Shows an element in place of the page, or none; the flag says whether its pixels are painted.
  using ShowFullScreen = std::function<void(const QWebElement&, bool)>;

  LarkaPluginWidgetPrivate() = default;
  LarkaPluginWidgetPrivate(const QWebElement& element, ShowFullScreen showFullScreen, void* handle)
      : WebElement(element), showFullScreen(std::move(showFullScreen)), handle(handle) {}

  /// The record that `plugin` shares.
  static LarkaPluginWidgetPrivate* of(const LarkaPluginWidget& plugin) { return plugin.d; }

  /// Whether the image holds all of `rect`. Taken for granted: the image is that of the page.
  static bool isInsideBrowserImage(const QRect& rect);

  ShowFullScreen showFullScreen;  // empty without a browser
  bool fullScreen = false;
  void* handle = nullptr;
  void* userData = nullptr;
  QSharedPointer<QImage> image;  // of the browser; null, as the library paints no plug-ins
};

}  // namespace LARKA
