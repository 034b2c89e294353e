// SPDX-License-Identifier: MIT
#pragma once

#include <QRect>
#include <QString>
#include <QWebElement>

#include "larka/extras.h"

class QWebPage;

namespace LARKA {

/// The element that the viewer writes into, and what the host may know of it.
struct FocusedField {
  QWebElement element;  ///< null with TEXT_NONE
  TextField field;
};

/// Returns the element that gets the keys, in whatever frame it is: the focused one or, in a
/// document in `designMode`, the body.
QWebElement focusedElement(const QWebPage* page);

/// Reads the focused field, after laying the page out. Reading runs script on the element; it must
/// not happen inside QtWebKit. `scale` is how many pixels of the image a pixel of the view is.
FocusedField readFocusedField(const QWebPage* page, double scale);

/// What can be seen of a field without script and without a layout. Between two paints it changes
/// when what readFocusedField() returns changes, apart from rare cases.
struct FieldGlimpse {
  bool focused = false;
  QRect area;
  QRect caret;
  int cursor = 0;
  int anchor = 0;
  QString attributes;
  QString text;

  bool operator==(const FieldGlimpse& other) const;
  bool operator!=(const FieldGlimpse& other) const { return !(*this == other); }
};

/// Returns all of that but the text.
FieldGlimpse glimpseOf(const QWebPage* page, const QWebElement& field);

/// Returns the text. Of an element with much rich text that takes a quarter of a millisecond.
QString glimpseOfText(const QWebPage* page, const QWebElement& field);

/// Returns whether a host would find any difference between two fields.
bool isSame(const TextField& a, const TextField& b);

}  // namespace LARKA
