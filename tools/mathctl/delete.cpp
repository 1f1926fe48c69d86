// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <memory>

#include "client/Error.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/several_objects.h"

namespace Lumenar::Mathctl {
namespace {

struct DeleteArguments {
  std::vector<std::string> objects;
  bool yes = false;
};

constexpr const char* kDeleteFooter =
    "Objects over a deleted one keep their last result. A pattern deletes with --yes only; without it, it says what "
    "it\n"
    "would delete.\n"
    "\n"
    "Examples:\n"
    "  mathctl delete math:3 math:4\n"
    "  mathctl delete 'math:*' --yes";

std::string SomeNames(const Session& session, const std::vector<Client::MathName>& objects) {
  constexpr std::size_t kShown = 10;
  std::string names;
  for (std::size_t i = 0; i < objects.size() && i < kShown; ++i) {
    names += (i == 0 ? "" : ", ") + session.TextOf(objects[i]);
  }
  return objects.size() > kShown ? names + ", ..." : names;
}

void Delete(const Session& session, const DeleteArguments& arguments) {
  const auto objects = FindObjects(session, arguments.objects);
  if (HasWildcard(arguments.objects) && !arguments.yes) {
    throw Client::Error(Client::ErrorKind::BadArgument, fmt::format("this would delete {} objects ({}); --yes does it",
                                                                    objects.size(), SomeNames(session, objects)));
  }
  ForEachObject(objects, [&](const Client::MathName& object) { session.ObjectsOf(object).Delete(object.id); });
}

}  // namespace

void DefineDelete(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("delete", "Deletes math objects");
  verb->footer(kDeleteFooter);
  const auto arguments = std::make_shared<DeleteArguments>();
  verb->add_option("ID", arguments->objects, "Math objects, as math:3 or 3, or patterns as 'math:*'")->required();
  verb->add_flag("-y,--yes", arguments->yes, "Delete what fits a pattern");
  verb->callback(
      [&command, arguments] { command.run = [arguments](const Session& session) { Delete(session, *arguments); }; });
}

}  // namespace Lumenar::Mathctl
