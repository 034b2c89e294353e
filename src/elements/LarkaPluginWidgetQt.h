// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QRect>
#include <QSharedPointer>
#include <QStringList>
#include <QWebElement>
#include <functional>
#include <utility>

#include "channel/Caller.h"
#include "elements/MediaSource.h"
#include "elements/WebElement.h"
#include "host/SharedRecord.h"
#include "larka/LarkaPluginWidget.h"

namespace LARKA {

/// The record behind a LarkaPluginWidget.
class LarkaPluginWidgetPrivate : public SharedRecord, public WebElement {
 public:
  /// Shows an element in place of the page, or the page for a null element. The flag says whether
  /// to paint the element's pixels.
  using ShowFullScreen = std::function<void(const QWebElement&, bool)>;

  LarkaPluginWidgetPrivate() = default;
  LarkaPluginWidgetPrivate(const QWebElement& element, ShowFullScreen showFullScreen, void* handle)
      : WebElement(element), showFullScreen(std::move(showFullScreen)), handle(handle) {}

  /// For an element that is in the engine process.
  explicit LarkaPluginWidgetPrivate(const RemoteHandle& remote) : remote(remote) {}
  ~LarkaPluginWidgetPrivate() {
    const auto caller = remote ? remote->living() : nullptr;
    if (caller) caller->tell<&EngineRequests::releasePlugin>(0, remote->id(), timesGot);
  }
  LarkaPluginWidgetPrivate(const LarkaPluginWidgetPrivate&) = delete;
  LarkaPluginWidgetPrivate& operator=(const LarkaPluginWidgetPrivate&) = delete;

  /// Returns the record of `plugin`.
  static LarkaPluginWidgetPrivate* of(const LarkaPluginWidget& plugin) { return plugin.d; }

  /// Returns what the player of a `video` or `audio` plays; nothing of any other plug-in.
  MediaSource mediaSource() const;

  std::optional<RemoteHandle> remote;
  int timesGot = 0;  // from the engine process

  ShowFullScreen showFullScreen;  // empty without a browser
  bool fullScreen = false;
  void* handle = nullptr;
  void* userData = nullptr;
  bool isPlayer = false;   // of a `video` or `audio`
  QStringList mediaTypes;  // that the host plays

  // Kept for the contract; nothing here is used.

  /// Returns true, for any rectangle.
  static bool isInsideBrowserImage(const QRect& rect);

  QSharedPointer<QImage> image;  // always null
};

}  // namespace LARKA
