// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/SampleFigures.h"

#include <algorithm>

namespace Lumenar {

// The time goes first: who sees the number sees a time that belongs to it or to a later one.
void SampleFigures::Counter::Count(Time now) noexcept {
  last_.store(now, std::memory_order_relaxed);
  number_.fetch_add(1, std::memory_order_release);
}

SampleFigures::Counted SampleFigures::Counter::At(Time now) const noexcept {
  const std::uint64_t number = number_.load(std::memory_order_acquire);
  if (number == 0) return {};
  const auto age = std::chrono::duration_cast<std::chrono::microseconds>(now - Last()).count();
  return {number, static_cast<std::uint64_t>(std::max<std::chrono::microseconds::rep>(age, 0))};
}

void SampleFigures::ResultCame(Time now) noexcept {
  const std::uint64_t before = results_.At(now).number;
  if (before > 0) {
    const double interval = std::chrono::duration<double, std::micro>(now - results_.Last()).count();
    const double mean = IntervalMicroseconds();
    const double share = 1.0 / static_cast<double>(std::min(before, kIntervals));
    interval_us_.store(mean + (std::max(interval, 0.0) - mean) * share, std::memory_order_relaxed);
  }
  results_.Count(now);
}

}  // namespace Lumenar
