// SPDX-License-Identifier: Apache-2.0
#include "platform/units/Units.h"

#include "platform/units/exceptions.h"
#include "platform/units/unit_table.h"

#include <algorithm>
#include <limits>

namespace Lumenar::Value {
namespace {

/// The number of non-empty slots in front of the first empty one.
std::size_t Leading_slots(const Units& units) noexcept {
  std::size_t leading = 0;
  while (leading < kUnitSlots && units.slots[leading].unit != U_None) ++leading;
  return leading;
}

/// As nearly every unit is: known units in order, each once, then nothing. Such a unit is its own arrangement. Asked for
/// each unit that is worked with: one pass.
bool Is_arranged(const Units& units) noexcept {
  static_assert(kUnitRows == kLastUnit, "each number up to the last is a unit's");
  Units_list last = U_None;
  std::size_t i = 0;
  for (; i < kUnitSlots && units.slots[i].unit != U_None; ++i) {
    const auto& [unit, exponent] = units.slots[i];
    if (unit <= last || unit > kLastUnit || exponent == 0) return false;
    last = unit;
  }
  for (; i < kUnitSlots; ++i) {
    if (units.slots[i] != Unit_slot{}) return false;
  }
  return true;
}

void Require_known_units(const Units& units) {
  for (const Unit_slot& slot : units.slots) {
    if (slot.unit != U_None && Find_unit(slot.unit) == nullptr) {
      throw OperationNotValid();
    }
  }
}

std::int32_t Narrow_exponent(std::int64_t exponent) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (exponent < Limits::min() || exponent > Limits::max()) {
    throw OperationNotValid();
  }
  return static_cast<std::int32_t>(exponent);
}

/// Slots sorted by unit number, a unit once, with room for the sum of exponents.
class Wide_slots {
 public:
  struct Slot {
    Units_list unit = U_None;
    std::int64_t exponent = 0;
  };

  void Merge(const Unit_slot& slot) {
    std::size_t at = used_;
    while (at > 0 && slots_[at - 1].unit > slot.unit) {
      --at;
    }
    if (at > 0 && slots_[at - 1].unit == slot.unit) {
      slots_[at - 1].exponent += slot.exponent;
      return;
    }
    for (std::size_t i = used_; i > at; --i) {
      slots_[i] = slots_[i - 1];
    }
    slots_[at] = {slot.unit, slot.exponent};
    ++used_;
  }

  const Slot* begin() const noexcept { return slots_.data(); }
  const Slot* end() const noexcept { return slots_.data() + used_; }

 private:
  std::array<Slot, kUnitSlots> slots_{};
  std::size_t used_ = 0;
};

/// base^exponent by squaring: at most 63 steps, whatever the exponent; exact as long as the numbers are.
double Power(double base, std::uint64_t exponent) noexcept {
  double result = 1.0;
  for (; exponent != 0; exponent >>= 1) {
    if ((exponent & 1U) != 0) {
      result *= base;
    }
    base *= base;
  }
  return result;
}

/// Dimension and factor of a quotient of two units, as exponents.
struct Quotient {
  std::array<std::int64_t, kDimensions> dimension{};
  /// Net exponent by unit number: what both sides have cancels without rounding.
  std::array<std::int64_t, kUnitRows + 1> exponents{};

  void Multiply(const Units& units, std::int64_t sign) {
    for (const Unit_slot& slot : units.slots) {
      if (slot.unit == U_None) {
        continue;
      }
      const Unit_row* row = Find_unit(slot.unit);
      if (row == nullptr) {
        throw OperationNotValid();
      }
      const std::int64_t exponent = sign * slot.exponent;
      exponents[static_cast<std::size_t>(slot.unit)] += exponent;
      const Dimension& d = row->dimension;
      const std::array<std::int8_t, kDimensions> of_unit = {d.m,   d.kg,  d.s,  d.A,   d.K,     d.cd,
                                                            d.rad, d.mol, d.Np, d.bit, d.sample};
      for (std::size_t i = 0; i < kDimensions; ++i) {
        dimension[i] += exponent * of_unit[i];
      }
    }
  }

