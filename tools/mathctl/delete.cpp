// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {

void DefineDelete(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("delete", "Deletes math objects");
  const auto ids = std::make_shared<std::vector<std::string>>();
  verb->add_option("ID", *ids, "Math objects, as math:3 or 3")->required();
  verb->callback([&command, ids] {
    command.run = [ids](const Session& session) {
      for (const std::string& id : *ids) {
        const Client::MathName object = session.RequireMath(id);
        session.ObjectsOf(object).Delete(object.id);
      }
    };
  });
}

}  // namespace Lumenar::Mathctl
