// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

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

/// How many significant digits TextOf gives numbers from now on, from 1 to 17; 6 before that. Threads   any.
void UsePrecision(int digits) noexcept;

/// A sample in one line: a trace as number of points, min, max and mean; a scalar as value and its two errors.
std::string TextOf(const Corvanta::SampleRecord& record);

/// The same and, behind it, "  samples" and the first `elements` of a trace, all of them when it is 0; nothing more of
/// other kinds and without `elements`.
std::string TextOf(const Corvanta::SampleRecord& record, const std::optional<unsigned>& elements);

/// A sample as a JSON object: "kind" ("BasicTrace", "ValueDouble", "long", "boolean") and its numbers; `with_samples`
/// adds all samples of a trace. Numbers that are not finite are the texts "NaN", "Infinity", "-Infinity".
nlohmann::ordered_json JsonOf(const Corvanta::SampleRecord& record, bool with_samples);
/// The same with the first `elements` of a trace, see TextOf.
nlohmann::ordered_json JsonOf(const Corvanta::SampleRecord& record, const std::optional<unsigned>& elements);

/// All fields that JsonOf may give, for CSV of values of several kinds.
std::vector<std::string> ValueColumns(bool with_samples);

/// When a trace was captured, in UTC with nanoseconds: "2024-05-06T07:08:09.123456789Z"; a number of nanoseconds would
/// not survive readers whose numbers are doubles. Null where the trace does not say.
nlohmann::ordered_json CaptureTime(const Corvanta::BASIC_TRACE::BT_DATA& trace);

nlohmann::ordered_json JsonNumber(double number);

/// JSON on one line; whatever is in it, the result is valid.
std::string OneLine(const nlohmann::ordered_json& json);

/// "2024-05-06T07:08:09.123456Z".
std::string UtcText(std::chrono::system_clock::time_point time);
/// "09:08:09.123" of the local time zone.
std::string ClockText(std::chrono::system_clock::time_point time);

}  // namespace Lumenar::Mathctl
