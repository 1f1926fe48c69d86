// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "client/Text.h"
#include "client/values.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/sample_text.h"
#include "tools/mathctl/table.h"

namespace Lumenar::Mathctl {
namespace {

using Client::Printable;

struct ListOptions {
  bool values = false;
};

std::vector<std::string> PrintableInputs(const Client::MathStatus& object) {
  std::vector<std::string> inputs;
  for (const std::string& topic : object.inputs) inputs.push_back(Printable(topic));
  return inputs;
}

// Nothing for an object that was deleted meanwhile.
std::optional<Corvanta::SampleRecord> PresentValue(const Client::MathStatus& object) {
  try {
    return Client::GetValue(object.result);
  } catch (const Client::Error& error) {
    if (error.Kind() == Client::ErrorKind::NotFound) return std::nullopt;
    throw;
  }
}

nlohmann::ordered_json JsonFor(const Client::MathStatus& object) {
  return {{"id", object.id},
          {"type", Printable(object.type)},
          {"result", Client::FullName(object.result.name)},
          {"topic", Printable(object.result.topic)},
          {"inputs", PrintableInputs(object)},
          {"refused", object.refused},
          {"last_reason", Printable(object.last_reason)}};
}

Row RowFor(const Client::MathStatus& object) {
  const std::string reason = object.refused == 0 ? "" : fmt::format(" ({})", Printable(object.last_reason));
  return {fmt::format("math:{}", object.id), Printable(object.type), Client::FullName(object.result.name),
          fmt::format("{}", fmt::join(PrintableInputs(object), ", ")), fmt::format("{}{}", object.refused, reason)};
}

void ListObjects(const Session& session, const ListOptions& options) {
  std::vector<Row> rows;
  for (const Client::MathStatus& object : session.Objects().List()) {
    Row row = RowFor(object);
    nlohmann::ordered_json line = JsonFor(object);
    if (options.values) {
      const auto value = PresentValue(object);
      if (!value) continue;
      row.push_back(TextOf(*value));
      line["present"] = JsonOf(*value, false);
    }
    if (session.options.Json()) WriteOut(OneLine(line));
    rows.push_back(std::move(row));
  }
  Row header{"ID", "TYPE", "RESULT", "INPUTS", "REFUSED"};
  if (options.values) header.push_back("VALUE");
  if (!session.options.Json()) WriteTable(header, std::move(rows));
}

}  // namespace

void DefineList(CLI::App& app, Command& command) {
  const auto options = std::make_shared<ListOptions>();
  auto* verb = app.add_subcommand("list", "The live math objects: inputs, results, and samples that they refused");
  verb->add_flag("--values", options->values, "Also the present result of each, by a call to each");
  verb->callback(
      [options, &command] { command.run = [options](const Session& session) { ListObjects(session, *options); }; });
}

}  // namespace Lumenar::Mathctl
