// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <thread>

#include "platform/base/Mutex.h"

namespace Lumenar::Instruments {

/// Runs a function again and again at a steady rate, on a thread of its own: at once, then at each multiple of the
/// period since. Multiples that pass while the function runs are skipped, so a slow run delays nothing but itself.
/// Threads   Start and Stop: any.
class PeriodicTask {
 public:
  using Clock = std::chrono::steady_clock;

  /// `task` returns whether to go on. An exception that leaves it is written to standard error and ends the task.
  PeriodicTask(std::chrono::nanoseconds period, std::function<bool()> task);
  ~PeriodicTask();
  PeriodicTask(const PeriodicTask&) = delete;
  PeriodicTask& operator=(const PeriodicTask&) = delete;

  /// Does nothing after Stop.
  /// Errors   std::system_error.
  void Start();

  /// Waits for a run of the function. For good.
  void Stop() noexcept;

  /// The first multiple of `period` after `deadline` that has not passed at `now`.
  static Clock::time_point NextDeadline(Clock::time_point deadline, Clock::time_point now,
                                        std::chrono::nanoseconds period);

 private:
  void Run();
  bool WaitUntil(Clock::time_point deadline);
  bool RunOnce() noexcept;

  const std::chrono::nanoseconds period_;
  const std::function<bool()> task_;
  Mutex mutex_;  // a leaf
  Condition changed_;
  bool stopped_ GUARDED_BY(mutex_) = false;
  std::thread thread_ GUARDED_BY(mutex_);
};

/// The period of a rate in runs a second, which is positive; at most three years.
std::chrono::nanoseconds PeriodOf(double rate_Hz);

}  // namespace Lumenar::Instruments
