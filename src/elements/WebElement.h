// SPDX-License-Identifier: MIT
#pragma once

#include <QRect>
#include <QWebElement>

namespace LARKA {

/// An element, and the mapping from the coordinates of its frame's contents to those of the page
/// and the view.
class WebElement {
 public:
  enum Target {
    Page = 0,     ///< from the page's top-left corner
    Viewport = 1  ///< from the view's top-left corner
  };

  explicit WebElement(const QWebElement& element = QWebElement()) : m_element(element) {}

  /// Maps a rectangle from the coordinates of the frame's contents, which QtWebKit uses, to those
  /// of `target` at a zoom of 100 %. Returns it unchanged if there is no element.
  QRect mapTo(Target target, const QRect& rect) const;
  QRect mapToPage(const QRect& rect) const { return mapTo(Page, rect); }

  /// Returns the element's rectangle in the coordinates of its frame's contents, after laying the
  /// page out (QWebElement::geometry() alone is that of the last layout). Empty once the page has
  /// been left.
  QRect currentGeometry() const;

  /// Returns where QtWebKit last painted the element, in pixels of the view; empty if its frames or
  /// the view don't show it.
  QRect paintedRect() const;

  /// Returns the same without what boxes around the element hide, as far as they are in its frame.
  QRect visibleRect() const;

  /// Returns where QtWebKit last painted the element, in pixels of the view, all of it.
  QRect wholeRect() const;

  /// Returns the element; null once its page has been left. (It is there again if the history
  /// returns to the page while it is in QtWebKit's page cache.)
  QWebElement element() const { return ifOnPage(m_element); }

  /// Returns `element`, or a null element if its page has been left: the page may be in QtWebKit's
  /// page cache, where its elements still answer.
  static QWebElement ifOnPage(const QWebElement& element);

  /// Returns whether `element` is in the document of a page that hasn't been left; script may have
  /// removed it.
  static bool isInPage(const QWebElement& element);

  /// Returns the same rectangle as currentGeometry(), of any element.
  static QRect currentGeometry(const QWebElement& element);

  // Kept for the contract; no element of a page uses it.

  QRect mapToViewport(const QRect& rect) const { return mapTo(Viewport, rect); }

 private:
  QWebElement m_element;
};

/// Returns the computed value of a CSS property.
QString computedStyle(const QWebElement& element, const char* property);

/// Returns the size from the first to the last pixel, modulo 2^32: at a tiny zoom the coordinates
/// of a page reach the limits of an int.
QSize extent(const QRect& rect);

}  // namespace LARKA
