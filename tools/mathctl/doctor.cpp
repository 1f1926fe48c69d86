// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "client/Text.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/sample_text.h"
#include "tools/mathctl/table.h"

namespace Lumenar::Mathctl {
namespace {

using Client::Error;
using Client::ErrorKind;

struct Finding {
  std::string part;
  std::string address;
  bool well;
  std::string text;
  bool notable = false;  ///< well, but somebody should look at it
};

// Examines one part of the platform; a failure is its finding.
template <class Examine>
Finding Examined(const std::string& part, Examine&& examine) {
  Finding finding{part, "", true, "", false};
  try {
    examine(finding);
  } catch (const Error& error) {
    finding.well = false;
    finding.text = Client::Printable(error.what());
  }
  return finding;
}

Finding NamingService(Client::Connection& connection) {
  return Examined("naming service", [&](Finding& finding) {
    finding.address = connection.NamingAddress();
    finding.text = fmt::format("{} engines registered", connection.Engines().size());
  });
}

Finding TopicManager(Client::Connection& connection) {
  return Examined("topic manager", [&](Finding& finding) {
    const auto manager = connection.TopicManager();
    finding.address = Client::Printable(connection.AddressOf(manager));
    Client::Remote("topic manager", [&] {
      const Corvanta::TopicStatusSeq_var topics = manager->Topics();
      Corvanta::SubscriptionStatusSeq_var subscriptions = manager->Subscriptions();
      unsigned long long dropped = 0, stalled = 0;
      for (CORBA::ULong i = 0; i < subscriptions->length(); ++i) {
        dropped += subscriptions[i].dropped;
        stalled += subscriptions[i].stalled ? 1 : 0;
      }
      finding.text = fmt::format("{} topics, {} subscriptions, {} samples dropped, {} subscribers stalled",
                                 topics->length(), subscriptions->length(), dropped, stalled);
    });
  });
}

Finding HwEnumeration(Client::Connection& connection) {
  return Examined("hardware enumeration", [&](Finding& finding) {
    const auto service = connection.HwEnumeration();
    finding.address = Client::Printable(connection.AddressOf(service));
    Client::Remote("hardware enumeration", [&] {
      Corvanta::EngineProgressSeq_var engines = service->Engines();
      finding.text = fmt::format("{} engines reported", engines->length());
      for (CORBA::ULong i = 0; i < engines->length(); ++i) {
        finding.text += fmt::format(", {} at {} %", Client::Printable(engines[i].engine.in()),
                                    Client::Printable(engines[i].progress.in()));
      }
    });
  });
}

Finding EngineFinding(const Client::Engine& engine) {
  Finding finding = Examined("engine " + Client::Printable(engine.name), [&](Finding& found) {
    if (engine.problem) throw *engine.problem;
    const Corvanta::ItemSeq_var items = Client::Remote(engine.name, [&] { return engine.registration->Items(); });
    const auto lost = Client::Remote(engine.name, [&] { return engine.registration->LostSamples(); });
    found.text = fmt::format("{} readings and attributes, {} samples not sent", items->length(), lost);
  });
  finding.address = Client::Printable(engine.address);
  return finding;
}

Finding MathEngine(const Session& session) {
  return Examined("math engine", [&](Finding& finding) {
    const std::vector<Client::MathStatus> objects = session.Objects().List();
    finding.text = fmt::format("{} math objects", objects.size());
    const auto refuses = [](const Client::MathStatus& object) { return object.refused > 0; };
    const auto refusing = std::count_if(objects.begin(), objects.end(), refuses);
    if (refusing == 0) return;
    const auto most = std::max_element(objects.begin(), objects.end(),
                                       [](const auto& a, const auto& b) { return a.refused < b.refused; });
    finding.notable = true;
    finding.text += fmt::format(", {} of them refused samples, most of all math:{}: {}, the last for {}", refusing,
                                most->id, most->refused, Client::Printable(most->last_reason));
  });
}

std::vector<Finding> Examine(const Session& session) {
  Client::Connection& connection = session.connection;
  std::vector<Finding> findings{NamingService(connection)};
  if (!findings.front().well) return findings;  // nothing else can be found without it
  findings.push_back(TopicManager(connection));
  findings.push_back(HwEnumeration(connection));
  for (const Client::Engine& engine : connection.Engines()) findings.push_back(EngineFinding(engine));
  findings.push_back(MathEngine(session));
  return findings;
}

const char* StateOf(const Finding& finding) {
  if (!finding.well) return "FAILS";
  return finding.notable ? "look" : "well";
}

void Write(const std::vector<Finding>& findings, bool json) {
  std::vector<Row> rows;
  for (const Finding& finding : findings) {
    if (json) {
      WriteOut(OneLine({{"part", finding.part},
                        {"address", finding.address},
                        {"well", finding.well},
                        {"notable", finding.notable},
                        {"text", finding.text}}));
    }
    rows.push_back({StateOf(finding), finding.part, finding.address, finding.text});
  }
  if (!json) WriteTable({}, std::move(rows));
}

void Doctor(const Session& session) {
  const auto findings = Examine(session);
  Write(findings, session.options.Json());
  const auto failing =
      std::count_if(findings.begin(), findings.end(), [](const Finding& finding) { return !finding.well; });
  if (failing > 0) throw Error(ErrorKind::Unreachable, fmt::format("{} of {} parts fail", failing, findings.size()));
}

}  // namespace

void DefineDoctor(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("doctor", "Examines the platform part by part; exit code 3 when one does not answer");
  verb->callback([&command] { command.run = Doctor; });
}

}  // namespace Lumenar::Mathctl
