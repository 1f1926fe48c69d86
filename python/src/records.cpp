// SPDX-License-Identifier: Apache-2.0
#include "python/src/records.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "client/Error.h"
#include "client/Text.h"
#include "platform/records/Records.h"
#include "platform/units/Units.h"

namespace Lumenar::Python {
namespace {

using Corvanta::SampleRecord;
using Trace = Corvanta::BASIC_TRACE::BT_DATA;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

Value::Units UnitsFrom(const std::string& text) {
  try {
    return Value::Units_from_text(text);
  } catch (const std::invalid_argument& reason) {
    throw Client::Error(Client::ErrorKind::BadArgument,
                        "unit \"" + Client::Printable(text) + "\": " + Client::Printable(reason.what()));
  }
}

/// An axis has one unit, and its step is in it without a prefix.
void SetAxis(Trace& trace, const Axis& axis) {
  const Value::Units units = UnitsFrom(axis.unit);
  const auto& slot = units.slots[0];
  const bool none = slot == Value::Unit_slot{};
  if (units.is_dB || units.slots[1] != Value::Unit_slot{} || (!none && slot.exponent != 1)) {
    throw Client::Error(Client::ErrorKind::BadArgument,
                        "unit \"" + Client::Printable(axis.unit) + "\" of an axis: it is one unit, not in decibels");
  }
  trace.header[2] = static_cast<CORBA::ULong>(slot.unit);
  trace.x_step = axis.step * std::pow(Value::Units_library::Get_unit_base(units), units.base_power);
}

}  // namespace

SampleRecord TraceRecord(std::span<const float> samples, const std::string& unit, const Axis& axis) {
  SampleRecord record(std::in_place_type<Trace>);
  auto& trace = std::get<Trace>(record);
  trace = DefaultRecord<Trace>();
  trace.units = VALUE::UnitsToCorba(UnitsFrom(unit));
  SetAxis(trace, axis);
  trace.samples.length(static_cast<CORBA::ULong>(samples.size()));
  if (!samples.empty()) std::copy(samples.begin(), samples.end(), trace.samples.get_buffer());
  return record;
}

SampleRecord ScalarRecord(double value, double minus, double plus, const std::string& unit) {
  Scalar scalar = DefaultRecord<Scalar>();
  scalar.val = value;
  scalar.minus_err = minus;
  scalar.plus_err = plus;
  scalar.units = VALUE::UnitsToCorba(UnitsFrom(unit));
  return SampleRecord(std::in_place_type<Scalar>, scalar);
}

SampleRecord LongRecord(std::int32_t value) { return SampleRecord(std::in_place_type<CORBA::Long>, value); }
SampleRecord BooleanRecord(bool value) { return SampleRecord(std::in_place_type<bool>, value); }

}  // namespace Lumenar::Python
