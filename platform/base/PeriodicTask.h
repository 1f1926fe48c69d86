// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <thread>
#include <utility>

#include "platform/base/Mutex.h"

namespace Lumenar {

/// A thread that does something again and again, each time when the last time said, or when it is woken.
/// Threads   any.
class PeriodicTask {
 public:
  using Clock = std::chrono::steady_clock;

  /// Does it once, without a lock; says when it is due next, or that it has come to its end. What it throws ends the
  /// process: it is the start of a thread.
  using Step = std::function<std::optional<Clock::time_point>()>;

  explicit PeriodicTask(Step step) : step_(std::move(step)) {}
  ~PeriodicTask() { Stop(); }
  PeriodicTask(const PeriodicTask&) = delete;
  PeriodicTask& operator=(const PeriodicTask&) = delete;

  /// The first step is due after `pause`. Does nothing once it was started, and after Stop.
  /// Errors   std::system_error without a thread; it can be started later then.
  void Start(std::chrono::nanoseconds pause = {});

  /// A step is due at once; one that runs is followed by another. Does nothing before Start.
  void Wake() noexcept;

  /// Ends it for good, and waits for a step that runs.
  void Stop() noexcept;

 private:
  void Run() noexcept;
  bool WaitUntilDue();
  bool StepOnce();

  const Step step_;
  Mutex mutex_;  // a leaf
  Condition changed_;
  bool stopped_ GUARDED_BY(mutex_) = false;
  Clock::time_point due_ GUARDED_BY(mutex_){};
  std::thread thread_ GUARDED_BY(mutex_);
};

}  // namespace Lumenar
