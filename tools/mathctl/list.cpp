#include <fmt/format.h>

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

struct Described {
  Client::MathObject object;
  Client::ReadingName result;
  Corvanta::SampleRecord value;
};

// Nothing for an object that was deleted meanwhile.
std::optional<Described> Describe(Client::MathObjects& objects, const Client::MathObject& object) {
  try {
    const Client::Reading result = objects.Result(object.id);
    return Described{object, result.name, Client::GetValue(result)};
  } catch (const Client::Error& error) {
    if (error.Kind() == Client::ErrorKind::NotFound) return std::nullopt;
    throw;
  }
}

void ListObjects(const Session& session) {
  auto objects = session.Objects();
  std::vector<Row> rows;
  for (const Client::MathObject& object : objects.List()) {
    const auto described = Describe(objects, object);
    if (!described) continue;
    const std::string type = Client::Printable(object.type), result = Client::FullName(described->result);
    if (session.options.json) {
      WriteOut(OneLine(
          {{"id", object.id}, {"type", type}, {"result", result}, {"present", JsonOf(described->value, false)}}));
    }
    rows.push_back({fmt::format("math:{}", object.id), type, result, TextOf(described->value)});
  }
  if (!session.options.json) WriteTable({"ID", "TYPE", "RESULT", "VALUE"}, std::move(rows));
}

}  // namespace

void DefineList(CLI::App& app, Command& command) {
  app.add_subcommand("list", "The live math objects with their present results")->callback([&command] {
    command.run = ListObjects;
  });
}

}  // namespace Lumenar::Mathctl
