// SPDX-License-Identifier: MIT
#include "input/SpatialNavigation.h"

#include <QWebElement>
#include <QWebFrame>
#include <QWebPage>
#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "elements/ElementScript.h"
#include "elements/WebElement.h"
#include "input/FocusMap.h"
#include "input/Nearness.h"

namespace LARKA {

namespace {

// Between what has the focus and the edge: room for its ring, and a glimpse of what comes next.
const int kMargin = 24;

const int kPage = 0;  // the area
const int kMostTries = 5;

struct Candidate {
  int item;
  double distance;
  bool isStraight = true;
  bool isFixed = false;
};
using Candidates = std::vector<Candidate>;

void sort(Candidates* candidates) {
  std::stable_sort(candidates->begin(), candidates->end(),
                   [](const Candidate& a, const Candidate& b) { return a.distance < b.distance; });
}

// The numbers of an expression like "[this.a, this.b].join()".
std::vector<double> numbersOn(const QWebElement& element, const QString& expression) {
  std::vector<double> numbers;
  for (const QString& each : valueOn(element, expression).toString().split(QLatin1Char(',')))
    numbers.push_back(each.toDouble());
  return numbers;
}

QRect scaled(const std::vector<double>& numbers, size_t first, double zoom) {
  return QRectF(numbers[first] * zoom, numbers[first + 1] * zoom, numbers[first + 2] * zoom,
                numbers[first + 3] * zoom)
      .toAlignedRect();
}

// A link in text that can be edited doesn't.
bool takesFocus(const QWebElement& element) {
  if (computedStyle(element, "visibility") != QLatin1String("visible")) return false;
  return !element.hasAttribute(QStringLiteral("href")) ||
         computedStyle(element, "-webkit-user-modify") == QLatin1String("read-only");
}

/// The lines of an inline element; the rectangle of any other one.
std::vector<QRect> linesOf(const FocusMap::Item& item) {
  if (computedStyle(item.element, "display") != QLatin1String("inline")) return {item.rect};
  const std::vector<double> numbers = numbersOn(
      item.element, QStringLiteral("[].map.call(this.getClientRects(), function(r) {"
                                   "return [r.left, r.top, r.width, r.height] }).join()"));
  const QWebFrame* frame = item.element.webFrame();
  std::vector<QRect> lines;
  for (size_t i = 0; frame && i + 3 < numbers.size(); i += 4) {
    const QRect line = scaled(numbers, i, frame->zoomFactor()).translated(item.origin);
    if (!line.isEmpty()) lines.push_back(line);
  }
  return lines.empty() ? std::vector<QRect>{item.rect} : lines;
}

class Step {
 public:
  Step(QWebPage* page, Directions direction) : m_page(page), m_direction(direction), m_map(page) {}

  bool take() {
    const int focused = m_map.focused();
    const bool isSeen = focused >= 0 && isInView(focused);
    return isSeen ? takeFrom(focused) : takeFirst();
  }

 private:
  const FocusMap::Item& item(int index) const { return m_map.items()[index]; }
  const FocusMap::Area& area(int index) const { return m_map.areas()[index]; }

  bool isInView(int index) const {
    const FocusMap::Sight sight = m_map.sight(index, kPage);
    return sight.hiddenBy < 0 && sight.rect.intersects(area(kPage).shown);
  }

  bool scrolls(int index) const {
    return isVertical(m_direction) ? area(index).scrollsY : area(index).scrollsX;
  }

  // From the innermost area that holds the focus outwards.
  bool takeFrom(int focused) {
    m_lines = linesOf(item(focused));
    bool isFixed = false;
    for (int at = item(focused).area; at > kPage; at = area(at).parent) {
      isFixed |= area(at).isFixed;
      if (!scrolls(at) && !area(at).isFixed) continue;
      Candidates found = inside(at, focused);
      const auto isAside = [](const Candidate& each) { return !each.isStraight; };
      found.erase(std::remove_if(found.begin(), found.end(), isAside), found.end());
      if (takeAnyOf(found)) return true;
    }
    Candidates found = inside(kPage, focused);
    if (!isFixed && scrolls(kPage)) preferWhatScrolls(&found);
    return takeAnyOf(found);
  }

