// SPDX-License-Identifier: Apache-2.0
#include "instruments/probe/WakeupHistory.h"

#include <algorithm>

#include "platform/value/decibel_kernels.h"

namespace Lumenar::Probe {

std::int64_t WakeupHistory::WokeUp(std::int64_t deadline_ns, std::int64_t now_ns) {
  const std::int64_t last_due = deadline_ns + std::max<std::int64_t>(now_ns - deadline_ns, 0) / period_ns_ * period_ns_;
  const std::int64_t first_kept = last_due - static_cast<std::int64_t>(kPeriods - 1) * period_ns_;
  Lock lock(mutex_);
  for (std::int64_t due = std::max(deadline_ns, first_kept); due <= last_due; due += period_ns_) Add(now_ns - due);
  return last_due + period_ns_;
}

void WakeupHistory::Add(std::int64_t lateness_ns) {
  lateness_us_[oldest_] = static_cast<float>(static_cast<double>(lateness_ns) / 1000);
  oldest_ = (oldest_ + 1) % kPeriods;
  measured_ = std::min(measured_ + 1, kPeriods);
}

std::vector<float> WakeupHistory::Measured_us() const {
  Lock lock(mutex_);
  std::vector<float> lateness = InOrder();
  lateness.erase(lateness.begin(), lateness.end() - static_cast<std::ptrdiff_t>(measured_));
  return lateness;
}

std::vector<float> WakeupHistory::Lateness_us() const {
  Lock lock(mutex_);
  return InOrder();
}

std::vector<float> WakeupHistory::InOrder() const {
  std::vector<float> lateness(lateness_us_.begin(), lateness_us_.end());
  std::rotate(lateness.begin(), lateness.begin() + static_cast<std::ptrdiff_t>(oldest_), lateness.end());
  return lateness;
}

std::vector<float> SpreadOf(std::span<const float> lateness_us) {
  constexpr float kLastBin = WakeupHistory::kPeriods - 1;
  std::vector<float> counts(WakeupHistory::kPeriods);
  for (const float lateness : lateness_us) ++counts[static_cast<std::size_t>(std::clamp(lateness, 0.0f, kLastBin))];
  for (float& count : counts) count = 100 * count / static_cast<float>(std::max<std::size_t>(lateness_us.size(), 1));
  return counts;
}

std::vector<float> LevelsOf(std::span<const float> lateness_us) {
  std::vector<float> levels(lateness_us.begin(), lateness_us.end());
  for (float& level : levels) level = std::max(level, kSmallestLateness_us);
  Value::Linear_to_decibel(levels.data(), levels.data(), levels.size(), 1);
  return levels;
}

}  // namespace Lumenar::Probe
