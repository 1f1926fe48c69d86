// SPDX-License-Identifier: Apache-2.0
#include "judge/Units.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "judge/Refused.h"
#include "judge/unit_rows.h"

namespace Lumenar::Judge {
namespace {

using Exponents = std::map<std::int32_t, std::int64_t>;  // by unit number, ascending

bool IsEmpty(const Slot& slot) { return slot.unit == 0; }

void RequireKnownUnits(const Slots& slots) {
  for (const Slot& slot : slots) {
    if (!IsEmpty(slot) && RowOf(slot.unit) == nullptr) throw Refused(Why::NotValid);
  }
}

void RequireExponent(std::int64_t exponent) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (exponent < Limits::min() || exponent > Limits::max()) throw Refused(Why::NotValid);
}

/// x^n, n not negative, by squaring, from the lowest binary digit of n up.
double Power(double x, std::int64_t n) {
  double power = 1;
  for (; n > 0; n /= 2) {
    if (n % 2 == 1) power *= x;
    x *= x;
  }
  return power;
}

void AddExponents(Exponents& exponents, const Slots& slots, int sign) {
  RequireKnownUnits(slots);
  for (const Slot& slot : slots) {
    if (!IsEmpty(slot)) exponents[slot.unit] += std::int64_t{slot.exponent} * sign;
  }
}

bool HasNoDimension(const Exponents& exponents) {
  for (std::size_t base = 0; base < RowOf(1)->dimension.size(); ++base) {
    std::int64_t sum = 0;
    for (const auto& [unit, exponent] : exponents) sum += exponent * RowOf(unit)->dimension[base];
    if (sum != 0) return false;
  }
  return true;
}

/// As nearly every unit is: known units in their order, each once, and nothing behind them.
bool IsArranged(const Slots& slots) {
  std::int32_t before = 0;
  bool ended = false;
  for (const auto& [unit, exponent] : slots) {
    ended = ended || unit == 0;
    if (ended ? unit != 0 || exponent != 0 : unit <= before || exponent == 0 || RowOf(unit) == nullptr) return false;
    before = unit;
  }
  return true;
}

/// 10^power, rounded once, as the C library reads it.
double PowerOfTen(std::int64_t power) {
  constexpr std::int64_t kUsual = 30;
  static const std::vector<double> usual = [] {
    std::vector<double> powers;
    for (std::int64_t i = -kUsual; i <= kUsual; ++i)
      powers.push_back(std::strtod(("1e" + std::to_string(i)).c_str(), nullptr));
    return powers;
  }();
  if (std::abs(power) <= kUsual) return usual[static_cast<std::size_t>(power + kUsual)];
  return std::strtod(("1e" + std::to_string(power)).c_str(), nullptr);
}

bool CountsInformation(const Units& units) {
  const std::size_t count = LeadingSlots(units.slots);
  if (count == 0) return false;
  return std::all_of(units.slots.begin(), units.slots.begin() + static_cast<std::ptrdiff_t>(count),
                     [](const Slot& slot) {
                       const UnitRow* row = RowOf(slot.unit);
                       return row != nullptr && row->counts_information;
                     });
}

}  // namespace

Units FromRecord(const Corvanta::VALUE_UNITS::Units& record) {
  Units units;
  units.is_dB = record.is_dB;
  units.base_power = record.base_power;
  for (std::size_t i = 0; i < units.slots.size(); ++i) {
    units.slots[i] = {record.slots[i].unit, record.slots[i].exponent};
  }
  return units;
}

Corvanta::VALUE_UNITS::Units ToRecord(const Units& units) {
  Corvanta::VALUE_UNITS::Units record;
  record.is_dB = units.is_dB;
  record.base_power = units.base_power;
  for (std::size_t i = 0; i < units.slots.size(); ++i) {
    record.slots[i].unit = units.slots[i].unit;
    record.slots[i].exponent = units.slots[i].exponent;
  }
  return record;
}

Units LinearForm(Units units) {
  units.is_dB = false;
  return units;
}

Units DecibelForm(Units units) {
  units.is_dB = true;
  return units;
}

std::size_t LeadingSlots(const Slots& slots) {
  return static_cast<std::size_t>(std::find_if(slots.begin(), slots.end(), IsEmpty) - slots.begin());
}

bool HasNoUnit(const Units& arranged) { return IsEmpty(arranged.slots[0]); }

Units Arranged(const Units& units) {
  if (IsArranged(units.slots)) return units;
  RequireKnownUnits(units.slots);
  const std::size_t leading = LeadingSlots(units.slots);
  Exponents sums;
  for (std::size_t i = 0; i < leading; ++i) sums[units.slots[i].unit] += units.slots[i].exponent;

  Units arranged = units;
  std::fill_n(arranged.slots.begin(), leading, Slot{});
  std::size_t used = 0;
  for (const auto& [unit, exponent] : sums) {
    if (exponent == 0) continue;
    RequireExponent(exponent);
    arranged.slots[used++] = {unit, static_cast<std::int32_t>(exponent)};
  }
  for (Slot& slot : arranged.slots) {
    if (IsEmpty(slot)) slot.exponent = 0;
  }
  return arranged;
}

Units WellFormed(const Units& units) {
  if (IsArranged(units.slots)) return units;  // nothing stands behind an empty slot there
  const Units arranged = Arranged(units);
  for (std::size_t i = LeadingSlots(arranged.slots); i < arranged.slots.size(); ++i) {
    if (!IsEmpty(arranged.slots[i])) throw Refused(Why::NotValid);
  }
  return arranged;
}

bool SameUnit(const Units& a, const Units& b) {
  if (a.slots == b.slots && IsArranged(a.slots)) return true;
  return Arranged(a).slots == Arranged(b).slots;
}

bool SameInEveryRespect(const Units& a, const Units& b) {
  return SameUnit(a, b) && a.base_power == b.base_power && a.is_dB == b.is_dB;
}

bool AreReciprocal(const Slots& a, const Slots& b) {
  if (IsEmpty(a[0])) return false;
  return std::equal(a.begin(), a.end(), b.begin(), [](const Slot& x, const Slot& y) {
    return x.unit == y.unit && std::int64_t{x.exponent} == -std::int64_t{y.exponent};
  });
}

double DecibelFactor(const Units& units) {
  double product = 1;
  for (std::size_t i = 0; i < LeadingSlots(units.slots); ++i) product *= units.slots[i].exponent;
  return product;
}

double PowerOfBase(const Units& units, int sign) {
  if (units.base_power == 0) return 1;
  const std::int64_t power = std::int64_t{units.base_power} * sign;
  if (CountsInformation(units)) {
    return std::ldexp(1.0, static_cast<int>(std::clamp<std::int64_t>(power, -2000, 2000)));
  }
  return PowerOfTen(power);
}

double ConversionFactor(const Slots& to, const Slots& from) {
  Exponents exponents;
  AddExponents(exponents, from, 1);
  AddExponents(exponents, to, -1);
  if (!HasNoDimension(exponents)) throw Refused(Why::NotSame);
  double numerator = 1;
  double denominator = 1;
  for (const auto& [unit, exponent] : exponents) {
    const UnitRow& row = *RowOf(unit);
    const std::int64_t times = std::abs(exponent);
    numerator *= Power(exponent < 0 ? row.denominator : row.numerator, times);
    denominator *= Power(exponent < 0 ? row.numerator : row.denominator, times);
  }
  return numerator / denominator;
}

}  // namespace Lumenar::Judge
