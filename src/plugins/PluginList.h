// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "larka/LarkaPluginWidget.h"

class QWebElement;

namespace LARKA {

/// The plug-ins of one page that the host knows, in the order in which they were announced.
class PluginList {
 public:
  const std::vector<LarkaPluginWidget>& all() const { return m_plugins; }

  /// Adds a plug-in that the list doesn't have.
  void add(const LarkaPluginWidget& plugin) { m_plugins.push_back(plugin); }

  /// Gives the plug-in of `element` a new handle: QtWebKit makes a new one whenever it lays the
  /// element out again. Returns false if the list has none.
  bool updateHandle(const QWebElement& element, void* handle);

  /// Drops plug-ins whose element is gone, and now and then those that script has taken out: it may
  /// put them back, but a page that keeps making new ones, as one that changes its advertisements,
  /// must not fill the memory with the old ones.
  void forgetGone();

  /// Drops the plug-ins of a page that is being left. Its players stay until it is gone.
  void leavePage();

  /// Returns the plug-in of `element`; null if the list has none.
  const LarkaPluginWidget* find(const QWebElement& element) const;

  /// Drops the plug-in of `element`.
  void remove(const QWebElement& element);

  /// Returns how many are players.
  int players() const;

  /// Drops the players whose elements are gone, and returns them.
  std::vector<LarkaPluginWidget> takeGonePlayers();

 private:
  std::vector<LarkaPluginWidget> m_plugins;
};

}  // namespace LARKA
