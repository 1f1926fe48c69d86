// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "client/Text.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/operation_notes.h"

namespace Lumenar::Mathctl {
namespace {

void ShowTypes(const Session& session) {
  RowWriter rows(session.options, {"NUMBER", "TYPE", "INPUTS", "RESULT"});
  for (const Client::MathType& type : session.Objects().Types()) {
    const std::string name = Client::Printable(type.name);
    const OperationNote* note = NoteOf(type.name);
    const std::string inputs = note != nullptr ? note->inputs : "";
    const std::string result = note != nullptr ? note->result : "";
    rows.Add({{"number", type.number}, {"name", name}, {"inputs", inputs}, {"result", result}},
             {std::to_string(type.number), name, inputs, result});
  }
  rows.Finish();
}

}  // namespace

void DefineTypes(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("types", "The types of math objects that can be created");
  verb->footer("Example:\n  mathctl types");
  verb->callback([&command] { command.run = ShowTypes; });
}

}  // namespace Lumenar::Mathctl
