// LoadWatch.h: ends the loads that QtWebKit forgets to end.
#pragma once

#include <QTimer>
#include <functional>

namespace LARKA {

/// Watches a load from its beginning to its end. QtWebKit now and then loses the end of one, as
/// when a page goes elsewhere by a refresh while a font of its can't be reached; the page is there,
/// and nothing is left to come. The load then counts as ended when nothing has gone on for some
/// seconds.
class LoadWatch {
 public:
  /// `isBusy` says whether a request is running or script is waiting for its host. `ended` is
  /// called when a load has ended here.
  LoadWatch(std::function<bool()> isBusy, std::function<void()> ended,
            int quietMilliseconds = 4000);

  void begin();

  /// Notes the end that QtWebKit announces. False when the load had already ended here.
  bool end();

 private:
  void look();

  std::function<bool()> m_isBusy;
  std::function<void()> m_ended;
  QTimer m_timer;
  int m_quietLooks = 0;
  bool m_endedHere = false;
};

}  // namespace LARKA
