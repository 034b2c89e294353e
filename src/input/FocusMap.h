// SPDX-License-Identifier: MIT
#pragma once

#include <QPoint>
#include <QPointer>
#include <QRect>
#include <QString>
#include <QWebElement>
#include <QWebFrame>
#include <vector>

class QWebPage;

namespace LARKA {

/// Where those elements of a page are that can have the keyboard focus, in pixels of the view. A
/// snapshot: nothing is looked up later, and no script runs.
class FocusMap {
 public:
  /// What limits the elements in it: a frame, an element that clips or scrolls its content, or one
  /// that stays in its place when the page is scrolled. The first one is the page.
  struct Area {
    QWebElement element;        // null for a frame
    QPointer<QWebFrame> frame;  // null for an element
    QRect shown;                // what it shows, unless areas around it hide that
    int parent = -1;
    bool scrollsX = false;
    bool scrollsY = false;
    bool isFixed = false;
    bool showsSome = false;  // whether any of its items is seen in it
  };

  struct Item {
    QWebElement element;
    QRect rect;
    QPoint origin;  // of its frame
    int area = -1;  // the innermost that it is in
    bool canHaveFocus = true;
  };

  /// What an area shows of an item in it.
  struct Sight {
    QRect rect;            // if it is hidden, the edge behind which it is
    int hiddenBy = -1;     // the innermost area that hides it
    bool isFixed = false;  // whether anything around it is
    bool isInside = true;  // whether it is in the area
  };

  /// Lays the page out and finds the elements.
  explicit FocusMap(QWebPage* page);

  const std::vector<Item>& items() const { return m_items; }
  const std::vector<Area>& areas() const { return m_areas; }

  /// The item that has the focus; -1 if there is none.
  int focused() const { return m_focused; }

  Sight sight(int item, int area) const;

 private:
  struct Ancestor;
  using Ancestors = std::vector<Ancestor>;

  int addFrame(QWebFrame* frame, const QPoint& parentOrigin);
  void addElements(QWebFrame* frame, const QPoint& origin);
  bool addItem(const QWebElement& element, const QString& tag, const QRect& rect,
               const QPoint& frameOrigin);
  void climb(const QWebElement& element, const QPoint& origin, Ancestors* ancestors);
  void close(Ancestors* ancestors);
  void noteEscapes(const QWebElement& element, const QRect& rect, Ancestors* ancestors,
                   std::vector<int> Ancestor::*list, int index);
  void enclose(int area, const Ancestor& ancestor, bool canScrollX, bool canScrollY);

  std::vector<Item> m_items;
  std::vector<Area> m_areas;
  QWebElement m_focusedElement;
  int m_focused = -1;
};

}  // namespace LARKA
