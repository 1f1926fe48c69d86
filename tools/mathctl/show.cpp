// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "client/MathState.h"
#include "client/Text.h"
#include "client/values.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/object_reports.h"
#include "tools/mathctl/object_row.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

using nlohmann::ordered_json;

/// All that is known of one object.
struct ShownObject {
  ReportedObject object;
  Corvanta::SampleRecord value;
  std::string full;  ///< of an Average
};

ShownObject Shown(const Session& session, const ReportedObject& object) {
  const std::int32_t id = object.name.id;
  Client::MathObjects objects = session.ObjectsOf(object.name);
  ShownObject shown{object, Client::GetValue(objects.Result(id)), ""};
  if (object.report.size > 0) shown.full = TextOf(Client::GetValue(objects.Item(id, "FULL")));
  return shown;
}

std::string InputText(const Client::InputReport& input, Client::TopicNames& names) {
  std::string text = names.Of(input.topic) + ": ";
  if (input.samples == 0) {
    text += "no sample yet";
  } else {
    text +=
        fmt::format("{} sample{}, the last {} ago", input.samples, input.samples == 1 ? "" : "s", AgeText(input.age));
  }
  return text + (input.away ? "; its engine is away" : "");
}

std::string ResultsText(const Client::MathReport& report) {
  if (report.results == 0) return "none yet";
  return fmt::format("{}, {}, the last {} ago", report.results, RateText(report), AgeText(report.age));
}

std::string RefusedText(const Client::MathReport& report) {
  if (report.refused == 0) return "none";
  return fmt::format("{} sample{}, the last for: {}", report.refused, report.refused == 1 ? "" : "s",
                     Client::Printable(report.last_reason));
}

void WriteForPeople(const Session& session, const ShownObject& shown, Client::TopicNames& names) {
  const Client::MathReport& report = shown.object.report;
  const auto name = [&names](const std::string& topic) { return names.Of(topic); };
  std::vector<Row> rows{{"object", session.TextOf(shown.object.name)},
                        {"engine", Client::Printable(shown.object.name.engine)},
                        {"type", Client::Printable(report.type)},
                        {"state", Client::StateInWords(report, name)}};
  for (const Client::InputReport& input : report.inputs) rows.push_back({"input", InputText(input, names)});
  rows.push_back({"RESULT", TextOf(shown.value)});
  rows.push_back({"reading", Client::FullName(Client::ReadingOfTopic(report.result_topic))});
  rows.push_back({"topic", Client::Printable(report.result_topic)});
  rows.push_back({"results", ResultsText(report)});
  if (report.size > 0) {
    rows.push_back({"SIZE", fmt::format("{}, of which it holds {}", report.size, report.filled)});
    rows.push_back({"FULL", shown.full});
  }
  rows.push_back({"refused", RefusedText(report)});
  WriteTable({}, std::move(rows));
}

ordered_json InputsJson(const Client::MathReport& report, Client::TopicNames& names) {
  ordered_json inputs = ordered_json::array();
  for (const Client::InputReport& input : report.inputs) {
    inputs.push_back({{"reading", names.Of(input.topic)},
                      {"topic", Client::Printable(input.topic)},
                      {"samples", input.samples},
                      {"age_s", AgeJson(input.age)},
                      {"away", input.away},
                      {"handle", input.handle}});
  }
  return inputs;
}

ordered_json JsonForShow(const Session& session, const ShownObject& shown, Client::TopicNames& names) {
  ordered_json json = ObjectJson(session, shown.object, names);
  json["input_reports"] = InputsJson(shown.object.report, names);
  json["full"] = shown.full.empty() ? ordered_json() : ordered_json(shown.full == "true");
  json["present"] = JsonOf(shown.value, false);
  return json;
}

void ShowObjects(const Session& session, const std::vector<std::string>& texts) {
  ObjectReports reports(session, {texts, false});
  const auto& objects = reports.Ask();
  reports.RequireAll();
  RowWriter rows(session.options, {});
  bool first = true;
  for (const ReportedObject& object : objects) {
    const ShownObject shown = Shown(session, object);
    if (session.options.format != Format::Table) {
      rows.Add(JsonForShow(session, shown, reports.Names()), {});
      continue;
    }
    if (!first) WriteOut("");
    first = false;
    WriteForPeople(session, shown, reports.Names());
  }
  if (session.options.format != Format::Table) rows.Finish();
}

}  // namespace

void DefineShow(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("show", "Everything about a math object");
  const auto texts = std::make_shared<std::vector<std::string>>();
  verb->add_option("OBJECT", *texts, "Math objects as math:3, or patterns as for list")->required();
  verb->footer(
      "With --json the fields of `mathctl list --json`, the inputs in full (\"input_reports\"), FULL of an\n"
      "Average and the present result (\"present\").\n"
      "\n"
      "Example:\n"
      "  mathctl show math:3");
  verb->callback(
      [&command, texts] { command.run = [texts](const Session& session) { ShowObjects(session, *texts); }; });
}

}  // namespace Lumenar::Mathctl
