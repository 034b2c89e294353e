// SPDX-License-Identifier: MIT
#include "input/FocusMap.h"

#include <QStringList>
#include <QWebPage>
#include <algorithm>
#include <initializer_list>
#include <utility>

#include "elements/WebElement.h"

namespace LARKA {

namespace {

const QRect kEverywhere(QPoint(-(1 << 28), -(1 << 28)), QPoint(1 << 28, 1 << 28));

// At the end: what has the focus already, and what may have frames.
const char kFocusable[] =
    "a[href], area[href], svg a, button:enabled, input:enabled:not([type=hidden]), select:enabled,"
    "textarea:enabled, summary, video[controls], audio[controls],"
    "[contenteditable]:not([contenteditable=false]), [tabindex]:not(:disabled),"
    ":focus,"
    "iframe, frame, object";

bool isOneOf(const QString& tag, std::initializer_list<const char*> names) {
  return std::any_of(names.begin(), names.end(), [&tag](const char* name) {
    return tag.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
  });
}

void layOut(QWebFrame* frame) {
  WebElement::currentGeometry(frame->documentElement());
  for (QWebFrame* child : frame->childFrames()) layOut(child);
}

// The style of these two is that of the frame.
bool isLimit(const QWebElement& element) { return !isOneOf(element.tagName(), {"html", "body"}); }

QRect boundsOfNumbers(const QStringList& numbers) {
  QRect bounds;
  for (int i = 0; i + 1 < numbers.size(); i += 2)
    bounds |= QRect(numbers[i].toInt(), numbers[i + 1].toInt(), 1, 1);
  return bounds;
}

// QtWebKit has no rectangle for it.
QRect rectOfArea(const QWebElement& area, const QWebFrame* frame) {
  QWebElement map = area.parent();
  while (!map.isNull() && !isOneOf(map.tagName(), {"map"})) map = map.parent();
  const QString name = QLatin1Char('#') + map.attribute(QStringLiteral("name"));
  QRect image;
  for (const QWebElement& each : frame->findAllElements(QStringLiteral("img[usemap]")))
    if (image.isEmpty() && each.attribute(QStringLiteral("usemap")) == name)
      image = each.geometry();
  const QStringList numbers = area.attribute(QStringLiteral("coords")).split(QLatin1Char(','));
  if (image.isEmpty() || numbers.size() < 3) return image;
  QRect shape = boundsOfNumbers(numbers);
  if (numbers.size() == 3) {
    const int radius = numbers[2].toInt();
    shape = QRect(numbers[0].toInt() - radius, numbers[1].toInt() - radius, 2 * radius, 2 * radius);
  }
  const double zoom = frame->zoomFactor();
  return QRectF(shape.x() * zoom, shape.y() * zoom, shape.width() * zoom, shape.height() * zoom)
             .toAlignedRect()
             .translated(image.topLeft()) &
         image;
}

// An inline link around a picture has the height of a line of text.
QRect rectOf(const QWebElement& element, const QString& tag, const QWebFrame* frame) {
  if (isOneOf(tag, {"area"})) return rectOfArea(element, frame);
  QRect rect = element.geometry();
  QWebElement child = element.firstChild();
  if (child.isNull() || !isOneOf(tag, {"a"})) return rect;
  if (computedStyle(element, "display") != QLatin1String("inline")) return rect;
  for (; !child.isNull(); child = child.nextSibling()) {
    const QRect sticksOut = child.geometry();
    if (sticksOut.isEmpty() || rect.contains(sticksOut)) continue;
    const QString position = computedStyle(child, "position");
    if (position == QLatin1String("static") || position == QLatin1String("relative"))
      rect |= sticksOut;
  }
  return rect;
}

bool canHaveFocus(const QWebElement& element, const QString& tag) {
  const QString tabIndex = element.attribute(QStringLiteral("tabindex"));
  if (tabIndex.isNull()) return !isOneOf(tag, {"object"});
  return !tabIndex.trimmed().startsWith(QLatin1Char('-'));
}

// QtWebKit doesn't say which element a frame belongs to.
QWebFrame* takeFrameIn(const QRect& rect, QList<QWebFrame*>* frames) {
  const auto area = [](const QWebFrame* frame) {
    return qint64(frame->geometry().width()) * frame->geometry().height();
  };
  QWebFrame* found = nullptr;
  for (QWebFrame* frame : *frames)
    if (rect.contains(frame->geometry()) && (!found || area(frame) > area(found))) found = frame;
  frames->removeOne(found);
  return found;
}

/// The part of a frame's content that scrolling can show.
QRect reachOf(const QWebFrame* frame, const QSize& size) {
  QRect reach(frame->scrollPosition(), size);
  const auto range = [frame](Qt::Orientation orientation) {
    return std::make_pair(frame->scrollBarMinimum(orientation),
                          frame->scrollBarMaximum(orientation));
  };
  const auto [left, right] = range(Qt::Horizontal);
  const auto [top, bottom] = range(Qt::Vertical);
  if (left < right) reach |= QRect(QPoint(left, reach.y()), QSize(right - left + size.width(), 1));
  if (top < bottom) reach |= QRect(QPoint(reach.x(), top), QSize(1, bottom - top + size.height()));
  return reach;
}

/// The part of `rect` inside `window`, or the edge behind which it is.
QRect shownPart(const QRect& rect, const QRect& window) {
  if (rect.intersects(window)) return rect & window;
  const auto into = [](int value, int least, int most) {
    return std::max(least, std::min(value, most));
  };
  const QPoint corner(into(rect.x(), window.left(), window.right()),
                      into(rect.y(), window.top(), window.bottom()));
  const QPoint end(into(rect.right(), corner.x(), window.right()),
                   into(rect.bottom(), corner.y(), window.bottom()));
  return QRect(corner, end);
}

}  // namespace

struct FocusMap::Ancestor {
  QWebElement element;
  QString position;
  bool clips;
  QRect rect;  // if it clips
  size_t firstItem;
  size_t firstArea;
  bool leaks = false;  // whether anything in it sticks out
  std::vector<int> escapedItems = {};
  std::vector<int> escapedAreas = {};

