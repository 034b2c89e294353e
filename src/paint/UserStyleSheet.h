// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>
#include <map>

class QWebPage;

namespace LARKA {

/// The one user style sheet that a page can have, made of parts. It overrules QtWebKit's own style
/// sheet, and the page's overrule it, except where it says `!important`. A child of the page.
class UserStyleSheet : public QObject {
  Q_OBJECT

 public:
  /// In the order of the sheet: a later part overrules an earlier one. What the host writes may be
  /// broken, so it comes last.
  enum Part { FocusRules, StillnessRules, MediaRules, HostRules };

  explicit UserStyleSheet(QWebPage* page);

  /// Returns that of a page.
  static UserStyleSheet* of(const QWebPage* page);

  /// Replaces a part, as UTF-8. QtWebKit then computes the style of the whole page again.
  void set(Part part, const QByteArray& rules);

 private:
  QWebPage* m_page;
  std::map<Part, QByteArray> m_parts;
};

}  // namespace LARKA
