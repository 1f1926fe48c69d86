// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/object_reports.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "client/Error.h"
#include "client/Text.h"
#include "client/Wildcard.h"

namespace Lumenar::Mathctl {

using Client::Error;
using Client::ErrorKind;

ObjectReports::ObjectReports(const Session& session, ObjectSelection selection)
    : session_(session), all_engines_(selection.all_engines), names_(session.connection, session.options.factory) {
  for (std::string& text : selection.filters) {
    const auto object = session.MathFrom(text);
    filters_.push_back({std::move(text), object, false});
  }
}

const std::vector<ReportedObject>& ObjectReports::Ask() {
  std::vector<ReportedObject> objects;
  std::optional<Error> silent;
  for (const std::string& engine : EnginesToAsk()) {
    try {
      AskEngine(engine, objects);
    } catch (const Error& error) {
      if (NamesEngine(engine)) throw;
      silent = error;
    }
  }
  objects_ = std::move(objects);
  silent_ = std::move(silent);
  return objects_;
}

/// All of them, or those that the filters name; --factory's unless every filter is an object of another.
std::vector<std::string> ObjectReports::EnginesToAsk() {
  std::vector<std::string> engines;
  const auto add = [&](const std::string& engine) {
    if (std::find(engines.begin(), engines.end(), engine) == engines.end()) engines.push_back(engine);
  };
  const auto is_object = [](const Filter& filter) { return filter.object.has_value(); };
  if (filters_.empty() || !std::all_of(filters_.begin(), filters_.end(), is_object)) add(session_.options.factory);
  for (const Filter& filter : filters_) {
    if (filter.object) add(filter.object->engine);
  }
  if (!all_engines_) return engines;
  for (const Client::Engine& engine : session_.connection.Engines()) {
    if (Client::IsMathEngine(engine.name)) add(engine.name);
  }
  std::sort(engines.begin(), engines.end());
  return engines;
}

bool ObjectReports::NamesEngine(const std::string& engine) const {
  if (!all_engines_) return true;
  return std::any_of(filters_.begin(), filters_.end(),
                     [&](const Filter& filter) { return filter.object && filter.object->engine == engine; });
}

void ObjectReports::AskEngine(const std::string& engine, std::vector<ReportedObject>& objects) {
  std::vector<Client::MathReport> reports = Client::MathObjects(session_.connection, engine).Reports();
  names_.Learn(engine, reports);
  for (Client::MathReport& report : reports) {
    const std::int32_t id = report.id;
    ReportedObject object{{engine, id}, std::move(report)};
    if (IsSelected(object)) objects.push_back(std::move(object));
  }
}

bool ObjectReports::IsSelected(const ReportedObject& object) {
  bool selected = filters_.empty();
  for (Filter& filter : filters_) {
    if (!Fits(filter, object)) continue;
    filter.found = true;
    selected = true;
  }
  return selected;
}

bool ObjectReports::Fits(const Filter& filter, const ReportedObject& object) {
  if (filter.object) return *filter.object == object.name;
  const auto fits = [&](const std::string& name) { return Client::WildcardFits(filter.text, name); };
  if (fits(session_.TextOf(object.name)) || fits(object.report.type)) return true;
  const auto& inputs = object.report.inputs;
  return std::any_of(inputs.begin(), inputs.end(), [&](const auto& input) { return fits(names_.Of(input.topic)); });
}

void ObjectReports::RequireAll() const {
  for (const Filter& filter : filters_) {
    if (filter.found) continue;
    if (filter.object) throw Error(ErrorKind::NotFound, "no math object " + session_.TextOf(*filter.object));
    throw Error(ErrorKind::NotFound,
                fmt::format("no math object fits \"{}\"; `mathctl list` lists them", Client::Printable(filter.text)));
  }
}

}  // namespace Lumenar::Mathctl
