// SPDX-License-Identifier: MIT
#pragma once

#include <QWebElement>
#include <QWebHitTestResult>

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

  QWebHitTestResult hitTest;  // empty unless the handle came from a hit test
};

}  // namespace LARKA
