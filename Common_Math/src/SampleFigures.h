// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace Lumenar {

/// How often the samples of a math object come and its results go, for reports. Kept on the road of each sample by a
/// few stores, without a lock.
///
/// A result counts as of the time at which the sample came that it was computed for, so that the clock is read once a
/// sample.
/// Threads   any for the samples and for reading; results come one after another.
class SampleFigures {
 public:
  using Time = std::chrono::steady_clock::time_point;
  static constexpr std::size_t kMostInputs = 3;  ///< of one object

  /// Of intervals between results, the mean counts this many alike; from then on a new one counts as one of so many.
  static constexpr std::uint64_t kIntervals = 8;

  struct Counted {
    std::uint64_t number = 0;
    std::uint64_t age_us = 0;  ///< since the last one; 0 before the first
  };

  void SampleCame(std::size_t input, Time now) noexcept { inputs_[input].Count(now); }
  void ResultCame(Time now) noexcept;

  Counted Samples(std::size_t input, Time now) const noexcept { return inputs_[input].At(now); }
  Counted Results(Time now) const noexcept { return results_.At(now); }

  /// The mean interval between results, the later ones counting more; 0 before the second.
  double IntervalMicroseconds() const noexcept { return interval_us_.load(std::memory_order_relaxed); }

 private:
  class Counter {
   public:
    void Count(Time now) noexcept;
    Counted At(Time now) const noexcept;
    Time Last() const noexcept { return last_.load(std::memory_order_relaxed); }

   private:
    std::atomic<Time> last_{Time{}};
    std::atomic<std::uint64_t> number_{0};
  };

  std::array<Counter, kMostInputs> inputs_;
  Counter results_;
  std::atomic<double> interval_us_{0};
};

}  // namespace Lumenar
