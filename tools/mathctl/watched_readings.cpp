// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/watched_readings.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <map>

#include "client/Error.h"
#include "client/MathState.h"
#include "client/TopicNames.h"

namespace Lumenar::Mathctl {
namespace {

/// What the math engines among some readings' engines tell of their objects, each asked once.
class ObjectsByTopic {
 public:
  ObjectsByTopic(const Session& session, const std::vector<Client::Reading>& readings)
      : session_(session), names_(session.connection, session.options.factory) {
    for (const Client::Reading& reading : readings) Learn(reading.name.engine);
  }

  KnownReading Describe(const Client::Reading& reading) {
    KnownReading known{reading, Client::FullName(reading.name), std::nullopt, "", true};
    const auto found = reports_.find(reading.topic);
    if (reading.topic.empty() || found == reports_.end()) return known;
    const Client::MathReport& report = found->second;
    std::vector<std::string> inputs;
    for (const Client::InputReport& input : report.inputs) inputs.push_back(names_.Of(input.topic));
    known.math = Client::MathName{reading.name.engine, report.id};
    known.type = report.type;
    known.name = fmt::format("{} {}({})", session_.TextOf(*known.math), report.type, fmt::join(inputs, ", "));
    known.has_value = report.points > 0;
    return known;
  }

 private:
  void Learn(const std::string& engine) {
    if (!Client::IsMathEngine(engine) || !asked_.emplace(engine, true).second) return;
    try {
      const auto reports = Client::MathObjects(session_.connection, engine).Reports();
      names_.Learn(engine, reports);
      for (const Client::MathReport& report : reports) reports_.emplace(report.result_topic, report);
    } catch (const Client::Error&) {  // the readings' own names will do
    }
  }

  const Session& session_;
  Client::TopicNames names_;
  std::map<std::string, bool> asked_;
  std::map<std::string, Client::MathReport> reports_;
};

}  // namespace

std::vector<KnownReading> Known(const Session& session, const std::vector<Client::Reading>& readings) {
  ObjectsByTopic objects(session, readings);
  std::vector<KnownReading> known;
  for (const Client::Reading& reading : readings) known.push_back(objects.Describe(reading));
  return known;
}

std::string SilenceReason(const Session& session, const KnownReading& known) {
  if (known.math) {
    Client::TopicNames names(session.connection, session.options.factory);
    const auto report = session.ObjectsOf(*known.math).Report(known.math->id);
    return Client::StateInWords(report, [&names](const std::string& topic) { return names.Of(topic); });
  }
  Client::Remote(known.name, known.reading.reference, "is its engine running?",
                 [&] { return CORBA::String_var(known.reading.reference->Name()); });
  return "its engine answers and has published nothing";
}

}  // namespace Lumenar::Mathctl
