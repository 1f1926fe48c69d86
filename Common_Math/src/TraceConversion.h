// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>

#include "platform/value/Unit_conversion.h"
#include "platform/value/Value_object.h"

namespace Lumenar {

/// The conversion of all samples of a trace from one unit to another, worked out once; each sample gets the bits that
/// the rule for one value gives it.
class TraceConversion {
 public:
  /// Changes nothing.
  TraceConversion() = default;

  /// Numbers in dB are made linear before they are converted. Numbers in dB that stand in `to` already stay as they
  /// are: on the way through linear they would lose bits, and with k other than 1 their meaning.
  /// Errors   UnitDimensionNotSame; OperationNotValid for malformed units.
  static TraceConversion Between(const Value::Units& from, const Value::Units& to);

  /// As Between; nothing for units that do not convert in this direction (V^2/ohm becomes W, but not the reverse).
  static std::optional<TraceConversion> IfPossible(const Value::Units& from, const Value::Units& to);

  /// The numbers are taken as linear, whatever the unit says.
  static TraceConversion OfLinear(const Value::Units& from, const Value::Units& to);

  /// Whether every number comes out as it went in.
  bool IsIdentity() const noexcept;

  /// Shape   any length; `in` and `out` are the same or do not overlap.      Threads   pure.
  void Apply(const float* in, float* out, std::size_t count) const noexcept;

 private:
  Value::Unit_conversion<float> plan_;
  double decibel_factor_ = 1.0;
  bool normalizes_ = false;
};

/// The same rule as Between for one value, with its errors.
Value::Value_object<float> InUnits(const Value::Value_object<float>& value, const Value::Units& target);

}  // namespace Lumenar
