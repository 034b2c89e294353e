// SPDX-License-Identifier: MIT
#pragma once

#include <QWebElement>
#include <QWebHitTestResult>

#include "channel/Caller.h"
#include "elements/WebElement.h"
#include "host/SharedRecord.h"
#include "larka/LarkaHTMLControl.h"

namespace LARKA {

/// The record behind a LarkaHTMLControl.
class LarkaHTMLControlPrivate : public SharedRecord, public WebElement {
 public:
  LarkaHTMLControlPrivate() = default;
  explicit LarkaHTMLControlPrivate(const QWebElement& element) : WebElement(element) {}
  explicit LarkaHTMLControlPrivate(const QWebHitTestResult& hit)
      : WebElement(hit.element()), hitTest(hit) {}

  /// For an element that is in the engine process.
  explicit LarkaHTMLControlPrivate(const RemoteHandle& remote) : remote(remote) {}
  ~LarkaHTMLControlPrivate() {
    const auto caller = remote ? remote->living() : nullptr;
    if (caller) caller->tell<&EngineRequests::releaseControl>(0, remote->id(), 1);
  }
  LarkaHTMLControlPrivate(const LarkaHTMLControlPrivate&) = delete;
  LarkaHTMLControlPrivate& operator=(const LarkaHTMLControlPrivate&) = delete;

  std::optional<RemoteHandle> remote;
  QWebHitTestResult hitTest;  // empty unless the handle came from a hit test
};

}  // namespace LARKA
