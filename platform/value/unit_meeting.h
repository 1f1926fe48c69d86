// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/units/Units.h"

namespace Lumenar::Value {

/// What is done with two operands.
enum class Combination {
  Sum,              ///< a sum or a difference
  LevelDifference,  ///< the difference of two levels, Relative_sub
};

/// How the numbers of the second operand meet those of the first.
enum class Meeting {
  AsTheyAre,   ///< nothing to convert
  Converted,   ///< the second brought into the first one's unit, dB included
  LinearBoth,  ///< one of the two is in dB: both made linear, the result put into the first one's form
};

/// The one rule, for values and for traces. Two levels in dB of the same unit meet as they are, whatever their
/// base_power: the second one counts as a gain. In a difference of levels an operand of the same dimension, and one
/// without unit, counts as a level of the first one's unit.
/// Errors   Sum: UnitDimensionNotProper for a unit-less operand with one that has a unit, save a bare gain on a level
///          in dB. LevelDifference: OperationNotValid when neither is in dB; then MissingUnitInFirstParameter. Whether
///          the second one can be converted shows when it is.
/// Threads  pure; both units are arranged, as a value's is.
Meeting How_units_meet(const Units& first, const Units& second, Combination combination);

}  // namespace Lumenar::Value
