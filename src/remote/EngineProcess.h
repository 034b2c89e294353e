// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <future>
#include <string>
#include <utility>
#include <vector>

#include "channel/Channel.h"

namespace LARKA {

/// A running larka-engine. It ends with this object.
class EngineProcess {
 public:
  EngineProcess() = default;
  EngineProcess(const EngineProcess&) = delete;
  EngineProcess& operator=(const EngineProcess&) = delete;
  ~EngineProcess();

  /// Starts the program with these arguments, and returns the channel to it. It is started in a
  /// thread, because that takes some milliseconds; if it can't be started the channel closes. A
  /// process that is running ends.
  Channel start(const std::vector<std::string>& arguments);

  /// Ends the process at once, and doesn't wait for it to be gone.
  void kill();

  /// Waits until the process has ended by itself, and kills it after this time.
  void awaitEnd(int milliseconds);

  /// Frees the processes that were killed and are gone by now.
  void reap();

 private:
  /// Waits until the thread has started the process.
  void finishStart();

  std::future<pid_t> m_starting;
  pid_t m_pid = -1;
  std::vector<pid_t> m_killed;
};

}  // namespace LARKA
