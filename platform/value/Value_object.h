// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/units/Units.h"

namespace Lumenar::Value {

/// A number with a unit and an asymmetric error band. Instantiated for float (samples of a trace) and double (scalars),
/// in Value_object_float.cpp and Value_object_double.cpp.
///
/// Invariant  minus_err is not greater than plus_err: two errors are sorted whenever they are stored (of equal errors,
///            or with a NaN, the one given second goes into minus_err).
/// Threads    a value; all static and const functions are pure.
template <class T>
class Value_object {
 public:
  /// 0 without unit and errors.
  Value_object() = default;

  /// Errors   OperationNotValid for a malformed unit (a gap between its slots).
  Value_object(const T& value, const Units& unit, const T& error_a, const T& error_b);

  void Set(const T& value, const Units& unit, const T& error_a, const T& error_b);

  const T& Get_value() const noexcept { return value_; }
  const T& Get_minus_err() const noexcept { return minus_err_; }
  const T& Get_plus_err() const noexcept { return plus_err_; }
  Units Get_unit() const noexcept { return unit_; }

  /// The value in another unit.
  ///
  /// float:  the numbers are scaled as if linear even when this unit is in dB: whoever holds dB calls Normalize_DB
  ///         first. A target in dB turns the scaled numbers into dB.
  /// double: the decibel flags of both sides count. When only this unit is in dB, the numbers are made linear; when
  ///         only the target is, they are turned into dB; when both are, they go through linear, unless the units are
  ///         the same in every respect: then they stay as they are.
  /// Errors  UnitDimensionNotSame; OperationNotValid for a malformed target.
  Value_object Convert_to(const Units& target) const;

  /// dB numbers turned linear: k * 10^(x/10), k = Units_library::Decibel_factor. The unit stays, is_dB included; a
  /// linear value comes back as it is. Not the inverse of Apply_DB where k is not 1.
  static Value_object Normalize_DB(const Value_object& source);

  /// Linear numbers of a unit that is marked as in dB turned into dB: 10 * k * log10(x). The unit stays; a value whose
  /// unit is not in dB comes back as it is.
  static Value_object Apply_DB(const Value_object& source);

  /// Errors   std::out_of_range "Value is out of range" for a value that is not finite or an error that is NaN.
  static void Is_value_in_range(const Value_object& value);

  /// Rows of the conversion table: the number in the target unit; the errors are carried over unscaled.
  static Value_object Power_conversion(const Value_object& source, const Units& target);
  static Value_object Convert_degreeC_to_degreeF(const Value_object& source, const Units& target);
  static Value_object Convert_degreeF_to_degreeC(const Value_object& source, const Units& target);
  static Value_object Convert_degreeC_to_kelvin(const Value_object& source, const Units& target);
  static Value_object Convert_degreeF_to_kelvin(const Value_object& source, const Units& target);
  static Value_object Convert_kelvin_to_degreeC(const Value_object& source, const Units& target);
  static Value_object Convert_kelvin_to_degreeF(const Value_object& source, const Units& target);

  /// Scaling on linear numbers: a value in dB is taken to linear, scaled, and brought back. Division checks the linear
  /// result with Is_value_in_range and leaves this object unchanged when it throws; multiplication checks nothing.
  Value_object& operator*=(const T& factor);
  Value_object& operator/=(const T& divisor);

  /// Two values in dB of the same unit: the dB numbers are added (a level plus a gain). Linear ones: the numbers; an
  /// operand in another unit of the same dimension is converted first; of one in dB and one linear, the dB one is made
  /// linear, and the result takes this object's form.
  /// Errors   UnitDimensionNotProper when the units cannot be brought together; this object is not changed.
  Value_object& operator+=(const Value_object& other);
  Value_object& operator-=(const Value_object& other);

  /// By value; the other operand is brought into this object's unit when the units differ.
  /// Errors   UnitDimensionNotSame.
  bool operator<(const Value_object& other) const;

 private:
  T minus_err_{};
  T plus_err_{};
  T value_{};
  Units unit_{};
};

/// The difference of two levels, at least one of them in dB, in a's unit; the errors are subtracted pairwise.
/// Errors   OperationNotValid when neither is in dB; then MissingUnitInFirstParameter when a has no unit;
///          UnitDimensionNotSame.
template <class T>
Value_object<T> Relative_sub(const Value_object<T>& a, const Value_object<T>& b);

extern template class Value_object<float>;
extern template class Value_object<double>;
extern template Value_object<float> Relative_sub<float>(const Value_object<float>&, const Value_object<float>&);
extern template Value_object<double> Relative_sub<double>(const Value_object<double>&, const Value_object<double>&);

}  // namespace Lumenar::Value
