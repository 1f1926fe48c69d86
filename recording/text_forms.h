// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "VALUE_UNITS.hh"

namespace Lumenar::Recording {

/// How single things stand in a recording. Each function and its reverse give the very same bits.
/// Errors   of all that read: std::invalid_argument, with a reason of one line.      Threads  pure.

/// "2024-05-06T07:08:09.123456789Z" of nanoseconds since the epoch.
std::string TimeText(std::int64_t time_ns);
std::int64_t TimeFromText(std::string_view text);

/// A number as the shortest decimal that reads back the same; one that is not finite as a text that ends in its bits,
/// "NaN:7ff8000000000000", "-Infinity:fff0000000000000".
nlohmann::ordered_json NumberJson(double number);
double NumberFromJson(const nlohmann::json& json);

/// Base64 of the samples, each four bytes, the lowest first.
std::string SamplesText(const float* samples, std::size_t count);
std::vector<float> SamplesFromText(const std::string& text);

/// The units for people, "dBm"; and where that does not read back the same, all their fields:
/// [is_dB, base_power, unit, exponent, unit, exponent ...]. Fields are null where the text is enough.
std::string UnitsText(const Corvanta::VALUE_UNITS::Units& units);
nlohmann::ordered_json UnitsFields(const Corvanta::VALUE_UNITS::Units& units);
Corvanta::VALUE_UNITS::Units UnitsFromText(const std::string& text);
Corvanta::VALUE_UNITS::Units UnitsFromFields(const nlohmann::json& fields);

}  // namespace Lumenar::Recording
