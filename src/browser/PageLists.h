// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QSet>
#include <QTimer>

#include "browser/HostQuestion.h"
#include "elements/SelectList.h"
#include "paint/ListPainter.h"
#include "paint/Overlay.h"

class QEvent;
class QKeyEvent;
class QMouseEvent;
class QWheelEvent;

namespace LARKA {

class ILarkaBrowser;
class LarkaWebView;
class SelectPopup;

/// The list that a page has open: asks the listeners whether one of them shows it, and otherwise
/// draws it over the page and takes its keys and the pointer. A child of the page.
class PageLists : public Overlay {
  Q_OBJECT

 public:
  /// `use` tells when the page is on the stack.
  PageLists(LarkaWebView* view, const StackUse& use, ILarkaBrowser* browser,
            Listeners<IExtraCallbacks>* listeners);

  /// Whether a list is part of the page image.
  bool isShown() const { return m_isShown; }

  /// Handles an event of a key or the pointer, while the page counts as on the stack. Returns false
  /// if the page has to get it. May destroy this.
  bool takes(QEvent* event);

  /// Answers a listener's question, as AnswerList() does.
  bool answer(int id, int index);

  /// Closes the list without a choice.
  void close();

  void follow() override;
  void paint(QPainter* painter) override { m_painter.paint(painter); }

 private:
  void open();
  void announce(int id);
  ListRequest request() const;
  void show();
  bool arrange();
  void redraw();
  void watch();
  bool isUsable() const;
  bool refresh();
  void choose(int index);
  void chooseHighlighted();
  void disappear();
  void endQuestion();
  bool takesPress(const QMouseEvent& press);
  bool takesMove(const QMouseEvent& move);
  bool takesRelease(const QMouseEvent& release);
  bool takesWheel(const QWheelEvent& wheel);
  bool takesKey(const QKeyEvent& key);
  bool opens(const QKeyEvent& key);

  LarkaWebView* m_view;
  StackUse m_use;
  ILarkaBrowser* m_browser;
  SelectPopup* m_popup;
  HostQuestion m_question;
  SelectList m_list;
  ListPainter m_painter{&m_list};
  ListStyle m_style;
  bool m_isShown = false;
  QRect m_drawn;            // where the list is in the page image
  QFont m_font;             // of the element, at a zoom of 100 %
  QTimer m_watch;           // runs while a list is open
  QElapsedTimer m_clock;    // of typed letters
  bool m_hasPress = false;  // whether the last press was the list's
  QSet<int> m_heldKeys;     // whose press was the list's
  int m_turned = 0;         // by the wheel, less than a line
};

}  // namespace LARKA
