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

void ShowEngines(const Session& session) {
  std::vector<Row> rows;
  for (const Client::Engine& engine : session.connection.Engines()) {
    const std::string name = Client::Printable(engine.name);
    const std::string address = Client::Printable(engine.address);
    if (session.options.json) {
      WriteOut(OneLine({{"engine", name},
                        {"address", address},
                        {"answers", !engine.problem},
                        {"problem", engine.problem ? StateOf(engine) : ""}}));
    }
    rows.push_back({name, address, StateOf(engine)});
  }
  if (!session.options.json) WriteTable({"ENGINE", "ADDRESS", "STATE"}, std::move(rows));
}

}  // namespace

void DefineEngines(CLI::App& app, Command& command) {
  app.add_subcommand("engines", "The engines that are registered, and whether they answer")->callback([&command] {
    command.run = ShowEngines;
  });
}

}  // namespace Lumenar::Mathctl