  bool isFixed() const { return position == QLatin1String("fixed"); }
};

FocusMap::FocusMap(QWebPage* page) {
  layOut(page->mainFrame());
  m_focusedElement = page->currentFrame()->findFirstElement(QStringLiteral(":focus"));
  addFrame(page->mainFrame(), QPoint(0, 0));
  for (size_t item = 0; item < m_items.size(); ++item) {
    QRect rect = m_items[item].rect;
    for (int area = m_items[item].area; area >= 0; area = m_areas[area].parent) {
      if (!rect.intersects(m_areas[area].shown)) break;
      rect &= m_areas[area].shown;
      m_areas[area].showsSome |= m_items[item].canHaveFocus;
    }
  }
}

// Returns the frame's area.
int FocusMap::addFrame(QWebFrame* frame, const QPoint& parentOrigin) {
  const QRect shown = frame->geometry().translated(parentOrigin);
  const QRect reach = reachOf(frame, shown.size());
  const int area = static_cast<int>(m_areas.size());
  const size_t firstItem = m_items.size();
  m_areas.push_back({QWebElement(), frame, shown});
  m_areas[area].scrollsX = reach.width() > shown.width();
  m_areas[area].scrollsY = reach.height() > shown.height();
  addElements(frame, shown.topLeft() - frame->scrollPosition());
  for (size_t i = firstItem; i < m_items.size(); ++i)
    if (m_items[i].area < 0) m_items[i].area = area;
  for (size_t i = area + 1; i < m_areas.size(); ++i)
    if (m_areas[i].parent < 0) m_areas[i].parent = area;
  const QRect reachInView = reach.translated(shown.topLeft() - frame->scrollPosition());
  for (size_t i = firstItem; i < m_items.size(); ++i)
    if (!sight(static_cast<int>(i), area).rect.intersects(reachInView))
      m_items[i].canHaveFocus = false;
  return area;
}

// Child frames are added where they are in the document. Those that can't be found there come last.
void FocusMap::addElements(QWebFrame* frame, const QPoint& origin) {
  Ancestors ancestors;
  QList<QWebFrame*> frames = frame->childFrames();
  for (const QWebElement& element : frame->findAllElements(QLatin1String(kFocusable))) {
    const QString tag = element.tagName();
    const QRect rect = rectOf(element, tag, frame);
    if (rect.isEmpty()) continue;
    climb(element, origin, &ancestors);
    const bool isFrame = isOneOf(tag, {"iframe", "frame", "object"});
    QWebFrame* child = isFrame ? takeFrameIn(rect, &frames) : nullptr;
    const int index = static_cast<int>(child ? m_areas.size() : m_items.size());
    if (child)
      addFrame(child, origin);
    else if (!addItem(element, tag, rect.translated(origin), origin + frame->scrollPosition()))
      continue;
    const auto list = child ? &Ancestor::escapedAreas : &Ancestor::escapedItems;
    noteEscapes(element, rect.translated(origin), &ancestors, list, index);
  }
  while (!ancestors.empty()) close(&ancestors);
  for (QWebFrame* child : frames)
    if (!child->geometry().isEmpty()) addFrame(child, origin);
}

bool FocusMap::addItem(const QWebElement& element, const QString& tag, const QRect& rect,
                       const QPoint& frameOrigin) {
  const bool isFocused = element == m_focusedElement;
  const bool isCandidate = canHaveFocus(element, tag);
  if (!isFocused && !isCandidate) return false;
  if (isFocused) m_focused = static_cast<int>(m_items.size());
  m_items.push_back({element, rect, frameOrigin, -1, isCandidate});
  return true;
}

// Makes `ancestors` those of `element`, outermost first.
void FocusMap::climb(const QWebElement& element, const QPoint& origin, Ancestors* ancestors) {
  const auto isKnown = [ancestors](const QWebElement& each) {
    return std::any_of(ancestors->rbegin(), ancestors->rend(),
                       [&each](const Ancestor& ancestor) { return ancestor.element == each; });
  };
  std::vector<QWebElement> fresh;
  QWebElement parent = element.parent();
  for (; !parent.isNull() && !isKnown(parent); parent = parent.parent()) fresh.push_back(parent);
  while (!ancestors->empty() && ancestors->back().element != parent) close(ancestors);
  for (auto each = fresh.rbegin(); each != fresh.rend(); ++each) {
    const bool clips =
        isLimit(*each) && computedStyle(*each, "overflow-x") != QLatin1String("visible");
    ancestors->push_back({*each, computedStyle(*each, "position"), clips,
                          clips ? each->geometry().translated(origin) : QRect(), m_items.size(),
                          m_areas.size()});
  }
}

// What is positioned is neither clipped nor scrolled by ancestors that aren't.
void FocusMap::noteEscapes(const QWebElement& element, const QRect& rect, Ancestors* ancestors,
                           std::vector<int> Ancestor::*list, int index) {
  const bool areLimits =
      std::any_of(ancestors->begin(), ancestors->end(),
                  [](const Ancestor& ancestor) { return ancestor.clips || ancestor.isFixed(); });
  if (!areLimits) return;
  QString position = computedStyle(element, "position");
  for (auto ancestor = ancestors->rbegin(); ancestor != ancestors->rend(); ++ancestor) {
    const bool escapes =
        position == QLatin1String("fixed") ||
        (position == QLatin1String("absolute") && ancestor->position == QLatin1String("static"));
    if (escapes) {
      ((*ancestor).*list).push_back(index);
      continue;
    }
    ancestor->leaks |= ancestor->clips && !ancestor->rect.contains(rect);
    position = ancestor->position;
  }
}

// Only now it is known whether an ancestor limits anything.
void FocusMap::close(Ancestors* ancestors) {
  const Ancestor ancestor = std::move(ancestors->back());
  ancestors->pop_back();
  if (!ancestor.leaks && !ancestor.isFixed()) return;
  const QString x = computedStyle(ancestor.element, "overflow-x");
  const QString y = computedStyle(ancestor.element, "overflow-y");
  const int area = static_cast<int>(m_areas.size());
  m_areas.push_back({ancestor.element, nullptr, ancestor.clips ? ancestor.rect : kEverywhere});
  m_areas[area].isFixed = ancestor.isFixed();
  enclose(area, ancestor, x != QLatin1String("hidden"), y != QLatin1String("hidden"));
  noteEscapes(ancestor.element, m_areas[area].shown, ancestors, &Ancestor::escapedAreas, area);
}

// Puts into an area what belongs to it. What it hides and scrolling doesn't show is out of reach.
void FocusMap::enclose(int area, const Ancestor& ancestor, bool canScrollX, bool canScrollY) {
  const auto has = [](const std::vector<int>& list, size_t index) {
    return std::find(list.begin(), list.end(), static_cast<int>(index)) != list.end();
  };
  for (size_t i = ancestor.firstItem; i < m_items.size(); ++i)
    if (m_items[i].area < 0 && !has(ancestor.escapedItems, i)) m_items[i].area = area;
  for (size_t i = ancestor.firstArea; i < static_cast<size_t>(area); ++i)
    if (m_areas[i].parent < 0 && !has(ancestor.escapedAreas, i)) m_areas[i].parent = area;
  const QRect shown = m_areas[area].shown;
  for (size_t i = ancestor.firstItem; i < m_items.size(); ++i) {
    const Sight seen = sight(static_cast<int>(i), area);
    if (!seen.isInside) continue;
    const QRect& rect = seen.rect;
    const bool leaksX = rect.left() < shown.left() || rect.right() > shown.right();
    const bool leaksY = rect.top() < shown.top() || rect.bottom() > shown.bottom();
    m_areas[area].scrollsX |= canScrollX && leaksX;
    m_areas[area].scrollsY |= canScrollY && leaksY;
    const bool hiddenX = rect.left() > shown.right() || rect.right() < shown.left();
    const bool hiddenY = rect.top() > shown.bottom() || rect.bottom() < shown.top();
    if ((hiddenX && !canScrollX) || (hiddenY && !canScrollY)) m_items[i].canHaveFocus = false;
  }
}

FocusMap::Sight FocusMap::sight(int item, int area) const {
  Sight sight{m_items[item].rect};
  for (int at = m_items[item].area; at != area; at = m_areas[at].parent) {
    if (at < 0) {
      sight.isInside = false;
      return sight;
    }
    const QRect& shown = m_areas[at].shown;
    if (sight.hiddenBy < 0 && !sight.rect.intersects(shown)) sight.hiddenBy = at;
    sight.rect = shownPart(sight.rect, shown);
    sight.isFixed |= m_areas[at].isFixed;
  }
  return sight;
}

}  // namespace LARKA
