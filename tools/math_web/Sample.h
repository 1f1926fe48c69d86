// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <span>
#include <string>

#include "platform/records/SampleRecord.h"
#include "platform/units/Units.h"
#include "tools/math_web/trace_columns.h"

namespace Lumenar::Web {

/// A sample as it came from a reading. What is in it is not changed any more, so that threads share it.
struct Sample {
  Corvanta::SampleRecord record;
  double time_s = 0;  ///< since the epoch: of capture where a trace tells it, else of its arrival
};

/// `record` becomes empty.
Sample SampleFrom(Corvanta::SampleRecord&& record, std::chrono::system_clock::time_point arrival);

/// Null for what is no trace.
const Corvanta::BASIC_TRACE::BT_DATA* TraceIn(const Sample& sample);

std::span<const float> SamplesOf(const Corvanta::BASIC_TRACE::BT_DATA& trace);
Value::Units UnitsOf(const Corvanta::BASIC_TRACE::BT_DATA& trace);

/// The axis that a trace tells of, in the unit that AxisUnit names; of a trace that tells none the numbers of its
/// points, without unit.
Axis AxisOf(const Corvanta::BASIC_TRACE::BT_DATA& trace);
std::string AxisUnit(const Corvanta::BASIC_TRACE::BT_DATA& trace);

}  // namespace Lumenar::Web
