// SPDX-License-Identifier: Apache-2.0
// A client that shows what there is: engines, readings with their present values, math objects with what they compute and how
// they are, and what is not well. Ends with 3 when something is not. Usage: look_around [HOST:PORT of the naming service]
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <variant>

#include "client/Diagnosis.h"
#include "client/Explanation.h"
#include "client/MathState.h"
#include "client/TopicNames.h"
#include "client/values.h"
#include "platform/base/Version.h"

namespace {

namespace Client = Lumenar::Client;

std::unique_ptr<Client::Connection> Connect(int argc, char** argv) {
  if (argc > 1) return std::make_unique<Client::Connection>(std::string(argv[1]));
  return std::make_unique<Client::Connection>();  // where the environment says, else port 2700 of this machine
}

std::string ValueText(const Client::Reading& reading) {
  if (!Client::HasValue(reading)) return "an action";
  const Corvanta::SampleRecord record = Client::GetValue(reading);
  if (const auto* trace = std::get_if<Corvanta::BASIC_TRACE::BT_DATA>(&record)) {
    return std::to_string(trace->samples.length()) + " points";
  }
  if (const auto* scalar = std::get_if<Corvanta::VALUE_DOUBLE::VALUE>(&record)) return std::to_string(scalar->val);
  if (const auto* number = std::get_if<CORBA::Long>(&record)) return std::to_string(*number);
  return std::get<bool>(record) ? "true" : "false";
}

void ShowReadings(Client::Connection& connection) {
  for (const Client::Engine& engine : connection.Engines()) {
    std::cout << engine.name << " at " << engine.address << (engine.problem ? ": does not answer" : "") << '\n';
  }
  for (const Client::Reading& reading : connection.Readings()) {
    std::cout << Client::FullName(reading.name) << ": " << ValueText(reading) << '\n';
  }
}

void ShowObjects(Client::Connection& connection) {
  Client::MathObjects objects(connection);
  Client::TopicNames names(connection, objects.Engine());
  for (const Client::MathReport& report : objects.Reports()) {
    const auto name = [&names](const std::string& topic) { return names.Of(topic); };
    const auto result = objects.Result(report.id);
    const auto explanation = Client::Explain(connection, objects, result, names, std::chrono::milliseconds(100));
    std::cout << "math:" << report.id << ": " << explanation.nodes.front().computation.words << "; "
              << Client::StateInWords(report, name) << '\n';
  }
}

bool AllIsWell(Client::Connection& connection) {
  bool well = true;
  for (const Client::Finding& finding : Client::Diagnose(connection, {Corvanta::kFirstMathFactory, ""})) {
    if (finding.verdict == Client::Verdict::Well) continue;
    std::cout << finding.part << ": " << finding.text << "; " << finding.remedy << '\n';
    well = false;
  }
  return well;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    std::cout << "client library " << Lumenar::Version() << '\n';
    const auto connection = Connect(argc, argv);
    ShowReadings(*connection);
    ShowObjects(*connection);
    return AllIsWell(*connection) ? EXIT_SUCCESS : 3;
  } catch (const Client::Error& error) {
    std::cerr << "look_around: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
