// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/records/SampleRecord.h"

namespace Lumenar::Mathctl {

/// What is said of a trace instead of all its samples: over the samples that are numbers, infinities included. All
/// three are NaN when there are none.
struct TraceSummary {
  std::size_t points = 0;
  std::size_t not_numbers = 0;
  double min = 0;
  double max = 0;
  double mean = 0;  ///< of the numbers as they stand: also of decibels
};

TraceSummary Summarise(const float* samples, std::size_t count);

/// The units of a record for people: "(no unit)" where there are none.
std::string UnitsForPeople(const Corvanta::VALUE_UNITS::Units& units);

/// A sample in one line: a trace as number of points, min, max and mean; a scalar as value and its two errors.
std::string TextOf(const Corvanta::SampleRecord& record);

/// A sample as a JSON object: "kind" ("BasicTrace", "ValueDouble", "long", "boolean") and its numbers; `with_samples`
/// adds all samples of a trace. Numbers that are not finite are the texts "NaN", "Infinity", "-Infinity".
nlohmann::ordered_json JsonOf(const Corvanta::SampleRecord& record, bool with_samples);

nlohmann::ordered_json JsonNumber(double number);

/// JSON on one line; whatever is in it, the result is valid.
std::string OneLine(const nlohmann::ordered_json& json);

/// "2024-05-06T07:08:09.123456Z".
std::string UtcText(std::chrono::system_clock::time_point time);
/// "09:08:09.123" of the local time zone.
std::string ClockText(std::chrono::system_clock::time_point time);

}  // namespace Lumenar::Mathctl
