// SPDX-License-Identifier: Apache-2.0
#pragma once

// The members of Value_object, for the files that instantiate it.

#include "platform/units/exceptions.h"
#include "platform/value/Unit_conversion.h"
#include "platform/value/Value_object.h"
#include "platform/value/decibel_numbers.h"
#include "platform/value/unit_meeting.h"

#include <cmath>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace Lumenar::Value {
namespace detail {

/// The rule by which two errors are stored.
template <class T>
void Sort_errors(const T& first, const T& second, T& minus_err, T& plus_err) {
  std::tie(minus_err, plus_err) = second > first ? std::pair(first, second) : std::pair(second, first);
}

/// The three numbers of a value on their way through a calculation.
template <class T>
struct Numbers {
  T value;
  T minus_err;
  T plus_err;

  explicit Numbers(const Value_object<T>& source)
      : value(source.Get_value()), minus_err(source.Get_minus_err()), plus_err(source.Get_plus_err()) {}

  void Sort() { Sort_errors(T(minus_err), T(plus_err), minus_err, plus_err); }

  template <class Function>
  void Each(Function function) {
    value = function(value);
    minus_err = function(minus_err);
    plus_err = function(plus_err);
  }

  /// Number by number: value with value, error with error.
  template <class Function>
  void Each_with(const Numbers& other, Function function) {
    value = function(value, other.value);
    minus_err = function(minus_err, other.minus_err);
    plus_err = function(plus_err, other.plus_err);
  }

  void Make_linear(double k) {
    Each([k](T x) { return From_decibel(x, k); });
  }

  void Make_decibel(double k) {
    Each([k](T x) { return To_decibel(x, k); });
  }

  /// Given in this order, sorted errors and a NaN keep their places; errors that a negative k turned round are sorted.
  Value_object<T> With(const Units& unit) const { return Value_object<T>(value, unit, plus_err, minus_err); }
};

inline Units Linear_unit(Units unit) {
  unit.is_dB = false;
  return unit;
}

/// A copy with the errors sorted once more, as each operator starts: that matters for a NaN only, which changes sides.
template <class T>
Value_object<T> Sorted(const Value_object<T>& source) {
  return {source.Get_value(), source.Get_unit(), source.Get_minus_err(), source.Get_plus_err()};
}

/// The linear value behind a value, its unit too; a linear one as it is.
template <class T>
Value_object<T> Linear(const Value_object<T>& source) {
  if (!source.Get_unit().is_dB) {
    return source;
  }
  return Numbers<T>(Value_object<T>::Normalize_DB(source)).With(Linear_unit(source.Get_unit()));
}

/// One row of the conversion table: the errors stay as they are.
template <class T>
Value_object<T> Convert_by_rule(Number_rule rule, const Value_object<T>& source, const Units& target) {
  return {Convert_number(rule, source.Get_value()), target, source.Get_minus_err(), source.Get_plus_err()};
}

/// The linear value in another unit; untouched, not just converted, when that is its own.
template <class T>
Value_object<T> Linear_in(const Value_object<T>& source, const Units& target) {
  const Value_object<T> linear = Linear(source);
  return Units_library::Compare_units(linear.Get_unit(), target, true) ? linear : linear.Convert_to(target);
}

/// a + b and a - b: `function` combines two numbers.
template <class T, class Function>
Numbers<T> Combine(const Value_object<T>& a, const Value_object<T>& b, Function function) try {
  const Units unit = a.Get_unit();
  const Meeting meeting = How_units_meet(unit, b.Get_unit(), Combination::Sum);
  const bool linear = meeting == Meeting::LinearBoth;
  const Units common = linear ? Linear_unit(unit) : unit;
  Numbers<T> result(linear ? Linear(Sorted(a)) : Sorted(a));
  result.Each_with(Numbers<T>(meeting == Meeting::AsTheyAre ? Sorted(b) : Linear_in(Sorted(b), common)), function);
  result.Sort();
  if (linear && unit.is_dB) {
    result.Make_decibel(Units_library::Decibel_factor(unit));
    result.Sort();
  }
  return result;
} catch (const UnitDimensionNotSame&) {
  throw UnitDimensionNotProper();
}

}  // namespace detail

template <class T>
Value_object<T>::Value_object(const T& value, const Units& unit, const T& error_a, const T& error_b) {
  Set(value, unit, error_a, error_b);
}

template <class T>
void Value_object<T>::Set(const T& value, const Units& unit, const T& error_a, const T& error_b) {
  unit_ = Units_library::Arrange_packed(unit);
  value_ = value;
  detail::Sort_errors(T(error_a), T(error_b), minus_err_, plus_err_);
}

template <class T>
Value_object<T> Value_object<T>::Convert_to(const Units& target) const {
  const auto plan = Unit_conversion<T>::Plan(unit_, target);
  Value_object result;
  result.value_ = plan.Apply(value_);
  result.minus_err_ = plan.Apply_to_error(minus_err_);
  result.plus_err_ = plan.Apply_to_error(plus_err_);
  result.unit_ = plan.Get_target();
  if (plan.Has_decibel_step()) {
    detail::Sort_errors(T(result.minus_err_), T(result.plus_err_), result.minus_err_, result.plus_err_);
  }
  return result;
}

