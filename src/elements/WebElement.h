// WebElement.h: from an element's own frame to the page and the viewport.
#pragma once

#include <QRect>
#include <QWebElement>

namespace LARKA {

/// An element, and the way from the coordinates of its frame's contents to those of the whole page.
class WebElement {
 public:
  enum Target {
    Page = 0,     ///< from the page's top-left corner
    Viewport = 1  ///< from the view's top-left corner
  };

  explicit WebElement(const QWebElement& element = QWebElement()) : m_element(element) {}

  /// Maps a rectangle in the coordinates of the frame's contents, as the engine gives them, to
  /// those of `target` at a zoom of 100 %. Without an element it comes back as it is.
  QRect mapTo(Target target, const QRect& rect) const;
  QRect mapToPage(const QRect& rect) const { return mapTo(Page, rect); }
  QRect mapToViewport(const QRect& rect) const { return mapTo(Viewport, rect); }

  /// Where the element is in the coordinates of its frame's contents, after a layout: the engine
  /// alone gives the geometry of its last one. An empty rectangle once the page has been left.
  QRect currentGeometry() const;

  /// Where the engine painted the element last, in pixels of the view; empty where its frames, or
  /// the view, don't show it.
  QRect paintedRect() const;

  /// The element; null once its page has been left. (It is there again when history comes back to
  /// the page while the engine still keeps it.)
  QWebElement element() const { return ifOnPage(m_element); }

  /// `element`, or none where its page has been left. The engine keeps pages for going back to, and
  /// would go on to answer for their elements.
  static QWebElement ifOnPage(const QWebElement& element);

  /// Whether `element` is part of a page, and of what that shows; script may have taken it out.
  static bool isInPage(const QWebElement& element);

  /// currentGeometry() of any element.
  static QRect currentGeometry(QWebElement element);

 private:
  QWebElement m_element;
};

/// From the first pixel to the last; modulo 2^32, as at a zoom of nearly nothing a page is endless.
QSize extent(const QRect& rect);

}  // namespace LARKA
