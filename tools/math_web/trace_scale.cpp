// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/trace_scale.h"

#include "platform/value/decibel_kernels.h"

namespace Lumenar::Web {

std::optional<Scale> OtherScale(const Value::Units& units) {
  if (Value::Units_library::Decibel_factor(units) <= 0) return std::nullopt;
  if (units.is_dB) return Scale::Linear;
  if (units.slots[0].unit == Value::U_None) return std::nullopt;
  return Scale::Decibel;
}

bool BecomesDecibel(const Value::Units& units, Scale scale) {
  return scale == Scale::Decibel && OtherScale(units) == Scale::Decibel;
}

void ApplyScale(Scale scale, Value::Units& units, std::span<float> numbers) {
  if (scale == Scale::AsIs || OtherScale(units) != scale) return;
  const double k = Value::Units_library::Decibel_factor(units);
  if (units.is_dB) {
    Value::Decibel_to_linear(numbers.data(), numbers.data(), numbers.size(), k);
  } else {
    Value::Linear_to_decibel(numbers.data(), numbers.data(), numbers.size(), k);
  }
  units.is_dB = !units.is_dB;
}

}  // namespace Lumenar::Web