template <class T>
Value_object<T> Value_object<T>::Normalize_DB(const Value_object& source) {
  detail::Numbers<T> numbers(source);
  numbers.Sort();
  if (source.unit_.is_dB) {
    numbers.Make_linear(Units_library::Decibel_factor(source.unit_));
  }
  return numbers.With(source.unit_);
}

template <class T>
Value_object<T> Value_object<T>::Apply_DB(const Value_object& source) {
  detail::Numbers<T> numbers(source);
  numbers.Sort();
  if (source.unit_.is_dB) {
    numbers.Make_decibel(Units_library::Decibel_factor(source.unit_));
  }
  return numbers.With(source.unit_);
}

template <class T>
void Value_object<T>::Is_value_in_range(const Value_object& value) {
  if (!std::isfinite(value.value_) || std::isnan(value.plus_err_) || std::isnan(value.minus_err_)) {
    throw std::out_of_range("Value is out of range");
  }
}

template <class T>
Value_object<T> Value_object<T>::Power_conversion(const Value_object& source, const Units& target) {
  return detail::Convert_by_rule(Number_rule::Keep, source, target);
}

/// Takes the target as it is given, neither arranged nor checked: the one function of the table that does.
template <class T>
Value_object<T> Value_object<T>::Convert_degreeC_to_degreeF(const Value_object& source, const Units& target) {
  Value_object result;
  result.value_ = Convert_number(Number_rule::Degree_C_to_F, source.value_);
  detail::Sort_errors(source.minus_err_, source.plus_err_, result.minus_err_, result.plus_err_);
  result.unit_ = target;
  return result;
}

template <class T>
Value_object<T> Value_object<T>::Convert_degreeF_to_degreeC(const Value_object& source, const Units& target) {
  return detail::Convert_by_rule(Number_rule::Degree_F_to_C, source, target);
}

template <class T>
Value_object<T> Value_object<T>::Convert_degreeC_to_kelvin(const Value_object& source, const Units& target) {
  return detail::Convert_by_rule(Number_rule::Degree_C_to_K, source, target);
}

template <class T>
Value_object<T> Value_object<T>::Convert_degreeF_to_kelvin(const Value_object& source, const Units& target) {
  return detail::Convert_by_rule(Number_rule::Degree_F_to_K, source, target);
}

template <class T>
Value_object<T> Value_object<T>::Convert_kelvin_to_degreeC(const Value_object& source, const Units& target) {
  return detail::Convert_by_rule(Number_rule::Kelvin_to_C, source, target);
}

template <class T>
Value_object<T> Value_object<T>::Convert_kelvin_to_degreeF(const Value_object& source, const Units& target) {
  return detail::Convert_by_rule(Number_rule::Kelvin_to_F, source, target);
}

template <class T>
Value_object<T>& Value_object<T>::operator*=(const T& factor) {
  detail::Numbers<T> numbers(Normalize_DB(detail::Sorted(*this)));
  numbers.Each([&factor](T x) { return x * factor; });
  numbers.Sort();
  if (unit_.is_dB) {
    numbers.Make_decibel(Units_library::Decibel_factor(unit_));
    numbers.Sort();
  }
  return *this = numbers.With(unit_);
}

template <class T>
Value_object<T>& Value_object<T>::operator/=(const T& divisor) {
  detail::Numbers<T> numbers(Normalize_DB(detail::Sorted(*this)));
  numbers.Each([&divisor](T x) { return x / divisor; });
  numbers.Sort();
  Is_value_in_range(numbers.With(unit_));
  if (unit_.is_dB) {
    numbers.Make_decibel(Units_library::Decibel_factor(unit_));
    numbers.Sort();
  }
  return *this = numbers.With(unit_);
}

template <class T>
Value_object<T>& Value_object<T>::operator+=(const Value_object& other) {
  return *this = detail::Combine(*this, other, [](T x, T y) { return x + y; }).With(unit_);
}

template <class T>
Value_object<T>& Value_object<T>::operator-=(const Value_object& other) {
  return *this = detail::Combine(*this, other, [](T x, T y) { return x - y; }).With(unit_);
}

template <class T>
bool Value_object<T>::operator<(const Value_object& other) const {
  if (Units_library::Compare_units(unit_, other.unit_, true)) {
    return value_ < other.value_;
  }
  const Value_object linear = detail::Linear(*this);
  return linear.value_ < detail::Linear_in(other, linear.unit_).value_;
}

template <class T>
Value_object<T> Relative_sub(const Value_object<T>& a, const Value_object<T>& b) {
  const Units unit = a.Get_unit();
  const Meeting meeting = How_units_meet(unit, b.Get_unit(), Combination::LevelDifference);
  const Value_object<T> subtrahend = detail::Sorted(b);
  detail::Numbers<T> difference(detail::Sorted(a));
  difference.Each_with(
      detail::Numbers<T>(meeting == Meeting::AsTheyAre ? subtrahend : detail::Linear(subtrahend).Convert_to(unit)),
      [](T x, T y) { return x - y; });
  difference.Sort();
  return difference.With(unit);
}

}  // namespace Lumenar::Value
