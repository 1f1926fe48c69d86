// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <span>

#include "platform/units/Units.h"
#include "tools/math_web/View.h"

namespace Lumenar::Web {

/// The other form that a switch may offer for numbers in these units: decibels for linear ones, linear for decibels.
/// Nothing for numbers without unit, and where the decibel rule would turn their order round (units with a negative
/// exponent).
std::optional<Scale> OtherScale(const Value::Units& units);

/// Whether `scale` turns numbers in these units into decibels.
bool BecomesDecibel(const Value::Units& units, Scale scale);

/// Numbers and their units in the form that is wanted, by the decibel rules of the platform; as they are where
/// OtherScale offers no such form.
/// Numbers  in float; the larger of two numbers stays the larger one.      Threads  pure; the caller owns both.
void ApplyScale(Scale scale, Value::Units& units, std::span<float> numbers);

}  // namespace Lumenar::Web
