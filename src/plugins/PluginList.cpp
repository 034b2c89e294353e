// SPDX-License-Identifier: MIT
#include "plugins/PluginList.h"

#include <QWebElement>
#include <algorithm>

#include "elements/LarkaPluginWidgetQt.h"
#include "elements/WebElement.h"

namespace LARKA {

namespace {

const size_t kForgetAfter = 100;

}  // namespace

bool PluginList::updateHandle(const QWebElement& element, void* handle) {
  for (const LarkaPluginWidget& plugin : m_plugins) {
    LarkaPluginWidgetPrivate* record = LarkaPluginWidgetPrivate::of(plugin);
    if (record->element() != element) continue;
    record->handle = handle;
    return true;
  }
  return false;
}

void PluginList::forgetGone() {
  const bool many = m_plugins.size() % kForgetAfter == 0;
  const auto isGone = [many](const LarkaPluginWidget& plugin) {
    const QWebElement element = LarkaPluginWidgetPrivate::of(plugin)->element();
    return element.isNull() || (many && !WebElement::isInPage(element));
  };
  m_plugins.erase(std::remove_if(m_plugins.begin(), m_plugins.end(), isGone), m_plugins.end());
}

}  // namespace LARKA
