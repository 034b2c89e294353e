// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

namespace LARKA {

/// Knows whether something is on the stack: QtWebKit with a certain page, an object that calls the
/// host, a pump. Copies share what they know, so it may outlive what it was made for. Everything
/// here belongs on the thread that pumps events.
class StackUse {
 public:
  StackUse() : m_count(std::make_shared<Count>()) {}
  StackUse(const StackUse&) = default;

  /// Returns a use of its own that counts as a use of `whole` too.
  static StackUse partOf(const StackUse& whole);

  /// While the host's diagnostics handler runs, nothing is idle.
  bool isIdle() const;

 private:
  friend class OnStack;

  struct Count {
    int depth = 0;
    std::shared_ptr<Count> whole;
  };

  std::shared_ptr<Count> m_count;
};

/// Counts as a use while it lives. It stands in a block of its own or is a member of what does.
class OnStack {
 public:
  explicit OnStack(const StackUse& use);
  ~OnStack();
  OnStack(const OnStack&) = delete;
  OnStack& operator=(const OnStack&) = delete;

 private:
  std::shared_ptr<StackUse::Count> m_count;
};

/// QtWebKit, with any page. Each page's use is part of it.
const StackUse& webKitUse();

/// The host's code, called by any listener or timer. Each caller's use is part of it.
const StackUse& hostCodeUse();

/// A page's question whether it may be left. QtWebKit is in the middle of beginning a load then,
/// and would not survive what a pump brings: meanwhile PumpEvents does nothing.
const StackUse& leaveQuestionUse();

/// A pass of event processing that the library runs.
const StackUse& pumpUse();

/// The host's diagnostics handler. It is called from anywhere: inside a destructor, below QtWebKit.
const StackUse& diagnosticsUse();

}  // namespace LARKA
