// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>
#include <QTimer>

class QWebPage;

namespace LARKA {

/// Has a page draw a ring around the focused element that can be seen from a sofa, unless the page
/// has an outline of its own for it. A child of the page.
class FocusRing : public QObject {
  Q_OBJECT

 public:
  explicit FocusRing(QWebPage* page);

 private:
  void follow();
  void draw(const QByteArray& rules);

  QWebPage* m_page;
  QByteArray m_rules;
  QTimer m_following;
};

}  // namespace LARKA
