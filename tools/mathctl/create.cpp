// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "client/Text.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

struct CreateArguments {
  std::string type;
  std::vector<std::string> inputs;
};

// The text form alone can be given to every other verb.
void Create(const Session& session, const CreateArguments& arguments) {
  const Client::MathObject object = session.Objects().Create(arguments.type, arguments.inputs);
  if (session.options.Json()) {
    WriteOut(OneLine({{"id", object.id}, {"type", Client::Printable(object.type)}}));
  } else {
    WriteOut(fmt::format("math:{}", object.id));
  }
}

}  // namespace

void DefineCreate(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("create", "Creates a math object and writes its id");
  const auto arguments = std::make_shared<CreateArguments>();
  verb->add_option("TYPE", arguments->type, "Name or number of the type, see `mathctl types`")->required();
  verb->add_option("INPUT", arguments->inputs, "Its inputs: readings, or math objects as math:3")->required();
  verb->callback(
      [&command, arguments] { command.run = [arguments](const Session& session) { Create(session, *arguments); }; });
}

}  // namespace Lumenar::Mathctl
