// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/object_row.h"

#include <fmt/format.h>

#include <chrono>
#include <optional>
#include <utility>
#include <vector>

#include "client/Duration.h"
#include "client/MathState.h"
#include "client/Text.h"
#include "platform/records/Records.h"
#include "platform/units/Units.h"
#include "platform/wire/record_kinds.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

using Client::MathReport;
using nlohmann::ordered_json;

bool IsTraceResult(const MathReport& report) {
  return report.kind == Corvanta::RecordKind<Corvanta::BASIC_TRACE::BT_DATA>::kTypeName;
}

std::vector<std::string> InputNames(const MathReport& report, Client::TopicNames& names) {
  std::vector<std::string> inputs;
  for (const Client::InputReport& input : report.inputs) inputs.push_back(names.Of(input.topic));
  return inputs;
}

std::string WordsOf(const MathReport& report, Client::TopicNames& names) {
  return Client::StateInWords(report, [&names](const std::string& topic) { return names.Of(topic); });
}

double SecondsOf(std::chrono::duration<double> time) { return time.count(); }

}  // namespace

std::string ResultText(const MathReport& report) {
  if (report.results == 0) return "-";
  const std::string units = UnitsForPeople(report.units);
  if (!IsTraceResult(report)) return units;
  return fmt::format("{} point{} {}", report.points, report.points == 1 ? "" : "s", units);
}

std::string FillingText(const MathReport& report) {
  return report.size == 0 ? "" : fmt::format("{} of {}", report.filled, report.size);
}

std::string RateText(const MathReport& report) {
  const bool comes =
      Client::StateOf(report) == Client::MathState::Live || (report.age && *report.age <= Client::StaleAfter(report));
  const double interval_s = SecondsOf(report.interval);
  if (!comes || interval_s <= 0) return "-";
  if (interval_s < 10) return fmt::format("{:.3g} /s", 1 / interval_s);
  return interval_s < 600 ? fmt::format("{:.3g} /min", 60 / interval_s) : fmt::format("{:.3g} /h", 3600 / interval_s);
}

std::string AgeText(const std::optional<std::chrono::microseconds>& age) {
  return age ? Client::DurationText(*age) : "-";
}

ordered_json AgeJson(const std::optional<std::chrono::microseconds>& age) {
  return age ? ordered_json(SecondsOf(*age)) : ordered_json();
}

Row ObjectHeader() { return {"ID", "TYPE", "INPUTS", "RESULT", "SIZE", "RATE", "AGE", "STATE"}; }

Row ObjectCells(const Session& session, const ReportedObject& object, Client::TopicNames& names) {
  const MathReport& report = object.report;
  return {session.TextOf(object.name),
          Client::Printable(report.type),
          fmt::format("{}", fmt::join(InputNames(report, names), ", ")),
          ResultText(report),
          FillingText(report),
          RateText(report),
          AgeText(report.age),
          WordsOf(report, names)};
}

ordered_json ObjectJson(const Session& session, const ReportedObject& object, Client::TopicNames& names) {
  const MathReport& report = object.report;
  const bool is_average = report.size > 0;
  const double interval_s = SecondsOf(report.interval);
  return {{"id", report.id},
          {"object", session.TextOf(object.name)},
          {"engine", Client::Printable(object.name.engine)},
          {"type", Client::Printable(report.type)},
          {"inputs", InputNames(report, names)},
          {"result", Client::FullName(Client::ReadingOfTopic(report.result_topic))},
          {"topic", Client::Printable(report.result_topic)},
          {"kind", Client::Printable(report.kind)},
          {"units", Value::Units_text(VALUE::UnitsFromCorba(report.units))},
          {"points", report.points},
          {"size", is_average ? ordered_json(report.size) : ordered_json()},
          {"filled", is_average ? ordered_json(report.filled) : ordered_json()},
          {"results", report.results},
          {"interval_s", interval_s > 0 ? ordered_json(interval_s) : ordered_json()},
          {"age_s", AgeJson(report.age)},
          {"state", Client::WordOf(Client::StateOf(report))},
          {"words", WordsOf(report, names)},
          {"refused", report.refused},
          {"last_reason", Client::Printable(report.last_reason)}};
}

}  // namespace Lumenar::Mathctl
