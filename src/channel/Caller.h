// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "channel/Operations.h"

namespace LARKA {

/// Calls operations of the other process.
class Caller : public Objects {
 public:
  /// Calls an operation on the object `target` there. Returns its result, or true for void; nothing
  /// or false if there is no answer.
  template <auto Operation, typename... A>
  auto ask(qint64 target, A&&... arguments) {
    using Call = CallTo<Operation>;
    const bool canBeLater =
        std::is_void_v<typename Call::Result> || OperationsForLater::has<Operation>();
    const auto answer = call(EngineOperations::numberOf<Operation>(),
                             contentOf<Operation>(target, arguments...), canBeLater);
    decltype(Call::takeBack(std::declval<Coder&>(), arguments...)) result{};
    if (answer) {
      Coder in(*this, *answer);
      bool wasCalled = false;
      in.get(wasCalled);
      if (wasCalled) {
        result = Call::takeBack(in, arguments...);
        if (!result) makesNoSense();
      } else if (!in.isUsedUp()) {
        makesNoSense();
      }
    }
    if (!result) Call::clear(arguments...);
    return result;
  }

  /// Has the other process call an operation, and doesn't wait for that.
  template <auto Operation, typename... A>
  void tell(qint64 target, A&&... arguments) {
    post(EngineOperations::numberOf<Operation>(), contentOf<Operation>(target, arguments...));
  }

  /// Changes when another process takes the place of the one before: it knows none of its objects.
  virtual int generation() const = 0;

 protected:
  /// Calls an operation and waits for its answer. If the other process is known not to answer, the
  /// operation is only posted, or not called at all unless it can be called later.
  virtual std::optional<QByteArray> call(quint16 operation, const QByteArray& content,
                                         bool canBeLater) = 0;
  virtual void post(quint16 operation, const QByteArray& content) = 0;

  /// An answer can't be read.
  virtual void makesNoSense() = 0;

  template <auto Operation, typename... A>
  QByteArray contentOf(qint64 target, A&&... arguments) {
    QByteArray content;
    Coder out(*this, &content);
    out.put(target);
    CallTo<Operation>::put(out, arguments...);
    return content;
  }
};

/// What a handle's record has if its element is in the other process.
class RemoteHandle {
 public:
  RemoteHandle(std::weak_ptr<Caller> caller, qint64 id)
      : m_caller(std::move(caller)), m_id(id), m_generation(m_caller.lock()->generation()) {}

  qint64 id() const { return m_id; }

  /// Calls an operation on the handle there. Nothing or false if there is no answer: the record is
  /// empty then.
  template <auto Operation, typename... A>
  auto ask(A&&... arguments) const {
    using Answer = decltype(std::declval<Caller&>().ask<Operation>(m_id, arguments...));
    const std::shared_ptr<Caller> caller = living();
    return caller ? caller->ask<Operation>(m_id, arguments...) : Answer();
  }

  /// Returns null once the other process has gone.
  std::shared_ptr<Caller> living() const {
    const std::shared_ptr<Caller> caller = m_caller.lock();
    return caller && caller->generation() == m_generation ? caller : nullptr;
  }

 private:
  std::weak_ptr<Caller> m_caller;
  qint64 m_id;
  int m_generation;
};

/// Asks a record's handle in the other process, if it has one.
template <auto Operation, typename Record, typename... A>
auto asked(const Record* record, A&&... arguments) {
  using Answer = decltype(record->remote->template ask<Operation>(arguments...));
  return record->remote ? record->remote->template ask<Operation>(arguments...) : Answer();
}

}  // namespace LARKA
