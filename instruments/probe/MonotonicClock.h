// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace Lumenar::Probe {

/// A clock that only goes forward, and a way to sleep by it.
class MonotonicClock {
 public:
  virtual ~MonotonicClock() = default;

  virtual std::int64_t Now_ns() = 0;

  /// Returns at `deadline_ns` or later; at once when it has passed.
  virtual void SleepUntil(std::int64_t deadline_ns) = 0;
};

/// CLOCK_MONOTONIC, with absolute sleeps: being late once delays no later wake-up.
class SystemClock : public MonotonicClock {
 public:
  std::int64_t Now_ns() override;
  void SleepUntil(std::int64_t deadline_ns) override;
};

}  // namespace Lumenar::Probe
