// SPDX-License-Identifier: MIT
#include "inspector/InspectorBrowser.h"

#include <QWebInspector>
#include <QWebPage>
#include <QWebSettings>

namespace LARKA {

InspectorBrowser::InspectorBrowser(QWebPage* page, bool show, QObject* parent)
    : QObject(parent), m_inspector(std::make_unique<QWebInspector>()) {
  page->settings()->setAttribute(QWebSettings::DeveloperExtrasEnabled, true);
  m_inspector->setPage(page);
  // Closing the inspector as the last open window must not end the host's application.
  m_inspector->setAttribute(Qt::WA_QuitOnClose, false);
  if (show) m_inspector->setVisible(true);
}

InspectorBrowser::~InspectorBrowser() { InspectorBrowser::Shutdown(); }

// There is no page once its browser has been shut down, or once another inspector has taken it.
void InspectorBrowser::Shutdown() {
  QWebPage* page = m_inspector ? m_inspector->page() : nullptr;
  if (page) page->settings()->setAttribute(QWebSettings::DeveloperExtrasEnabled, false);
  m_inspector.reset();
}

void InspectorBrowser::Resize(int width, int height) {
  if (m_inspector) m_inspector->resize(width, height);
}

}  // namespace LARKA
