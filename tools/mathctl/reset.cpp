// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "client/Error.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/several_objects.h"

namespace Lumenar::Mathctl {
namespace {

constexpr const char* kResetFooter =
    "A pattern leaves out the objects that have no RESET.\n"
    "\n"
    "Examples:\n"
    "  mathctl reset math:3\n"
    "  mathctl reset 'math:*'";

void Reset(const Session& session, const std::vector<std::string>& texts) {
  const bool all_that_can = HasWildcard(texts);
  ForEachObject(FindObjects(session, texts), [&](const Client::MathName& object) {
    try {
      session.ObjectsOf(object).Reset(object.id);
    } catch (const Client::Error& error) {
      if (!all_that_can || error.Kind() != Client::ErrorKind::BadArgument) throw;
    }
  });
}

}  // namespace

void DefineReset(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("reset", "Starts an Average or a Peak anew");
  verb->footer(kResetFooter);
  const auto ids = std::make_shared<std::vector<std::string>>();
  verb->add_option("ID", *ids, "Math objects, as math:3 or 3, or patterns as 'math:*'")->required();
  verb->callback([&command, ids] { command.run = [ids](const Session& session) { Reset(session, *ids); }; });
}

}  // namespace Lumenar::Mathctl
