// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <nlohmann/json.hpp>

#include "client/values.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

struct GetArguments {
  std::string reading;
  bool samples = false;
};

void Get(const Session& session, const GetArguments& arguments) {
  const Client::Reading reading = session.Find(arguments.reading);
  const Corvanta::SampleRecord value = Client::GetValue(reading);
  if (!session.options.Json()) return WriteOut(TextOf(value));
  nlohmann::ordered_json json{{"reading", Client::FullName(reading.name)}};
  json.update(JsonOf(value, arguments.samples));
  WriteOut(OneLine(json));
}

}  // namespace

void DefineGet(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("get", "The present value of a reading, an attribute or a math object's RESULT");
  const auto arguments = std::make_shared<GetArguments>();
  verb->add_option("READING", arguments->reading, "A reading, or a math object as math:3")->required();
  verb->add_flag("--samples", arguments->samples, "With --json: all samples of a trace");
  verb->callback(
      [&command, arguments] { command.run = [arguments](const Session& session) { Get(session, *arguments); }; });
}

}  // namespace Lumenar::Mathctl
