// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "client/Text.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/sample_text.h"
#include "tools/mathctl/table.h"

namespace Lumenar::Mathctl {
namespace {

std::string StateOf(const Client::Engine& engine) {
  return engine.problem ? Client::Printable(engine.problem->what()) : "answers";
}

/// Empty for an engine that does not tell.
std::string VersionOf(const Session& session, const Client::Engine& engine) {
  try {
    return Client::Printable(session.connection.VersionOf(engine));
  } catch (const Client::Error&) {  // the others are shown all the same
    return {};
  }
}

void ShowEngines(const Session& session) {
  std::vector<Row> rows;
  for (const Client::Engine& engine : session.connection.Engines()) {
    const std::string name = Client::Printable(engine.name);
    const std::string address = Client::Printable(engine.address);
    const std::string version = VersionOf(session, engine);
    if (session.options.Json()) {
      WriteOut(OneLine({{"engine", name},
                        {"address", address},
                        {"answers", !engine.problem},
                        {"problem", engine.problem ? StateOf(engine) : ""},
                        {"version", version}}));
    }
    rows.push_back({name, address, StateOf(engine), version});
  }
  if (!session.options.Json()) WriteTable({"ENGINE", "ADDRESS", "STATE", "VERSION"}, std::move(rows));
}

}  // namespace

void DefineEngines(CLI::App& app, Command& command) {
  app.add_subcommand("engines", "The engines that are registered, whether they answer, and their versions")
      ->callback([&command] { command.run = ShowEngines; });
}

}  // namespace Lumenar::Mathctl
