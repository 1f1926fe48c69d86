// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

#include "platform/base/Mutex.h"

namespace Lumenar::Scpi {

/// What clients want set, on its way to the thread that talks to the device. Each waits for what became of it; what was
/// not begun when its caller gave up is never done.
/// Threads   any.
class SetQueue {
 public:
  enum class Outcome { Done, Refused, NotConnected, TooLate };

  /// A number for one of the device's settings, by its place in the file.
  struct Wish {
    std::size_t setting;
    double number;
  };

  /// Hands a wish over, calls `wake`, and waits for the outcome: NotConnected at once while the queue is closed, or full.
  Outcome Do(const Wish& wish, std::chrono::nanoseconds limit, const std::function<void()>& wake);

  /// The oldest wish, which is under way from now on; of the device's thread, as all that follows.
  std::optional<Wish> Begin();

  /// What became of the one that is under way.
  void Finish(Outcome outcome);

  void Open();

  /// All that wait get NotConnected, the one under way too.
  void Close() noexcept;

 private:
  struct Entry {
    Wish wish;
    std::optional<Outcome> outcome;
  };

  bool Add(const std::shared_ptr<Entry>& entry);

  using Entries = std::deque<std::shared_ptr<Entry>>;

  Mutex mutex_;  // a leaf
  Condition changed_;
  bool is_open_ GUARDED_BY(mutex_) = false;
  Entries waiting_ GUARDED_BY(mutex_);
  std::shared_ptr<Entry> under_way_ GUARDED_BY(mutex_);
};

}  // namespace Lumenar::Scpi