  static void preferWhatScrolls(Candidates* candidates) {
    if (candidates->empty() || !candidates->front().isFixed) return;
    std::stable_partition(candidates->begin(), candidates->end(),
                          [](const Candidate& each) { return each.isStraight && !each.isFixed; });
  }

  /// What can be reached in an area from the item with the focus, nearest first.
  Candidates inside(int at, int focused) const {
    Candidates found;
    const QRect from = m_map.sight(focused, at).rect;
    for (int i = 0; i < static_cast<int>(m_map.items().size()); ++i) {
      const std::optional<FocusMap::Sight> to = candidate(i, at);
      if (!to || i == focused) continue;
      if (const auto near = nearnessOf(focused, from, i, to->rect))
        found.push_back({i, near->distance, near->isStraight, to->isFixed});
    }
    sort(&found);
    return found;
  }

  std::optional<FocusMap::Sight> candidate(int index, int at) const {
    if (!item(index).canHaveFocus) return std::nullopt;
    const FocusMap::Sight sight = m_map.sight(index, at);
    const bool isShown = sight.hiddenBy < 0 || !area(sight.hiddenBy).showsSome;
    return sight.isInside && isShown ? std::make_optional(sight) : std::nullopt;
  }

  // Two in the same place follow each other in the order of the document. The rectangle around a
  // link of several lines may hold other links.
  std::optional<Nearness> nearnessOf(int focused, const QRect& from, int index,
                                     const QRect& to) const {
    if (from == to) {
      const bool isLater = index > focused;
      return isLater == isForward(m_direction) ? std::make_optional(Nearness()) : std::nullopt;
    }
    const bool entersBox = m_lines.size() == 1 && from.contains(to);
    if (!from.intersects(to) || entersBox) return nearness(from, to, m_direction);
    std::optional<Nearness> nearest;
    for (const QRect& line : linesOf(item(index))) {
      for (const QRect& start : m_lines) {
        const std::optional<Nearness> near = nearness(start, line, m_direction);
        if (near && (!nearest || near->distance < nearest->distance)) nearest = near;
      }
    }
    return nearest;
  }

  // If nothing is in view, the nearest out of it.
  bool takeFirst() {
    Candidates inView, outside;
    const QRect view = area(kPage).shown;
    for (int i = 0; i < static_cast<int>(m_map.items().size()); ++i) {
      const std::optional<FocusMap::Sight> sight = candidate(i, kPage);
      if (!sight) continue;
      if (isInView(i)) {
        inView.push_back({i, 0});
      } else if (const auto near = nearness(view, sight->rect, m_direction)) {
        outside.push_back({i, near->distance});
      }
    }
    sortAsRead(&inView);
    sort(&outside);
    return takeAnyOf(inView) || takeAnyOf(outside);
  }

  // What begins above the middle of the topmost one is in the first row.
  void sortAsRead(Candidates* candidates) const {
    const auto rect = [this](const Candidate& each) { return m_map.sight(each.item, kPage).rect; };
    const int sign = isForward(m_direction) ? 1 : -1;
    const auto top = [&](const Candidate& each) {
      return sign > 0 ? rect(each).top() : -rect(each).bottom();
    };
    const auto first =
        std::min_element(candidates->begin(), candidates->end(),
                         [&](const Candidate& a, const Candidate& b) { return top(a) < top(b); });
    if (first == candidates->end()) return;
    const int row = top(*first) + rect(*first).height() / 2;
    const int kLaterRow = 1 << 24;
    for (Candidate& each : *candidates)
      each.distance = top(each) > row ? kLaterRow + top(each) : sign * rect(each).center().x();
    sort(candidates);
  }

  // Script that takes the focus away at once may do so with all of them.
  bool takeAnyOf(const Candidates& candidates) {
    for (const Candidate& each : candidates) {
      if (giveFocusTo(each.item)) return true;
      if (m_tries >= kMostTries) return false;
    }
    return false;
  }

  bool giveFocusTo(int index) {
    QWebElement element = item(index).element;
    if (!takesFocus(element)) return false;
    ++m_tries;
    scrollIntoView(index);
    runOn(element, QStringLiteral("this.focus()"));
    if (!element.hasFocus() && element.webFrame() && !hasMoved()) {
      element.webFrame()->setFocus();
      element.setFocus();
    }
    return hasMoved();
  }

