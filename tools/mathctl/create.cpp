// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "client/Error.h"
#include "client/Text.h"
#include "client/values.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/creation_advice.h"

namespace Lumenar::Mathctl {
namespace {

using Client::Error;
using Client::ErrorKind;

struct CreateArguments {
  std::string type;
  std::vector<std::string> inputs;
};

std::vector<ProposedInput> Proposed(const CreateArguments& arguments, const std::vector<Client::Reading>& readings) {
  std::vector<ProposedInput> inputs;
  for (std::size_t i = 0; i < readings.size(); ++i) {
    inputs.push_back({arguments.inputs[i], readings[i].type_name, std::nullopt});
  }
  return inputs;
}

[[noreturn]] void ThrowWithAdvice(const Error& error, const std::string& before, const std::string& after) {
  std::string text = before.empty() ? error.what() : before + ": " + error.what();
  if (!after.empty()) text += (text.back() == '.' ? " " : "; ") + after;
  throw Error(error.Kind(), text);
}

std::vector<Client::Reading> FindInputs(const Session& session, const std::string& type,
                                        const std::vector<std::string>& texts) {
  std::vector<Client::Reading> readings;
  try {
    for (const std::string& text : texts) readings.push_back(session.Find(text));
  } catch (const Error& error) {
    if (error.Kind() != ErrorKind::NotFound) throw;
    ThrowWithAdvice(error, NumbersInWords(type, texts), "");
  }
  return readings;
}

Client::MathObject CreateOver(Client::MathObjects& objects, const Client::MathType& type,
                              const CreateArguments& arguments, const std::vector<Client::Reading>& readings) {
  try {
    return objects.Create(type, readings);
  } catch (const Error& error) {
    if (error.Kind() != ErrorKind::Refused) throw;
    ThrowWithAdvice(error, NumbersInWords(type.name, arguments.inputs),
                    KindsInWords(type.name, Proposed(arguments, readings)));
  }
}

// Where the values cannot be had, nothing is said of them.
void Warn(const std::string& name, const Client::MathObject& object, const CreateArguments& arguments,
          const std::vector<Client::Reading>& readings) {
  std::vector<ProposedInput> inputs = Proposed(arguments, readings);
  try {
    for (std::size_t i = 0; i < readings.size(); ++i) inputs[i].present = Client::GetValue(readings[i]);
  } catch (const Error&) {
    return;
  }
  const std::string warning = WarningFor(object.type, inputs);
  if (!warning.empty()) WriteError(fmt::format("mathctl: warning: {}: {}", name, warning));
}

// The text form alone can be given to every other verb.
void Create(const Session& session, const CreateArguments& arguments) {
  Client::MathObjects objects = session.Objects();
  const Client::MathType type = objects.TypeFrom(arguments.type);
  const auto readings = FindInputs(session, type.name, arguments.inputs);
  const Client::MathObject object = CreateOver(objects, type, arguments, readings);
  const std::string name = session.TextOf({objects.Engine(), object.id});
  if (session.options.format == Format::Table) {
    WriteOut(name);
  } else {
    RowWriter rows(session.options, {});
    rows.Add({{"id", object.id}, {"type", Client::Printable(object.type)}, {"object", name}}, {});
    rows.Finish();
  }
  if (!session.options.quiet) Warn(name, object, arguments, readings);
}

constexpr const char* kCreateFooter =
    "The object is there even if its inputs cannot be combined now, since units and lengths of readings change; a "
    "warning\n"
    "on standard error says so, and what would do. START and STOP of a CumulativeAdd are readings, too.\n"
    "\n"
    "Examples:\n"
    "  mathctl create Average PROBE/1/WAKEUP_DB\n"
    "  mathctl create RelativeSubtract PROBE/1/WAKEUP_DB math:0\n"
    "  mathctl create CumulativeAdd PROBE/1/WAKEUP PROBE/1/START PROBE/1/STOP";

}  // namespace

void DefineCreate(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("create", "Creates a math object and writes its name");
  const auto arguments = std::make_shared<CreateArguments>();
  verb->add_option("TYPE", arguments->type, "Name or number of the type, see `mathctl types`")->required();
  verb->add_option("INPUT", arguments->inputs, "Its inputs: readings, or math objects as math:3")->required();
  verb->footer(kCreateFooter);
  verb->callback(
      [&command, arguments] { command.run = [arguments](const Session& session) { Create(session, *arguments); }; });
}

}  // namespace Lumenar::Mathctl
