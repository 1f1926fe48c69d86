// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace Corvanta {

/// Says when a peer that went away may be tried again: one try at a time, each 250 ms at most, and more rarely where a
/// try itself takes long, so that trying costs no more than a fifth of the time.
/// Threads   the caller's lock.
class Breaker {
 public:
  using Time = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::milliseconds kPause{250};
  static constexpr std::chrono::seconds kLongestPause{10};

  /// The peer went away. `at_once`: it answered with a refusal, so that the next try costs nothing and may come now.
  void WentAway(Time now, bool at_once);

  /// Whether a try may begin now; if so it has begun, and Failed or CameBack must follow.
  bool BeginTry(Time now);

  /// Begins a try that cannot be put off.
  void BeginUrgentTry(Time now);

  /// Whether a try has begun and not ended.
  bool IsTrying() const noexcept { return trying_; }

  void Failed(Time now);
  void CameBack();

 private:
  Time next_try_{};
  Time begun_{};
  bool trying_ = false;
};

}  // namespace Corvanta
