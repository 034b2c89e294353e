// SPDX-License-Identifier: MIT
#include "paint/UserStyleSheet.h"

#include <QUrl>
#include <QWebPage>
#include <QWebSettings>

namespace LARKA {

UserStyleSheet::UserStyleSheet(QWebPage* page) : QObject(page), m_page(page) {}

UserStyleSheet* UserStyleSheet::of(const QWebPage* page) {
  return page->findChild<UserStyleSheet*>(QString(), Qt::FindDirectChildrenOnly);
}

// QtWebKit reads the rules at once only in this form.
void UserStyleSheet::set(Part part, const QByteArray& rules) {
  if (m_parts[part] == rules) return;
  m_parts[part] = rules;
  QByteArray all;
  for (const auto& each : m_parts) all += each.second + '\n';
  m_page->settings()->setUserStyleSheetUrl(QUrl(
      QLatin1String("data:text/css;charset=utf-8;base64,") + QString::fromLatin1(all.toBase64())));
}

}  // namespace LARKA
