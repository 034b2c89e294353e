// SPDX-License-Identifier: MIT
#pragma once

#include <QTimer>
#include <functional>

namespace LARKA {

/// Ends the loads that QtWebKit forgets to end. That happens now and then, as when a page goes
/// elsewhere by a refresh while one of its fonts can't be reached: the page is there, and nothing
/// is left to come. Such a load ends here when nothing has happened for some seconds.
class LoadWatch {
 public:
  /// `isBusy` returns whether a request is running or script waits for the host. `ended` is called
  /// when LoadWatch ends a load.
  LoadWatch(std::function<bool()> isBusy, std::function<void()> ended,
            int quietMilliseconds = 4000);

  void begin();

  bool isLoading() const { return m_timer.isActive(); }

  /// Called when QtWebKit ends the load. Returns false if there is none, because LoadWatch has
  /// already ended it or another one has replaced it.
  bool end();

 private:
  void look();

  std::function<bool()> m_isBusy;
  std::function<void()> m_ended;
  QTimer m_timer;
  int m_quietLooks = 0;
};

}  // namespace LARKA
