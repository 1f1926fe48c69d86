// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include "Common_Math/src/MathValue.h"

namespace Lumenar {

/// An operand that goes out of decibels before each computation and back into them after it. Either way may change its
/// last bits, and each computation goes on from there.
///
/// The numbers are those; the work is less. The way back of a trace is put off until the next computation: a sample
/// that replaces the operand meanwhile makes it unnecessary. And when one way back and out again has changed no bit of
/// a trace, the next one would not either, and the trace stays as it is from then on.
/// Threads   the caller's lock.
template <class T>
class DecibelOperand {
 public:
  explicit DecibelOperand(MathValue<T>&& value) : value_(std::move(value)) {}

  /// The next sample of the input.
  DecibelOperand& operator=(T&& sample) {
    value_ = std::move(sample);
    state_ = State::AsItCame;
    return *this;
  }

  /// The operand as it stands, for a computation: Remove_dB comes first, or the way back may be outstanding.
  const MathValue<T>& Value() const noexcept { return value_; }

  /// Takes it out of dB; false when it is not in dB.
  /// Errors   the value library's.
  bool Remove_dB() {
    if (state_ == State::Settled) return true;
    if (state_ == State::OwesTheWayBack) {
      state_ = State::AsItCame;  // if it stops half-way
      const bool unchanged = GoBackAndOut();
      state_ = unchanged ? State::Settled : State::OwesTheWayBack;
      return true;
    }
    return value_.Remove_dB();
  }

  /// The way back, after Remove_dB has returned true.
  void Add_dB() {
    if constexpr (kMayPutOff) {
      if (state_ == State::AsItCame) state_ = State::OwesTheWayBack;
    } else {
      value_.Add_dB();
    }
  }

 private:
  static constexpr bool kMayPutOff = requires(MathValue<T> & value) { value.GoThroughDecibels(); };

  enum class State {
    AsItCame,        ///< out of dB after Remove_dB, else in dB or without
    OwesTheWayBack,  ///< out of dB, where it should be in
    Settled,         ///< out of dB, and the same after each way back and out again
  };

  bool GoBackAndOut() {
    if constexpr (kMayPutOff) return value_.GoThroughDecibels();
    return false;
  }

  MathValue<T> value_;
  State state_ = State::AsItCame;
};

}  // namespace Lumenar
