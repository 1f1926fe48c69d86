// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <nlohmann/json.hpp>

#include "client/Text.h"
#include "client/values.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/sample_text.h"
#include "tools/mathctl/table.h"

namespace Lumenar::Mathctl {
namespace {

bool HasValue(const Client::Reading& reading) { return reading.type_name != "void"; }

// A reading may go while the list is shown: its row says so.
std::string ValueText(const Client::Reading& reading) {
  try {
    return HasValue(reading) ? TextOf(Client::GetValue(reading)) : "";
  } catch (const Client::Error& error) {
    return std::string("? ") + error.what();
  }
}

nlohmann::ordered_json Described(const Client::Reading& reading) {
  return {{"reading", Client::FullName(reading.name)},
          {"kind", Client::Printable(reading.type_name)},
          {"settable", reading.settable},
          {"topic", Client::Printable(reading.topic)}};
}

void ShowReadings(const Session& session, bool with_values) {
  std::vector<Row> rows;
  for (const Client::Reading& reading : session.connection.Readings()) {
    if (session.options.Json()) {
      auto json = Described(reading);
      if (with_values && HasValue(reading)) json["present"] = JsonOf(Client::GetValue(reading), false);
      WriteOut(OneLine(json));
      continue;
    }
    rows.push_back({Client::FullName(reading.name), Client::Printable(reading.type_name), reading.settable ? "set" : "",
                    with_values ? ValueText(reading) : ""});
  }
  if (!session.options.Json()) WriteTable({"READING", "KIND", "", with_values ? "VALUE" : ""}, std::move(rows));
}

}  // namespace

void DefineReadings(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("readings", "All readings and attributes of all engines");
  const auto with_values = std::make_shared<bool>(false);
  verb->add_flag("--values", *with_values, "Show the present value of each");
  verb->callback([&command, with_values] {
    command.run = [with_values](const Session& session) { ShowReadings(session, *with_values); };
  });
}

}  // namespace Lumenar::Mathctl
