// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <set>

#include "client/Text.h"
#include "client/values.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

struct ReadingsArguments {
  std::vector<std::string> patterns;
  bool with_values = false;
};

constexpr const char* kReadingsFooter =
    "Examples:\n"
    "  mathctl readings\n"
    "  mathctl readings 'PROBE/1/*' --values";

// In the order of the engines, whatever the order of the patterns; all without a pattern.
std::vector<Client::Reading> Chosen(const Session& session, const std::vector<std::string>& patterns) {
  const auto engines = session.connection.Engines();
  const auto readings = session.connection.ReadingsOf(engines);
  for (const Client::Engine& engine : engines) {
    if (engine.problem && !session.options.quiet) {
      WriteError(fmt::format("mathctl: {}; its readings are left out", engine.problem->what()));
    }
  }
  if (patterns.empty()) return readings;
  std::set<std::size_t> indexes;
  for (const std::string& pattern : patterns) {
    const auto fitting = Client::IndexesFor(pattern, readings, engines);
    indexes.insert(fitting.begin(), fitting.end());
  }
  std::vector<Client::Reading> chosen;
  for (const std::size_t index : indexes) chosen.push_back(readings[index]);
  return chosen;
}

// A reading may go while the list is shown: its row says so.
void AddValue(const Client::Reading& reading, nlohmann::ordered_json& json, Row& cells) {
  if (!Client::HasValue(reading)) return;
  try {
    const Corvanta::SampleRecord value = Client::GetValue(reading);
    json["present"] = JsonOf(value, false);
    cells.push_back(TextOf(value));
  } catch (const Client::Error& error) {
    json["problem"] = error.what();
    cells.push_back(std::string("? ") + error.what());
  }
}

std::vector<std::string> ReadingsColumns(bool with_values) {
  std::vector<std::string> columns{"reading", "kind", "settable", "topic"};
  if (!with_values) return columns;
  for (const std::string& column : ValueColumns(false)) columns.push_back("present." + column);
  columns.push_back("problem");
  return columns;
}

void ShowReadings(const Session& session, const ReadingsArguments& arguments) {
  RowWriter rows(session.options, {"READING", "KIND", "", arguments.with_values ? "VALUE" : ""});
  rows.UseColumns(ReadingsColumns(arguments.with_values));
  for (const Client::Reading& reading : Chosen(session, arguments.patterns)) {
    const std::string name = Client::FullName(reading.name), kind = Client::Printable(reading.type_name);
    nlohmann::ordered_json json{
        {"reading", name}, {"kind", kind}, {"settable", reading.settable}, {"topic", Client::Printable(reading.topic)}};
    Row cells{name, kind, reading.settable ? "set" : ""};
    if (arguments.with_values) AddValue(reading, json, cells);
    rows.Add(json, std::move(cells));
  }
  rows.Finish();
}

}  // namespace

void DefineReadings(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("readings", "Readings and attributes of the engines, or those that fit patterns");
  verb->footer(kReadingsFooter);
  const auto arguments = std::make_shared<ReadingsArguments>();
  verb->add_option("PATTERN", arguments->patterns, "Names, or patterns with * and ?; without one, all");
  verb->add_flag("--values", arguments->with_values, "Show the present value of each");
  verb->callback([&command, arguments] {
    command.run = [arguments](const Session& session) { ShowReadings(session, *arguments); };
  });
}

}  // namespace Lumenar::Mathctl
