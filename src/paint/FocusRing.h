// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QTimer>

class QWebPage;

namespace LARKA {

class UserStyleSheet;

/// Has a page draw a ring around the focused element that can be seen from a sofa, unless the page
/// has an outline of its own for it. A child of the page.
class FocusRing : public QObject {
  Q_OBJECT

 public:
  FocusRing(UserStyleSheet* style, QWebPage* page);

 private:
  void follow();

  UserStyleSheet* m_style;
  QWebPage* m_page;
  QTimer m_following;
};

}  // namespace LARKA
