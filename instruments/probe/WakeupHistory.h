// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/base/Mutex.h"

namespace Lumenar::Probe {

/// How late a periodic timer woke up, for each of its last periods.
///
/// Every period has one point. A wake-up that comes after later deadlines have passed counts for these too, each as
/// late as it was by then: a stall of 5 ms at 1 kHz shows as 5, 4, 3, 2, 1 ms (and what is over), and the axis stays
/// true.
/// Threads   any.
class WakeupHistory {
 public:
  static constexpr std::size_t kPeriods = 1001;

  explicit WakeupHistory(std::int64_t period_ns) : period_ns_(period_ns) {}

  /// Takes a wake-up at `now_ns` that was due at `deadline_ns`; the next deadline, which is after `now_ns`. The work is
  /// bounded, however late the wake-up.
  std::int64_t WokeUp(std::int64_t deadline_ns, std::int64_t now_ns);

  /// The lateness of the last kPeriods periods in microseconds, oldest first. Before there were that many the oldest
  /// are 0.
  std::vector<float> Lateness_us() const;

  /// The same without those that stand for periods before the first.
  std::vector<float> Measured_us() const;

 private:
  void Add(std::int64_t lateness_ns) REQUIRES(mutex_);
  std::vector<float> InOrder() const REQUIRES(mutex_);

  const std::int64_t period_ns_;
  mutable Mutex mutex_;  // a leaf
  std::array<float, kPeriods> lateness_us_ GUARDED_BY(mutex_){};
  std::size_t oldest_ GUARDED_BY(mutex_) = 0;
  std::size_t measured_ GUARDED_BY(mutex_) = 0;  // at most kPeriods
};

/// How the latenesses spread: for each whole microsecond up to the last point, which also holds all later ones, the
/// share of the wake-ups that were so late, in percent. One that was early is in the first. All 0 when there are none.
/// Shape    kPeriods points, whatever the number of latenesses.
/// Threads  pure.
std::vector<float> SpreadOf(std::span<const float> lateness_us);

/// What stands for a lateness of 0 or less, in microseconds: one nanosecond, the resolution of the clock. A level needs
/// a positive number.
inline constexpr float kSmallestLateness_us = 0.001f;

/// Latenesses as levels in dB of 1 us: 10 * log10, of at least kSmallestLateness_us (-30 dB).
std::vector<float> LevelsOf(std::span<const float> lateness_us);

}  // namespace Lumenar::Probe
