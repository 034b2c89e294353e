// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QTimer>
#include <QWebElement>

#include "browser/HostQuestion.h"

namespace LARKA {

class ILarkaBrowser;
class LarkaWebView;

/// A page's question for a colour, when the viewer activates an `input` of that type: asks the
/// listeners. A child of the page.
class PageColours : public QObject {
  Q_OBJECT

 public:
  /// `use` tells when the page is on the stack.
  PageColours(LarkaWebView* view, const StackUse& use, ILarkaBrowser* browser,
              Listeners<IExtraCallbacks>* listeners);

  /// QtWebKit asks for a colour in place of `present`, and waits.
  void ask(const QColor& present);

  /// Answers a listener's question, as AnswerColor() does.
  bool answer(int id, const char* colour);

 private:
  void announce(int id, const QByteArray& present);
  QWebElement find(const QString& present) const;
  void watch();
  void end();

  LarkaWebView* m_view;
  StackUse m_use;
  ILarkaBrowser* m_browser;
  HostQuestion m_question;
  QWebElement m_input;
  QTimer m_watch;  // runs while a listener has the question
};

}  // namespace LARKA
