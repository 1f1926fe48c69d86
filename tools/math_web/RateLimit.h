// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <chrono>

namespace Lumenar::Web {

/// Lets so many through a second, and so many at once after a pause.
/// Threads  one at a time.
class RateLimit {
 public:
  using Clock = std::chrono::steady_clock;

  RateLimit(double per_second, double at_once) : per_second_(per_second), at_once_(at_once), left_(at_once) {}

  /// Whether one more may pass now.
  bool Take(Clock::time_point now) {
    if (now > last_)
      left_ = std::min(at_once_, left_ + std::chrono::duration<double>(now - last_).count() * per_second_);
    last_ = std::max(last_, now);
    if (left_ < 1) return false;
    left_ -= 1;
    return true;
  }

 private:
  const double per_second_;
  const double at_once_;
  double left_;
  Clock::time_point last_{};
};

}  // namespace Lumenar::Web
