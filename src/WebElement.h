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

  /// The element; null once its page has been left. (It is there again when history comes back to
  /// the page while the engine still keeps it.)
  QWebElement element() const { return ifOnPage(m_element); }

  /// `element`, or none where its page has been left. The engine keeps pages for going back to, and
  /// would go on to answer for their elements.
  static QWebElement ifOnPage(const QWebElement& element);

 private:
  QWebElement m_element;
};

}  // namespace LARKA
