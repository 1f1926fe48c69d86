// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/TraceConversion.h"

#include <algorithm>

#include "platform/units/exceptions.h"
#include "platform/value/decibel_kernels.h"

namespace Lumenar {
namespace {

using Sample = Value::Value_object<float>;
using Value::Units;
using Value::Units_library;

bool StandsInDecibelsOf(const Units& from, const Units& to) {
  return from.is_dB && Units_library::Compare_units(from, to, true);
}

}  // namespace

Sample InUnits(const Sample& value, const Units& target) {
  const Units unit = value.Get_unit();
  if (StandsInDecibelsOf(unit, target)) return value;
  return (unit.is_dB ? Sample::Normalize_DB(value) : value).Convert_to(target);
}

TraceConversion TraceConversion::Between(const Units& from, const Units& to) {
  if (StandsInDecibelsOf(from, to)) return {};
  TraceConversion conversion = OfLinear(from, to);
  conversion.normalizes_ = from.is_dB;
  conversion.decibel_factor_ = Units_library::Decibel_factor(from);
  return conversion;
}

std::optional<TraceConversion> TraceConversion::IfPossible(const Units& from, const Units& to) {
  try {
    return Between(from, to);
  } catch (const Value::UnitDimensionNotSame&) {
    return std::nullopt;
  }
}

TraceConversion TraceConversion::OfLinear(const Units& from, const Units& to) {
  TraceConversion conversion;
  conversion.plan_ = Value::Unit_conversion<float>::Plan(from, to);
  return conversion;
}

bool TraceConversion::IsIdentity() const noexcept { return !normalizes_ && plan_.Is_identity(); }

void TraceConversion::Apply(const float* in, float* out, std::size_t count) const noexcept {
  if (normalizes_) {
    Value::Decibel_to_linear(in, out, count, decibel_factor_);
    in = out;
  }
  if (!plan_.Is_identity()) {
    plan_.Apply(in, out, count);
  } else if (in != out) {
    std::copy_n(in, count, out);
  }
}

}  // namespace Lumenar
