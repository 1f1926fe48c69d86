// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Sample.h"

#include <cmath>
#include <cstdint>
#include <utility>
#include <variant>

#include "platform/records/Records.h"

namespace Lumenar::Web {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;

bool HasAxis(const BT_DATA& trace) { return std::isfinite(trace.x_step) && trace.x_step != 0; }

double SecondsOf(std::chrono::system_clock::time_point time) {
  return std::chrono::duration<double>(time.time_since_epoch()).count();
}

}  // namespace

Sample SampleFrom(Corvanta::SampleRecord&& record, std::chrono::system_clock::time_point arrival) {
  Sample sample{std::move(record), SecondsOf(arrival)};
  const BT_DATA* trace = TraceIn(sample);
  if (trace == nullptr) return sample;
  const std::uint64_t captured_ns = std::uint64_t{trace->header[0]} << 32 | trace->header[1];
  if (captured_ns != 0) sample.time_s = static_cast<double>(captured_ns) * 1e-9;
  return sample;
}

const BT_DATA* TraceIn(const Sample& sample) { return std::get_if<BT_DATA>(&sample.record); }

std::span<const float> SamplesOf(const BT_DATA& trace) {
  return {trace.samples.get_buffer(), static_cast<std::size_t>(trace.samples.length())};
}

Value::Units UnitsOf(const BT_DATA& trace) { return VALUE::UnitsFromCorba(trace.units); }

Axis AxisOf(const BT_DATA& trace) { return HasAxis(trace) ? Axis{0, trace.x_step} : Axis{}; }

std::string AxisUnit(const BT_DATA& trace) {
  const auto number = static_cast<std::int64_t>(trace.header[2]);
  if (!HasAxis(trace) || number <= Value::U_None || number > Value::kLastUnit) return {};
  return Value::Units_text(Value::Make_unit(static_cast<Value::Units_list>(number)));
}

}  // namespace Lumenar::Web
