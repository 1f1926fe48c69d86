// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "client/Text.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/sample_text.h"
#include "tools/mathctl/table.h"

namespace Lumenar::Mathctl {
namespace {

void ShowTypes(const Session& session) {
  std::vector<Row> rows;
  for (const Client::MathType& type : session.Objects().Types()) {
    const std::string name = Client::Printable(type.name);
    if (session.options.Json()) WriteOut(OneLine({{"number", type.number}, {"name", name}}));
    rows.push_back({std::to_string(type.number), name});
  }
  if (!session.options.Json()) WriteTable({"NUMBER", "TYPE"}, std::move(rows));
}

}  // namespace

void DefineTypes(CLI::App& app, Command& command) {
  app.add_subcommand("types", "The types of math objects that can be created")->callback([&command] {
    command.run = ShowTypes;
  });
}

}  // namespace Lumenar::Mathctl
