// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "python/src/CallThreads.h"
#include "python/src/ProcessMark.h"

namespace Lumenar::Python {

/// Something that Python holds and that rests on a Connection. When its Session closes, it lets go of that, even where
/// Python still holds it.
class Part {
 public:
  virtual ~Part() = default;
  virtual void Close() noexcept = 0;
};

/// A State that shares its Connection, so that the ORB does not stop while the state uses it: who uses it takes a share
/// of his own for that time, and the last share ends it. A State's members end in an order that lets the Connection go
/// last.
/// Threads   any.
template <class State>
class SharedState {
 public:
  SharedState() = default;
  explicit SharedState(std::shared_ptr<State> state) : state_(std::move(state)) {}

  /// What the garbage collector finds is ended by another thread, for that may take a call; in a forked child it stays
  /// as it is.
  ~SharedState() {
    if (ProcessMark::IsOrphan()) {
      new std::shared_ptr<State>(std::move(state_));
    } else if (std::shared_ptr<State> state = Take()) {
      EndElsewhere(std::move(state));
    }
  }
  SharedState(const SharedState&) = delete;
  SharedState& operator=(const SharedState&) = delete;

  /// Null once it was taken.
  std::shared_ptr<State> Get() const {
    const std::lock_guard lock(mutex_);
    return state_;
  }

  /// Null also in a forked child, which leaves it where it is.
  std::shared_ptr<State> Take() noexcept {
    if (ProcessMark::IsOrphan()) return nullptr;
    const std::lock_guard lock(mutex_);
    return std::move(state_);
  }

 private:
  static void EndElsewhere(std::shared_ptr<State> state) noexcept {
    try {
      CallThreads::Run([state = std::move(state)]() mutable { state.reset(); });
    } catch (...) {  // no thread, no memory: what was given goes here
    }
  }

  mutable std::mutex mutex_;
  std::shared_ptr<State> state_;
};

}  // namespace Lumenar::Python
