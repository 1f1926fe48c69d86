// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <vector>

#include "platform/units/exceptions.h"
#include "platform/value/Unit_conversion.h"
#include "platform/value/Value_object.h"
#include "tests/fuzz/Violation.h"
#include "tests/fuzz/targets.h"
#include "tests/fuzz/units_input.h"

namespace Lumenar::Fuzz {
namespace {

using Value::Units;
using Value::Units_library;
using Value::Value_object;

/// The same bits; one NaN is as good as another.
template <class T>
bool Same(T a, T b) {
  return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

template <class T>
bool Same(const Value_object<T>& a, const Value_object<T>& b) {
  return Same(a.Get_value(), b.Get_value()) && Same(a.Get_minus_err(), b.Get_minus_err()) &&
         Same(a.Get_plus_err(), b.Get_plus_err()) && a.Get_unit() == b.Get_unit();
}

/// What every value holds, however it came about.
template <class T>
void CheckForm(const Value_object<T>& value) {
  Require(!(value.Get_minus_err() > value.Get_plus_err()), "errors are sorted");
  Require(Units_library::Is_packed(value.Get_unit()), "a value's units are packed");
  Require(Units_library::Arrange_tuple(value.Get_unit()) == value.Get_unit(), "a value's units are arranged");
}

template <class T>
std::optional<Value_object<T>> TakeValue(Input& input) {
  const Units unit = VALUE::UnitsFromCorba(TakeUnits(input));
  const T number = input.Take<T>();
  const T first = input.Take<T>();
  const T second = input.Take<T>();
  try {
    return Value_object<T>(number, unit, first, second);
  } catch (const Value::OperationNotValid&) {
    return std::nullopt;
  }
}

template <class T>
std::optional<Value_object<T>> Converted(const Value_object<T>& value, const Units& target) {
  try {
    return value.Convert_to(target);
  } catch (const Value::UnitDimensionNotSame&) {
    return std::nullopt;
  }
}

/// Temperatures have a zero point, which the factor of a power of ten does not move: no way back for them.
bool HasTemperature(const Units& units) {
  for (const auto& slot : units.slots) {
    if (slot.unit == Value::U_DegreeC || slot.unit == Value::U_DegreeF || slot.unit == Value::U_Kelvin) return true;
  }
  return false;
}

/// Units of one dimension, so that no row of the conversion table turns the number over.
bool SameDimension(const Units& a, const Units& b) {
  try {
    Units_library::Get_conversion_factor(a, b);
    return true;
  } catch (const Value::UnitDimensionNotSame&) {
    return false;
  }
}

template <class T>
void CheckThereAndBack(const Value_object<T>& value, const Units& target) {
  const Units unit = value.Get_unit();
  if (unit.is_dB || target.is_dB || HasTemperature(unit) || !SameDimension(unit, target)) return;
  const auto there = Converted(value, target);
  const auto back = there ? Converted(*there, unit) : std::nullopt;
  if (!back || !std::isnormal(there->Get_value()) || !std::isnormal(back->Get_value())) return;
  const double expected = static_cast<double>(value.Get_value());
  const double tolerance = sizeof(T) == sizeof(float) ? 1e-5 : 1e-12;
  // The way may lead through numbers that the type cannot hold.
  const double factor = Units_library::Get_conversion_factor(target, unit);
  const auto is_large = [](std::int32_t power) { return power < -15 || power > 15; };
  if (is_large(unit.base_power) || is_large(target.base_power) || std::abs(std::log10(factor)) > 5) return;
  if (std::abs(expected) > 1e2 || std::abs(expected) < 1e-2) return;
  Require(std::abs(static_cast<double>(back->Get_value()) - expected) <= tolerance * std::abs(expected),
          "a conversion there and back gives the number again");
}

template <class T>
void CheckConversion(const Value_object<T>& value, const Units& target) {
  const auto converted = Converted(value, target);
  if (!converted) return;
  CheckForm(*converted);
  Require(converted->Get_unit() == Units_library::Arrange_tuple(target), "a converted value has the target's units");
  const auto plan = Value::Unit_conversion<T>::Plan(value.Get_unit(), target);
  std::vector<T> numbers(17, value.Get_value());
  plan.Apply(numbers.data(), numbers.data(), numbers.size());
  for (const T number : numbers) Require(Same(number, converted->Get_value()), "an array converts as a number does");
  Require(!plan.Is_identity() || Same(converted->Get_value(), value.Get_value()), "an identity changes nothing");
  CheckThereAndBack(value, target);
}

/// Applies an operator; false when the operands were refused, which must leave the first as it was.
template <class T, class Function>
bool Applies(Value_object<T>& value, Function function) {
  const Value_object<T> before = value;
  try {
    function(value);
    CheckForm(value);
    Require(value.Get_unit() == before.Get_unit(), "an operator keeps the first operand's units");
    return true;
  } catch (const Value::UnitDimensionNotProper&) {
  } catch (const std::out_of_range&) {}
  Require(Same(value, before), "a refused operation changes nothing");
  return false;
}

template <class T>
void CheckSum(const Value_object<T>& a, const Value_object<T>& b) {
  Value_object<T> sum = a;
  Value_object<T> difference = a;
  const bool added = Applies(sum, [&](auto& value) { value += b; });
  const bool subtracted = Applies(difference, [&](auto& value) { value -= b; });
  Require(added == subtracted, "what can be added can be subtracted");
  if (!added || !Units_library::Compare_units(a.Get_unit(), b.Get_unit(), true)) return;
  Require(Same(sum.Get_value(), T(a.Get_value() + b.Get_value())), "of one unit the numbers are added");
  Require(Same(difference.Get_value(), T(a.Get_value() - b.Get_value())), "of one unit the numbers are subtracted");
}

template <class T>
void CheckScaling(const Value_object<T>& value, T factor) {
  Value_object<T> product = value;
  Require(Applies(product, [&](auto& scaled) { scaled *= factor; }), "a product is never refused");
  Value_object<T> quotient = value;
  const bool divided = Applies(quotient, [&](auto& scaled) { scaled /= factor; });
  Require(!divided || factor != 0 || value.Get_unit().is_dB, "a division by zero is refused");
  if (value.Get_unit().is_dB) return;
  Require(Same(product.Get_value(), T(value.Get_value() * factor)), "a linear number is multiplied as it is");
  Require(!divided || std::isfinite(quotient.Get_value()), "a quotient is finite");
}

template <class T>
void CheckOrder(const Value_object<T>& a, const Value_object<T>& b) {
  Require(!(a < a), "no value is less than itself");
  try {
    const bool less = a < b;
    const bool same_unit = Units_library::Compare_units(a.Get_unit(), b.Get_unit(), true);
    Require(!same_unit || less == (a.Get_value() < b.Get_value()), "of one unit the numbers are compared");
  } catch (const Value::UnitDimensionNotSame&) {}
}

template <class T>
void CheckRelative(const Value_object<T>& a, const Value_object<T>& b) {
  const bool level = a.Get_unit().is_dB || b.Get_unit().is_dB;
  const bool unit_less = a.Get_unit().slots[0].unit == Value::U_None;
  try {
    const Value_object<T> difference = Relative_sub(a, b);
    Require(level && !unit_less, "a relative difference needs a level, and a unit in front");
    Require(difference.Get_unit() == a.Get_unit(), "a relative difference has the first operand's units");
    CheckForm(difference);
  } catch (const Value::OperationNotValid&) {
    Require(!level, "levels have a relative difference");
  } catch (const Value::MissingUnitInFirstParameter&) {
    Require(level && unit_less, "a unit is missed where there is none");
  } catch (const Value::UnitDimensionNotSame&) {
    Require(level && !unit_less, "dimensions are compared last");
  }
}

template <class T>
void CheckPair(Input& input) {
  const auto a = TakeValue<T>(input);
  const auto b = TakeValue<T>(input);
  if (!a || !b) return;
  CheckForm(*a);
  CheckForm(Value_object<T>::Normalize_DB(*a));
  CheckForm(Value_object<T>::Apply_DB(*a));
  CheckConversion(*a, b->Get_unit());
  CheckConversion(*a, a->Get_unit());
  CheckSum(*a, *b);
  CheckScaling(*a, b->Get_value());
  CheckOrder(*a, *b);
  CheckRelative(*a, *b);
}

}  // namespace

void Values(Bytes input) {
  Input rest(input);
  if (rest.TakeBool()) {
    CheckPair<float>(rest);
  } else {
    CheckPair<double>(rest);
  }
}

}  // namespace Lumenar::Fuzz
