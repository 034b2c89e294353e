// SPDX-License-Identifier: MIT
#include "host/StackUse.h"

namespace LARKA {

StackUse StackUse::partOf(const StackUse& whole) {
  StackUse part;
  part.m_count->whole = whole.m_count;
  return part;
}

bool StackUse::isIdle() const {
  return m_count->depth == 0 && diagnosticsUse().m_count->depth == 0;
}

OnStack::OnStack(const StackUse& use) : m_count(use.m_count) {
  for (StackUse::Count* count = m_count.get(); count; count = count->whole.get()) ++count->depth;
}

OnStack::~OnStack() {
  for (StackUse::Count* count = m_count.get(); count; count = count->whole.get()) --count->depth;
}

// Never destroyed: a manager may be the last thing that the process destroys.

const StackUse& webKitUse() {
  static const auto* use = new StackUse;
  return *use;
}

const StackUse& hostCodeUse() {
  static const auto* use = new StackUse;
  return *use;
}

const StackUse& leaveQuestionUse() {
  static const auto* use = new StackUse;
  return *use;
}

const StackUse& pumpUse() {
  static const auto* use = new StackUse;
  return *use;
}

const StackUse& diagnosticsUse() {
  static const auto* use = new StackUse;
  return *use;
}

}  // namespace LARKA
