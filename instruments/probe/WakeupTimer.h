// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

#include "instruments/probe/MonotonicClock.h"
#include "instruments/probe/WakeupHistory.h"
#include "platform/base/Mutex.h"

namespace Lumenar::Probe {

inline constexpr std::int64_t kTimerPeriod_ns = 1'000'000;

/// Sleeps from deadline to deadline until `stop`, and notes how late each wake-up was.
void MeasureWakeups(MonotonicClock& clock, WakeupHistory& history, const std::atomic<bool>& stop);

/// A thread that does it, by the machine's clock.
/// Threads   any.
class WakeupTimer {
 public:
  explicit WakeupTimer(WakeupHistory& history) : history_(history) {}
  ~WakeupTimer() { Stop(); }
  WakeupTimer(const WakeupTimer&) = delete;
  WakeupTimer& operator=(const WakeupTimer&) = delete;

  /// Does nothing once it was started, and after Stop.
  /// Errors   std::system_error.
  void Start();

  /// For good. Waits for the thread, at most a period and its lateness.
  void Stop() noexcept;

 private:
  WakeupHistory& history_;
  SystemClock clock_;
  std::atomic<bool> stop_{false};
  Mutex mutex_;
  std::thread thread_ GUARDED_BY(mutex_);
};

}  // namespace Lumenar::Probe
