// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "judge/Units.h"

namespace Lumenar::Judge {

/// A number with its unit and two errors: a sample of a trace (float) or a scalar (double).
///
/// Two errors are sorted whenever a number is stored: if the second given is the greater one, the first becomes the
/// minus error, else the other way round. So of equal errors, and with a NaN, the second becomes the minus error.
template <class T>
struct Number {
  Number() = default;
  /// Errors   Refused NotValid for a malformed unit.
  Number(T number, const Units& unit, T first_error, T second_error);

  T value{};
  T minus_err{};
  T plus_err{};
  Units units;
};

/// The number in another unit, see Conversion. The errors are sorted where it goes through decibels.
/// Errors   those of Conversion.
template <class T>
Number<T> Converted(const Number<T>& number, const Units& target);

/// Decibels made linear, in all three numbers. The unit stays, its decibel flag included.
template <class T>
Number<T> Normalized(const Number<T>& number);

/// a + b and a - b in a's unit, value with value and error with error. As they stand: numbers of one unit in every
/// respect; decibels of one unit, whatever its prefix; a plain gain in dB on a level. Else b is converted into a's
/// unit; where one of the two is in decibels, both are made linear for it and the result takes a's form.
/// Errors   Refused NotProper where units cannot be brought together.
template <class T>
Number<T> Sum(const Number<T>& a, const Number<T>& b);
template <class T>
Number<T> Difference(const Number<T>& a, const Number<T>& b);

/// a * factor, a / divisor; of decibels, through linear.
/// Errors   of the quotient: Refused OutOfRange when the linear value is not finite, or an error is NaN.
template <class T>
Number<T> Product(const Number<T>& a, T factor);
template <class T>
Number<T> Quotient(const Number<T>& a, T divisor);

/// The difference of two levels, as they stand, in a's unit. b is brought into a's unit when it has another one.
/// Errors   Refused NotValid when neither is in decibels; then MissingUnit when a has no unit; NotSame.
template <class T>
Number<T> LevelDifference(const Number<T>& a, const Number<T>& b);

/// Whether a is less than b: as they stand in one unit, else linear in a's.
/// Errors   Refused NotSame.
template <class T>
bool IsLess(const Number<T>& a, const Number<T>& b);

}  // namespace Lumenar::Judge
