// SPDX-License-Identifier: Apache-2.0
#include "platform/value/unit_meeting.h"

#include "platform/units/exceptions.h"

namespace Lumenar::Value {
namespace {

bool Has_no_unit(const Units& unit) { return unit.slots[0].unit == U_None; }

void Require_levels(const Units& first, const Units& second) {
  if (!first.is_dB && !second.is_dB) {
    throw OperationNotValid();
  }
  if (Has_no_unit(first)) {
    throw MissingUnitInFirstParameter();
  }
}

}  // namespace

Meeting How_units_meet(const Units& first, const Units& second, Combination combination) {
  const bool same_slots = Units_library::Compare_units(first, second, false);
  const bool is_gain = same_slots || Has_no_unit(second);
  if (combination == Combination::LevelDifference) {
    Require_levels(first, second);
    return is_gain ? Meeting::AsTheyAre : Meeting::Converted;
  }
  const bool same_form = first.is_dB == second.is_dB;
  if (same_slots && same_form && first.base_power == second.base_power) {
    return Meeting::AsTheyAre;
  }
  if (first.is_dB && second.is_dB && is_gain) {
    return Meeting::AsTheyAre;
  }
  if (Has_no_unit(first) != Has_no_unit(second)) {
    throw UnitDimensionNotProper();
  }
  return same_form ? Meeting::Converted : Meeting::LinearBoth;
}

}  // namespace Lumenar::Value
