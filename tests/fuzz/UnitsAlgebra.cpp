// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <optional>

#include "platform/units/exceptions.h"
#include "tests/fuzz/Violation.h"
#include "tests/fuzz/targets.h"
#include "tests/fuzz/units_input.h"

namespace Lumenar::Fuzz {
namespace {

using Value::Units;
using Value::Units_library;

std::optional<Units> Arranged(const Units& units) {
  try {
    return Units_library::Arrange_tuple(units);
  } catch (const Value::OperationNotValid&) {
    return std::nullopt;
  }
}

void CheckOne(const Corvanta::VALUE_UNITS::Units& record) {
  const Units units = VALUE::UnitsFromCorba(record);
  Require(VALUE::UnitsFromCorba(VALUE::UnitsToCorba(units)) == units, "a record carries units there and back");
  const double base = Units_library::Get_unit_base(units);
  Require(base == 2 || base == 10, "the base is 2 or 10");
  Require(std::isfinite(Units_library::Decibel_factor(units)), "the decibel factor is finite");
  const auto arranged = Arranged(units);
  if (!arranged) return;
  Require(Arranged(*arranged) == arranged, "arranging twice is arranging once");
  Require(Units_library::Is_packed(*arranged) == Units_library::Is_packed(units), "arranging closes no gap");
  Require(Units_library::Compare_units(units, *arranged, true), "units equal their arrangement");
}

std::optional<double> Factor(const Units& to, const Units& from) {
  try {
    return Units_library::Get_conversion_factor(to, from);
  } catch (const Value::UnitDimensionNotSame&) {
    return std::nullopt;
  }
}

void CheckFactors(const Units& a, const Units& b) {
  const auto there = Factor(b, a);
  const auto back = Factor(a, b);
  Require(there.has_value() == back.has_value(), "units convert both ways or neither");
  if (!there || !std::isnormal(*there) || !std::isnormal(*back)) return;
  Require(*there > 0, "a factor is positive");
  Require(std::abs(*there * *back - 1) < 1e-9, "the factors of there and back cancel");
}

void CheckPair(const Units& a, const Units& b) {
  if (!Arranged(a) || !Arranged(b)) return;
  for (const bool exact : {false, true}) {
    Require(Units_library::Compare_units(a, b, exact) == Units_library::Compare_units(b, a, exact),
            "to be the same unit goes both ways");
    Require(Units_library::Compare_units_DB(a, b, exact) == Units_library::Compare_units_DB(b, a, exact),
            "to be the same unit, decibels included, goes both ways");
  }
  Require(!Units_library::Compare_units(a, b, true) || Units_library::Compare_units(a, b, false),
          "the same in every respect is the same");
  Require(Units_library::Is_Invert_units(a, b) == Units_library::Is_Invert_units(b, a),
          "to be a reciprocal goes both ways");
  CheckFactors(a, b);
}

}  // namespace

void UnitsAlgebra(Bytes input) {
  Input rest(input);
  const auto first = TakeUnits(rest);
  const auto second = TakeUnits(rest);
  CheckOne(first);
  CheckOne(second);
  CheckPair(VALUE::UnitsFromCorba(first), VALUE::UnitsFromCorba(second));
}

}  // namespace Lumenar::Fuzz
