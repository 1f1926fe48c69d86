// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "tools/mathctl/object_reports.h"
#include "tools/mathctl/table.h"

namespace Lumenar::Mathctl {

/// How `list` and `top` show a math object: the header of their tables, and an object's cells.
Row ObjectHeader();
Row ObjectCells(const Session& session, const ReportedObject& object, Client::TopicNames& names);

/// The same as a JSON object: "id", "object", "engine", "type", "inputs" (names), "result" and "topic", "kind", "units"
/// and "points" of the result, "size" and "filled" of an Average (else null), "results", "interval_s" and "age_s" (null
/// before there is any), "state", "words", "refused" and "last_reason".
nlohmann::ordered_json ObjectJson(const Session& session, const ReportedObject& object, Client::TopicNames& names);

/// Parts of it that other verbs show, too.
std::string ResultText(const Client::MathReport& report);   ///< "1001 points dBm", "mW"; "-" before the first
std::string FillingText(const Client::MathReport& report);  ///< "3 of 10"; empty but for an Average
std::string RateText(const Client::MathReport& report);     ///< "20 /s", "2 /min"; "-" when none come
std::string AgeText(const std::optional<std::chrono::microseconds>& age);             ///< "12 ms"; "-" before the first
nlohmann::ordered_json AgeJson(const std::optional<std::chrono::microseconds>& age);  ///< in seconds, or null

}  // namespace Lumenar::Mathctl
