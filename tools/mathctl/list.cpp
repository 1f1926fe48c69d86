// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "client/Error.h"
#include "client/values.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/object_reports.h"
#include "tools/mathctl/object_row.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

struct ListOptions {
  ObjectSelection selection;
  bool values = false;
};

// Nothing for an object that was deleted meanwhile.
std::optional<Corvanta::SampleRecord> PresentValue(const Session& session, const Client::MathName& object) {
  try {
    return Client::GetValue(session.ObjectsOf(object).Result(object.id));
  } catch (const Client::Error& error) {
    if (error.Kind() == Client::ErrorKind::NotFound) return std::nullopt;
    throw;
  }
}

void AddObject(const Session& session, const ReportedObject& object, ObjectReports& reports, bool with_value,
               RowWriter& rows) {
  const bool for_people = session.options.format == Format::Table;
  Row cells = for_people ? ObjectCells(session, object, reports.Names()) : Row();
  auto json = for_people ? nlohmann::ordered_json() : ObjectJson(session, object, reports.Names());
  if (with_value) {
    const auto value = PresentValue(session, object.name);
    if (!value) return;
    for_people ? cells.push_back(TextOf(*value)) : json["present"].update(JsonOf(*value, false));
  }
  rows.Add(json, std::move(cells));
}

void ListObjects(const Session& session, const ListOptions& options) {
  ObjectReports reports(session, options.selection);
  const auto& objects = reports.Ask();
  reports.RequireAll();
  Row header = ObjectHeader();
  if (options.values) header.push_back("VALUE");
  RowWriter rows(session.options, std::move(header));
  for (const ReportedObject& object : objects) AddObject(session, object, reports, options.values, rows);
  rows.Finish();
  if (reports.Silent()) throw *reports.Silent();
}

constexpr const char* kListFooter =
    "SIZE is how many samples an Average holds of how many it takes. RATE and AGE are of results. STATE is one of: "
    "live;\n"
    "waiting for a first sample of an input; stale for a time, when for five times the usual interval, and three "
    "seconds\n"
    "at least, no result came; input away, when its engine does not answer; or why the last sample was refused.\n"
    "\n"
    "Examples:\n"
    "  mathctl list\n"
    "  mathctl list math:3 'PROBE/1/*' Average      # this object, those over any reading of PROBE/1, all Averages\n"
    "  mathctl list --json | jq -r 'select(.state != \"live\") | .object'";

}  // namespace

void DefineList(CLI::App& app, Command& command) {
  const auto options = std::make_shared<ListOptions>();
  auto* verb = app.add_subcommand("list", "The math objects: inputs, results, and how each is doing");
  verb->add_option("OBJECT", options->selection.filters,
                   "These alone: math:3, or a pattern with * and ? of an object, a type or an input");
  verb->add_flag("--all", options->selection.all_engines, "Of all math engines");
  verb->add_flag("--values", options->values, "Also the present result of each, by a call to each");
  verb->footer(kListFooter);
  verb->callback(
      [options, &command] { command.run = [options](const Session& session) { ListObjects(session, *options); }; });
}

}  // namespace Lumenar::Mathctl
