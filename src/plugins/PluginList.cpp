// SPDX-License-Identifier: MIT
#include "plugins/PluginList.h"

#include <QWebElement>
#include <algorithm>
#include <iterator>

#include "elements/LarkaPluginWidgetQt.h"
#include "elements/WebElement.h"

namespace LARKA {

namespace {

const size_t kForgetAfter = 100;

bool isPlayer(const LarkaPluginWidget& plugin) {
  return LarkaPluginWidgetPrivate::of(plugin)->isPlayer;
}

bool isGonePlayer(const LarkaPluginWidget& plugin) {
  return isPlayer(plugin) && LarkaPluginWidgetPrivate::of(plugin)->element().isNull();
}

}  // namespace

bool PluginList::updateHandle(const QWebElement& element, void* handle) {
  const LarkaPluginWidget* plugin = find(element);
  if (plugin) LarkaPluginWidgetPrivate::of(*plugin)->handle = handle;
  return plugin;
}

const LarkaPluginWidget* PluginList::find(const QWebElement& element) const {
  const auto isOfElement = [&element](const LarkaPluginWidget& plugin) {
    return LarkaPluginWidgetPrivate::of(plugin)->element() == element;
  };
  const auto found = std::find_if(m_plugins.begin(), m_plugins.end(), isOfElement);
  return found == m_plugins.end() ? nullptr : &*found;
}

void PluginList::remove(const QWebElement& element) {
  const LarkaPluginWidget* plugin = find(element);
  if (plugin) m_plugins.erase(m_plugins.begin() + (plugin - m_plugins.data()));
}

void PluginList::forgetGone() {
  const bool many = m_plugins.size() % kForgetAfter == 0;
  const auto isGone = [many](const LarkaPluginWidget& plugin) {
    if (isPlayer(plugin)) return false;
    const QWebElement element = LarkaPluginWidgetPrivate::of(plugin)->element();
    return element.isNull() || (many && !WebElement::isInPage(element));
  };
  m_plugins.erase(std::remove_if(m_plugins.begin(), m_plugins.end(), isGone), m_plugins.end());
}

void PluginList::leavePage() {
  m_plugins.erase(std::stable_partition(m_plugins.begin(), m_plugins.end(), isPlayer),
                  m_plugins.end());
}

int PluginList::players() const {
  return static_cast<int>(std::count_if(m_plugins.begin(), m_plugins.end(), isPlayer));
}

std::vector<LarkaPluginWidget> PluginList::takeGonePlayers() {
  std::vector<LarkaPluginWidget> gone;
  std::copy_if(m_plugins.begin(), m_plugins.end(), std::back_inserter(gone), isGonePlayer);
  m_plugins.erase(std::remove_if(m_plugins.begin(), m_plugins.end(), isGonePlayer),
                  m_plugins.end());
  return gone;
}

}  // namespace LARKA
