// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "client/Text.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {
namespace {

constexpr const char* kEnginesFooter =
    "Example:\n"
    "  mathctl engines -w 1";

/// Empty for an engine that does not tell.
std::string VersionOf(const Session& session, const Client::Engine& engine) {
  try {
    return Client::Printable(session.connection.VersionOf(engine));
  } catch (const Client::Error&) {  // the others are shown all the same
    return {};
  }
}

void ShowEngines(const Session& session) {
  RowWriter rows(session.options, {"ENGINE", "ADDRESS", "STATE", "VERSION"});
  for (const Client::Engine& engine : session.connection.Engines()) {
    const std::string name = Client::Printable(engine.name);
    const std::string address = Client::Printable(engine.address);
    const std::string version = VersionOf(session, engine);
    const std::string problem = engine.problem ? Client::Printable(engine.problem->what()) : "";
    rows.Add({{"engine", name},
              {"address", address},
              {"answers", !engine.problem},
              {"problem", problem},
              {"version", version}},
             {name, address, engine.problem ? problem : "answers", version});
  }
  rows.Finish();
}

}  // namespace

void DefineEngines(CLI::App& app, Command& command) {
  auto* verb =
      app.add_subcommand("engines", "The engines that are registered, whether they answer, and their versions");
  verb->footer(kEnginesFooter);
  verb->callback([&command] { command.run = ShowEngines; });
}

}  // namespace Lumenar::Mathctl
