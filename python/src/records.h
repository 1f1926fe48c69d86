// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "platform/records/SampleRecord.h"

namespace Lumenar::Python {

/// The distance of two points of a trace, and its unit as text; 0 and empty where there is none.
struct Axis {
  double step = 0;
  std::string unit;
};

// Records from what Python gives. Units are texts as "dBm".
// Errors   Client::Error BadArgument for a text that is no unit, and for an axis in decibels or in more than one unit.

Corvanta::SampleRecord TraceRecord(std::span<const float> samples, const std::string& unit, const Axis& axis);
Corvanta::SampleRecord ScalarRecord(double value, double minus, double plus, const std::string& unit);
Corvanta::SampleRecord LongRecord(std::int32_t value);
Corvanta::SampleRecord BooleanRecord(bool value);

}  // namespace Lumenar::Python