  double Factor() const noexcept {
    double numerator = 1.0;
    double denominator = 1.0;
    for (const Unit_row& row : Unit_table()) {
      const std::int64_t exponent = exponents[static_cast<std::size_t>(row.unit)];
      const auto times = static_cast<std::uint64_t>(exponent < 0 ? -exponent : exponent);
      numerator *= Power(exponent < 0 ? row.denominator : row.numerator, times);
      denominator *= Power(exponent < 0 ? row.numerator : row.denominator, times);
    }
    return numerator / denominator;
  }
};

}  // namespace

Units Units_library::Arrange_tuple(const Units& units) {
  if (Is_arranged(units)) {
    return units;
  }
  Require_known_units(units);
  const std::size_t leading = Leading_slots(units);
  Wide_slots merged;
  for (std::size_t i = 0; i < leading; ++i) {
    merged.Merge(units.slots[i]);
  }
  Units arranged = units;
  std::size_t used = 0;
  for (const auto& [unit, exponent] : merged) {
    if (exponent != 0) {
      arranged.slots[used++] = {unit, Narrow_exponent(exponent)};
    }
  }
  for (; used < leading; ++used) {
    arranged.slots[used] = {};
  }
  for (Unit_slot& slot : arranged.slots) {
    if (slot.unit == U_None) {
      slot.exponent = 0;
    }
  }
  return arranged;
}

Units Units_library::Arrange_packed(const Units& units) {
  if (Is_arranged(units)) {
    return units;
  }
  const Units arranged = Arrange_tuple(units);
  if (!Is_packed(arranged)) {
    throw OperationNotValid();
  }
  return arranged;
}

bool Units_library::Is_packed(const Units& units) noexcept {
  const auto behind = units.slots.begin() + static_cast<std::ptrdiff_t>(Leading_slots(units));
  return std::all_of(behind, units.slots.end(), [](const Unit_slot& slot) { return slot.unit == U_None; });
}

bool Units_library::Compare_units(const Units& a, const Units& b, bool exact) {
  if (Arrange_tuple(a).slots != Arrange_tuple(b).slots) {
    return false;
  }
  return !exact || (a.base_power == b.base_power && a.is_dB == b.is_dB);
}

bool Units_library::Compare_units_DB(const Units& a, const Units& b, bool exact) {
  return Compare_units(a, b, false) && a.is_dB == b.is_dB && (!exact || a.base_power == b.base_power);
}

bool Units_library::Is_Invert_units(const Units& a, const Units& b) {
  const Units left = Arrange_tuple(a);
  const Units right = Arrange_tuple(b);
  if (left.slots[0].unit == U_None) {
    return false;
  }
  const auto is_reciprocal = [](const Unit_slot& x, const Unit_slot& y) {
    return x.unit == y.unit && std::int64_t{x.exponent} == -std::int64_t{y.exponent};
  };
  return std::equal(left.slots.begin(), left.slots.end(), right.slots.begin(), is_reciprocal);
}

double Units_library::Get_conversion_factor(const Units& to, const Units& from) {
  Quotient quotient;
  quotient.Multiply(from, 1);
  quotient.Multiply(to, -1);
  for (const std::int64_t exponent : quotient.dimension) {
    if (exponent != 0) {
      throw UnitDimensionNotSame();
    }
  }
  return quotient.Factor();
}

double Units_library::Get_unit_base(const Units& units) noexcept {
  const auto slots_end = units.slots.begin() + static_cast<std::ptrdiff_t>(Leading_slots(units));
  const bool information =
      slots_end != units.slots.begin() && std::all_of(units.slots.begin(), slots_end, [](const Unit_slot& slot) {
        const Unit_row* row = Find_unit(slot.unit);
        return row != nullptr && row->prefixes == Prefixes::Binary;
      });
  return information ? 2.0 : 10.0;
}

double Units_library::Decibel_factor(const Units& units) noexcept {
  double product = 1.0;
  for (std::size_t i = 0; i < Leading_slots(units); ++i) {
    product *= units.slots[i].exponent;
  }
  return product;
}

}  // namespace Lumenar::Value