  bool hasMoved() const {
    const QWebElement now = m_page->currentFrame()->findFirstElement(QStringLiteral(":focus"));
    return m_map.focused() < 0 ? !now.isNull() : now != item(m_map.focused()).element;
  }

  void scrollIntoView(int index) {
    QRect rect = item(index).rect;
    for (int at = item(index).area; at >= 0 && !area(at).isFixed; at = area(at).parent)
      rect.translate(-scroll(at, rect));
  }

  /// Scrolls an area so that it shows `rect`. Returns how far it has.
  QPoint scroll(int at, const QRect& rect) const {
    const FocusMap::Area& scrolled = area(at);
    if (!scrolled.scrollsX && !scrolled.scrollsY) return QPoint();
    return scrolled.element.isNull() ? scrollFrame(scrolled, rect) : scrollElement(scrolled, rect);
  }

  QPoint scrollFrame(const FocusMap::Area& scrolled, const QRect& rect) const {
    QWebFrame* frame = scrolled.frame;
    if (!frame) return QPoint();
    QRect window = scrolled.shown;
    window.setWidth(window.width() - frame->scrollBarGeometry(Qt::Vertical).width());
    window.setHeight(window.height() - frame->scrollBarGeometry(Qt::Horizontal).height());
    const QPoint before = frame->scrollPosition();
    frame->setScrollPosition(before + way(rect, window, scrolled));
    return scrolled.frame ? scrolled.frame->scrollPosition() - before : QPoint();
  }

  QPoint scrollElement(const FocusMap::Area& scrolled, const QRect& rect) const {
    const QWebFrame* frame = scrolled.element.webFrame();
    const double zoom = frame ? frame->zoomFactor() : 1;
    const std::vector<double> inner = numbersOn(
        scrolled.element,
        QStringLiteral("[this.clientLeft, this.clientTop, this.clientWidth, this.clientHeight,"
                       " this.scrollLeft, this.scrollTop].join()"));
    if (inner.size() != 6) return QPoint();
    const QRect window = scaled(inner, 0, zoom).translated(scrolled.shown.topLeft());
    const QPoint wanted = way(rect, window, scrolled);
    if (wanted.isNull()) return QPoint();
    const auto target = [zoom](double now, int pixels) {
      return QString::number(now + pixels / zoom, 'f', 0);
    };
    const std::vector<double> now =
        numbersOn(scrolled.element,
                  QStringLiteral("[this.scrollLeft = %1, this.scrollTop = %2, this.scrollLeft,"
                                 " this.scrollTop].join()")
                      .arg(target(inner[4], wanted.x()), target(inner[5], wanted.y())));
    if (now.size() != 4) return QPoint();
    return QPoint(qRound((now[2] - inner[4]) * zoom), qRound((now[3] - inner[5]) * zoom));
  }

  /// How far `window` has to go to show `rect`.
  QPoint way(const QRect& rect, const QRect& window, const FocusMap::Area& scrolled) const {
    const int dx = scrolled.scrollsX ? way(rect.x(), rect.width(), window.x(), window.width(),
                                           m_direction != DIRECTION_LEFT)
                                     : 0;
    const int dy = scrolled.scrollsY ? way(rect.y(), rect.height(), window.y(), window.height(),
                                           m_direction != DIRECTION_UP)
                                     : 0;
    return QPoint(dx, dy);
  }

  // Of what is larger than the window, the edge that is met first.
  static int way(int start, int length, int from, int window, bool startFirst) {
    const int end = start + length, to = from + window;
    if (length >= window) {
      if (startFirst) return start < to && end > from && start <= from ? 0 : start - from;
      return start < to && end > from && end >= to ? 0 : end - to;
    }
    const int margin = std::min(kMargin, (window - length) / 2);
    if (start - margin < from) return start - margin - from;
    return std::max(0, end + margin - to);
  }

  QWebPage* m_page;
  Directions m_direction;
  FocusMap m_map;
  std::vector<QRect> m_lines;  // of the item with the focus
  int m_tries = 0;
};

}  // namespace

bool moveFocus(QWebPage* page, Directions direction) { return Step(page, direction).take(); }

}  // namespace LARKA
