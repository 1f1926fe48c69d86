// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/RecordingPlan.h"

#include <fmt/format.h>

#include <utility>

#include "client/Error.h"
#include "client/Text.h"
#include "client/values.h"

namespace Lumenar::Mathctl {

RecordingPlan::RecordingPlan(const Session& session)
    : session_(session), names_(session.connection, session.options.factory) {}

void RecordingPlan::AddReadings(const std::vector<std::string>& texts) {
  for (const Client::Reading& reading : session_.FindAll(texts)) Add(reading);
}

void RecordingPlan::AddWithInputs(const std::string& object) { AddWithInputs(session_.RequireMath(object)); }

void RecordingPlan::AddWithInputs(const Client::MathName& object) {
  Client::MathObjects objects = session_.ObjectsOf(object);
  const Client::Reading result = objects.Result(object.id);
  if (taken_.contains(names_.Of(result.topic))) return;
  for (const Client::Reading& input : objects.Inputs(object.id)) {
    if (const auto math = session_.MathFrom(names_.Of(input.topic))) {
      AddWithInputs(*math);
    } else {
      Add(input);
    }
  }
  Add(result);
}

void RecordingPlan::Add(const Client::Reading& reading) {
  if (!Client::HasValue(reading)) {
    throw Client::Error(Client::ErrorKind::BadArgument,
                        Client::FullName(reading.name) + " has no value that could be recorded");
  }
  PlannedReading planned;
  planned.info.name = names_.Of(reading.topic);
  if (!taken_.insert(planned.info.name).second) return;
  planned.reading = reading;
  planned.info.engine = Client::Printable(reading.name.engine);
  planned.info.item = Client::Printable(reading.name.item);
  planned.info.kind = Client::Printable(reading.type_name);
  planned.info.topic = Client::Printable(reading.topic);
  planned.math = session_.MathFrom(planned.info.name);
  if (planned.math) Describe(planned, *planned.math);
  planned_.push_back(std::move(planned));
}

void RecordingPlan::Describe(PlannedReading& planned, const Client::MathName& object) {
  Client::MathObjects objects = session_.ObjectsOf(object);
  const Client::MathReport report = objects.Report(object.id);
  Recording::ObjectInfo info{report.id, Client::Printable(report.type), {}, 0};
  for (const Client::InputReport& input : report.inputs) info.inputs.push_back(names_.Of(input.topic));
  if (report.size > 0) planned.size = objects.Item(object.id, "SIZE");
  planned.info.object = std::move(info);
}

}  // namespace Lumenar::Mathctl
