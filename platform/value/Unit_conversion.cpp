// SPDX-License-Identifier: Apache-2.0
#include "platform/value/Unit_conversion.h"

#include "platform/units/exceptions.h"
#include "platform/value/conversion_table.h"
#include "platform/value/decibel_numbers.h"
#include "platform/value/scaling.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <type_traits>

namespace Lumenar::Value {
namespace {

/// Calls `visit` with the rule's function on one number, so that a loop over an array has the rule inlined.
template <class T, class Visit>
void With_rule(Number_rule rule, Visit&& visit) {
  constexpr T kOffset = T(32.0);
  constexpr T kScale = T(1.8);
  constexpr T kZero = T(273.15);
  switch (rule) {
    case Number_rule::Keep: return visit([](T v) { return v; });
    case Number_rule::Degree_C_to_F: return visit([](T v) { return kOffset + kScale * v; });
    case Number_rule::Degree_F_to_C: return visit([](T v) { return (v - kOffset) / kScale; });
    case Number_rule::Degree_C_to_K: return visit([](T v) { return v + kZero; });
    case Number_rule::Degree_F_to_K: return visit([](T v) { return (v - kOffset) / kScale + kZero; });
    case Number_rule::Kelvin_to_C: return visit([](T v) { return v - kZero; });
    case Number_rule::Kelvin_to_F: return visit([](T v) { return kOffset + (v - kZero) * kScale; });
  }
}

template <class T, class Function>
void Transform(const T* in, T* out, std::size_t count, Function function) noexcept {
  for (std::size_t i = 0; i < count; ++i) {
    out[i] = function(in[i]);
  }
}

/// base^power, correctly rounded whatever the C library: 0 and infinity outside the range of double.
double Base_to_power(double base, std::int64_t power) {
  if (base == 2.0) {
    return std::ldexp(1.0, static_cast<int>(std::min<std::int64_t>(std::max<std::int64_t>(power, -2000), 2000)));
  }
  if (power > std::numeric_limits<double>::max_exponent10) {
    return std::numeric_limits<double>::infinity();
  }
  if (power < -400) {
    return 0.0;
  }
  char text[16];
  const char* const end = fmt::format_to(text, "1e{}", power);
  double result = 0.0;
  std::from_chars(std::begin(text), end, result);
  return result;
}

double Scale_of(const Units& units, int sign) {
  if (units.base_power == 0) {
    return 1.0;
  }
  return Base_to_power(Units_library::Get_unit_base(units), std::int64_t{units.base_power} * sign);
}

/// Whether a row can concern two units, by what stands first in them: units that are equal to those of the row, or its
/// reciprocals, begin as they do.
bool Begin_as(const Conversion_row& row, Units_list from, Units_list to) {
  return row.source.slots[0].unit == from && row.target.slots[0].unit == to;
}

const Conversion_row* Find_slot_row(Units_list from, Units_list to) {
  for (const Conversion_row& row : kConversionRows) {
    if (Begin_as(row, from, to) && row.source.slots == Make_unit(from).slots &&
        row.target.slots == Make_unit(to).slots) {
      return &row;
    }
  }
  return nullptr;
}

/// Units_library::Is_Invert_units of units that are arranged already.
bool Are_reciprocal(const Units& a, const Units& b) {
  if (a.slots[0].unit == U_None) {
    return false;
  }
  return std::equal(a.slots.begin(), a.slots.end(), b.slots.begin(), [](const Unit_slot& x, const Unit_slot& y) {
    return x.unit == y.unit && std::int64_t{x.exponent} == -std::int64_t{y.exponent};
  });
}

std::int64_t Size(std::int32_t exponent) { return exponent < 0 ? -std::int64_t{exponent} : exponent; }

template <class T>
T Scaled(T number, double factor) noexcept {
  return static_cast<T>(static_cast<double>(number) * factor);
}

void Scale(const double* in, double* out, std::size_t count, double first, double second) noexcept {
  Transform(in, out, count, [first, second](double x) { return Scaled(Scaled(x, first), second); });
}

void To_decibels(const float* in, float* out, std::size_t count, double k) { Linear_to_decibel(in, out, count, k); }
void To_decibels(const double* in, double* out, std::size_t count, double k) {
  Transform(in, out, count, [k](double x) { return To_decibel(x, k); });
}

}  // namespace

template <class T>
T Convert_number(Number_rule rule, T number) noexcept {
  With_rule<T>(rule, [&number](auto function) { number = function(number); });
  return number;
}

template <class T>
Unit_conversion<T> Unit_conversion<T>::Plan(const Units& from, const Units& to) {
  const Units source = Units_library::Arrange_tuple(from);
  Unit_conversion plan;
  plan.target_ = Units_library::Arrange_packed(to);
  if constexpr (std::is_same_v<T, double>) {
    if (source == plan.target_) {
      return plan;
    }
    plan.from_dB_ = source.is_dB;
    plan.from_k_ = Units_library::Decibel_factor(source);
  }
  if (!plan.Plan_whole_unit(source)) {
    plan.Plan_slots(source);
  }
  plan.Plan_base_powers(source);
  plan.to_dB_ = plan.target_.is_dB;
  plan.to_k_ = Units_library::Decibel_factor(plan.target_);
  return plan;
}

/// A row for the whole unit, or for its reciprocal on either side. The number is that of the row, turned over when one
/// side alone is a reciprocal.
template <class T>
bool Unit_conversion<T>::Plan_whole_unit(const Units& source) {
  for (const Conversion_row& row : kConversionRows) {
    if (!Begin_as(row, source.slots[0].unit, target_.slots[0].unit)) {
      continue;
    }
    const bool source_inverse = Are_reciprocal(source, row.source);
    const bool target_inverse = Are_reciprocal(target_, row.target);
    const bool source_fits = source_inverse || source.slots == row.source.slots;
    const bool target_fits = target_inverse || target_.slots == row.target.slots;
    if (source_fits && target_fits) {
      Add_row(row.rule, source_inverse != target_inverse);
      return true;
    }
  }
  return false;
}

template <class T>
void Unit_conversion<T>::Plan_slots(const Units& source) {
  Units rest_source = source;
  Units rest_target = target_;
  for (std::size_t i = 0; i < kUnitSlots; ++i) {
    const Unit_slot& from = source.slots[i];
    const Unit_slot& to = target_.slots[i];
    if (from.unit == U_None || to.unit == U_None) {
      continue;
    }
    if (Size(from.exponent) != Size(to.exponent)) {
      throw UnitDimensionNotSame();
    }
    const Conversion_row* row = Find_slot_row(from.unit, to.unit);
    if (row != nullptr && from.exponent == to.exponent) {
      Add_row(row->rule, from.exponent < 0);
      rest_source.slots[i] = {};
      rest_target.slots[i] = {};
    }
  }
  if (rest_source.slots != rest_target.slots) {
    factor_ = Units_library::Get_conversion_factor(rest_target, rest_source);
  }
}

template <class T>
void Unit_conversion<T>::Plan_base_powers(const Units& source) {
  factor_ *= Scale_of(source, 1);
  target_factor_ = Scale_of(target_, -1);
}

template <class T>
void Unit_conversion<T>::Add_row(Number_rule rule, bool inverts) {
  rows_[row_count_++] = {rule, inverts};
}

template <class T>
bool Unit_conversion<T>::Is_identity() const noexcept {
  for (std::size_t i = 0; i < row_count_; ++i) {
    if (rows_[i].rule != Number_rule::Keep || rows_[i].inverts) {
      return false;
    }
  }
  return factor_ == 1.0 && target_factor_ == 1.0 && !Has_decibel_step();
}

template <class T>
T Unit_conversion<T>::Scale_and_level(T number) const noexcept {
  const T scaled = Scaled(Scaled(number, factor_), target_factor_);
  return to_dB_ ? To_decibel(scaled, to_k_) : scaled;
}

template <class T>
T Unit_conversion<T>::Apply(T number) const noexcept {
  if (from_dB_) {
    number = From_decibel(number, from_k_);
  }
  for (std::size_t i = 0; i < row_count_; ++i) {
    number = Convert_number(rows_[i].rule, number);
    if (rows_[i].inverts) {
      number = T(1) / number;
    }
  }
  return Scale_and_level(number);
}

template <class T>
T Unit_conversion<T>::Apply_to_error(T error) const noexcept {
  return Scale_and_level(from_dB_ ? From_decibel(error, from_k_) : error);
}

template <class T>
void Unit_conversion<T>::Apply(const T* in, T* out, std::size_t count) const noexcept {
  const auto step = [&](auto function) {
    Transform(in, out, count, function);
    in = out;
  };
  if (from_dB_) {
    step([k = from_k_](T x) { return From_decibel(x, k); });
  }
  for (std::size_t i = 0; i < row_count_; ++i) {
    With_rule<T>(rows_[i].rule, step);
    if (rows_[i].inverts) {
      step([](T x) { return T(1) / x; });
    }
  }
  if (factor_ != 1.0 || target_factor_ != 1.0 || in != out) {
    Scale(in, out, count, factor_, target_factor_);
    in = out;
  }
  if (to_dB_) {
    To_decibels(in, out, count, to_k_);
  }
}

template float Convert_number<float>(Number_rule, float) noexcept;
template double Convert_number<double>(Number_rule, double) noexcept;
template class Unit_conversion<float>;
template class Unit_conversion<double>;

}  // namespace Lumenar::Value
