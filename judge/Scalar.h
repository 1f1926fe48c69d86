// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VALUE_DOUBLE.hh"
#include "judge/Number.h"

namespace Lumenar::Judge {

/// A scalar by the rules, with what operations do to it under the same names as to a trace.
/// Errors   those of the rules for numbers; the scalar then stays as it was.
class Scalar {
 public:
  using Record = Corvanta::VALUE_DOUBLE::VALUE;

  explicit Scalar(const Record& record)
      : number(record.val, FromRecord(record.units), record.minus_err, record.plus_err) {}
  explicit Scalar(const Number<double>& value) : number(value) {}

  /// As a trace's: there is nothing to let go of.
  void ForgetValues() const {}

  /// Into decibels, whatever the number is: -inf for 0, NaN for a negative one.
  void AddDecibels() { number = Converted(number, DecibelForm(number.units)); }

  /// Out of decibels; false where it is not in them, and where it is plain dB, which has no linear form.
  bool RemoveDecibels() {
    if (!number.units.is_dB || SameUnit(number.units, Units{})) return false;
    number = Converted(number, LinearForm(number.units));
    return true;
  }

  /// Sum and difference in this one's unit.
  void Add(const Scalar& other) { number = Converted(Sum(number, other.number), number.units); }
  void Subtract(const Scalar& other) { number = Converted(Difference(number, other.number), number.units); }
  void SubtractLevels(const Scalar& other) { number = LevelDifference(number, other.number); }
  void Multiply(int factor) { number = Product(number, static_cast<double>(factor)); }
  void Divide(int divisor) { number = Quotient(number, static_cast<double>(divisor)); }

  /// Becomes the other, with its unit and errors, where that is larger; equal ones stay.
  void KeepLarger(const Scalar& other) {
    if (IsLess(number, other.number)) number = other.number;
  }

  Record ToRecord() const { return {Judge::ToRecord(number.units), number.minus_err, number.plus_err, number.value}; }

  Number<double> number;
};

}  // namespace Lumenar::Judge
