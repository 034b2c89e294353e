// SPDX-License-Identifier: MIT
#pragma once

#include <QFont>
#include <QObject>
#include <QPointer>
#include <QWebElement>
#include <vector>

#include "elements/SelectList.h"
#include "host/StackUse.h"

class QWebPage;

namespace LARKA {

/// The list that QtWebKit opens for a `select` of a page, in place of one of its own. There is at
/// most one.
class SelectPopup : public QObject {
  Q_OBJECT

 public:
  /// `use` tells when the page is on the stack. `parent` must not outlive the page.
  SelectPopup(QWebPage* page, const StackUse& use, QObject* parent);
  ~SelectPopup() override;

  /// Has QtWebKit ask this class for the lists of the pages. To be called before the first page.
  static void install();

  bool isOpen() const { return m_method; }

  /// Returns the element; null if it isn't known.
  const QWebElement& element() const { return m_element; }

  /// Returns the font of the element when it was opened, at the page's zoom then.
  QFont font() const { return m_font; }

  /// Returns the lines as they are now, without hidden ones.
  std::vector<ListItem> items();

  /// Closes the list and then chooses a line, by its ListItem::index: script hears of it.
  void choose(int index);
  void close();

  /// Returns the drop-down `select` that has the focus of the page; null if there is none.
  static QWebElement focusedIn(QWebPage* page);

  /// Has QtWebKit open the list of a drop-down `select`.
  static void open(QWebElement select);

 signals:
  /// Both are emitted while QtWebKit is on the stack.
  void opened();
  void closedByPage();

 private:
  friend class SelectMethod;
  friend class LarkaSelectPlugin;

  static SelectPopup* onStack();
  void show(QObject* method, const QFont& font);
  void hide(QObject* method);
  void findHidden(int count);

  QWebPage* m_page;
  StackUse m_use;
  QPointer<QObject> m_method;  // null while no list is open
  QWebElement m_element;
  QFont m_font;
  std::vector<bool> m_hidden;  // of QtWebKit's lines
};

}  // namespace LARKA
