// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/units/Units.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Lumenar::Value {

/// What a row of the conversion table does to a number.
enum class Number_rule : std::uint8_t {
  Keep,
  Degree_C_to_F,
  Degree_F_to_C,
  Degree_C_to_K,
  Degree_F_to_K,
  Kelvin_to_C,
  Kelvin_to_F,
};

/// One number by one rule, computed in T.
template <class T>
T Convert_number(Number_rule rule, T number) noexcept;

/// What Value_object<T>::Convert_to does to the numbers between two units: planned once, applied to any count of them.
/// Convert_to itself works through this class, so that a whole trace and a single value give the same bits.
///
/// The steps, in order:
/// 1. double only: a source in dB is made linear, k * 10^(x/10);
/// 2. rows of the conversion table; they leave errors as they are. Either one row for the whole unit, or one for each
///    slot that has a row of its own against the slot at the same place in the target: the row's rule as if the number
///    were in that slot's unit alone, then 1/number when the slot's exponent is negative. A slot that a row converted
///    takes no part in the factor of step 3;
/// 3. the number times the factor (with base^base_power of the source), in double, stored as T;
/// 4. the number times base^-base_power of the target, in double, stored as T;
/// 5. a target in dB: 10 * k * log10(x).
///
/// Threads    a value; all const functions are pure.
template <class T>
class Unit_conversion {
 public:
  /// Changes nothing.
  Unit_conversion() = default;

  /// Errors   UnitDimensionNotSame; OperationNotValid for a malformed unit.
  static Unit_conversion Plan(const Units& from, const Units& to);

  /// The target, arranged.
  const Units& Get_target() const noexcept { return target_; }

  /// True when every number comes out with the bits that went in.
  bool Is_identity() const noexcept;

  /// True when the numbers go out of or into dB, which can change the order of two errors.
  bool Has_decibel_step() const noexcept { return from_dB_ || to_dB_; }

  T Apply(T number) const noexcept;

  /// As Apply, without the rows of step 2.
  T Apply_to_error(T error) const noexcept;

  /// A whole array, bit for bit Apply at every index.
  /// Shape    any length; `in` and `out` are the same pointer or do not overlap.
  void Apply(const T* in, T* out, std::size_t count) const noexcept;

 private:
  struct Row_step {
    Number_rule rule = Number_rule::Keep;
    bool inverts = false;
  };

  bool Plan_whole_unit(const Units& source);
  void Plan_slots(const Units& source);
  void Plan_base_powers(const Units& source);
  void Add_row(Number_rule rule, bool inverts);
  T Scale_and_level(T number) const noexcept;

  Units target_{};
  std::array<Row_step, kUnitSlots> rows_{};
  std::size_t row_count_ = 0;
  double factor_ = 1.0;
  double target_factor_ = 1.0;
  double from_k_ = 1.0;
  double to_k_ = 1.0;
  bool from_dB_ = false;
  bool to_dB_ = false;
};

extern template float Convert_number<float>(Number_rule, float) noexcept;
extern template double Convert_number<double>(Number_rule, double) noexcept;
extern template class Unit_conversion<float>;
extern template class Unit_conversion<double>;

}  // namespace Lumenar::Value
