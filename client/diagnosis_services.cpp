// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <random>
#include <string_view>
#include <utility>
#include <variant>

#include "client/Duration.h"
#include "client/Subscription.h"
#include "client/Text.h"
#include "client/amounts.h"
#include "client/diagnosis_parts.h"
#include "platform/base/Version.h"
#include "platform/orb/names.h"

namespace Lumenar::Client {
namespace {

constexpr const char* kTopicManagerRemedy = "start it: topic_manager";

std::string_view HostOf(std::string_view address) { return address.substr(0, address.rfind(':')); }

// Whether an address, HOST:PORT or unix:PATH, is one that means this machine wherever it is used.
bool IsOfThisMachine(std::string_view address) {
  const std::string_view host = HostOf(address);
  return address.rfind("unix:", 0) == 0 || host == "localhost" || host.rfind("127.", 0) == 0 || host == "[::1]" ||
         host == "::1";
}

bool ListensToThisMachineAlone(const std::vector<std::string>& endpoints) {
  return std::all_of(endpoints.begin(), endpoints.end(), [](const std::string& endpoint) {
    constexpr std::string_view kTcp = "giop:tcp:";
    return endpoint.rfind(kTcp, 0) != 0 || IsOfThisMachine(std::string_view(endpoint).substr(kTcp.size()));
  });
}

std::string ConfigurationFile() {
  const char* file = std::getenv("LUMENAR_TRANSPORT_CONF");
  return file != nullptr && *file != '\0' ? file : "the transport configuration";
}

// "probe.engine" reports for "PROBE/1", "math_factory.engine" for "MATHFACTORY/1".
std::string LettersOf(std::string_view text) {
  std::string letters;
  for (const char c : text.substr(0, text.find_first_of("./"))) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0)
      letters += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return letters;
}

// The name of the engine whose registration object has this instance number.
std::string EngineAtInstance(Connection& connection, CORBA::Long instance) {
  const std::string name = fmt::format("{}/{}", Corvanta::kRegistrationName, instance);
  const auto registration = Narrowed<Corvanta::GUI_Able>(connection.Lookup(name), name);
  return Remote(name, [&] { return std::string(CORBA::String_var(registration->EngineName()).in()); });
}

// Errors   NotFound where it has ended and taken its names back.
std::string NameOfReported(Connection& connection, const Corvanta::EngineProgress& reported, bool shares_instance) {
  std::string name = Printable(EngineAtInstance(connection, reported.instance));
  if (shares_instance && LettersOf(name) != LettersOf(reported.engine.in()))
    throw Error(ErrorKind::NotFound, "has ended; its instance is that of " + name + " now");
  return name;
}

// Replays and references come and go. Whoever needs one that has gone is told so where its readings are examined.
bool ComesAndGoes(const Corvanta::EngineProgress& reported) { return LettersOf(reported.engine.in()) == "REPLAY"; }

Finding ExamineReportedEngine(Connection& connection, const Corvanta::EngineProgress& reported, bool shares_instance) {
  const std::string file = Printable(reported.engine.in()), progress = Printable(reported.progress.in());
  const std::string gone = "start it again, or forget it: restart hw_enumeration without its --state file";
  return Examined(fmt::format("reported engine {} {}", file, reported.instance), gone, [&](Finding& finding) {
    try {
      finding.text = fmt::format("is {}, {} % started", NameOfReported(connection, reported, shares_instance),
                                 progress.empty() ? "0" : progress);
    } catch (const Error& error) {
      if (error.Kind() != ErrorKind::NotFound || !ComesAndGoes(reported)) throw;
      finding.text = "has ended, as replays and references do";
      return;
    }
    if (progress == "100") return;
    finding.verdict = Verdict::Look;
    finding.remedy = "see its standard output: it has not finished starting";
  });
}

// Something to look at.
void Note(const std::string& text, const std::string& remedy, Finding& finding) {
  finding.verdict = Verdict::Look;
  finding.text += text;
  finding.remedy += (finding.remedy.empty() ? "" : "; ") + remedy;
}

// The name of an engine has to lead to the process that registered it.
void NoteName(Connection& connection, const Engine& engine, Finding& finding) {
  const std::string name = Printable(Corvanta::LocalPathText(engine.name));
  try {
    const std::string address = connection.AddressOf(connection.Lookup(engine.name));
    if (address == engine.address) return;
    Note(fmt::format("; the name {} leads to another process, at {}", name, Printable(address)),
         "end the one that is not wanted, and start the other again", finding);
  } catch (const Error& error) {
    if (error.Kind() != ErrorKind::NotFound) throw;
    Note(fmt::format("; the naming service has no {}", name),
         "the engine binds it again within seconds; where it does not, start it again", finding);
  }
}

void NoteVersion(const std::string& version, Finding& finding) {
  if (version.empty() || version == Version()) return;
  Note(fmt::format("; version {}, this command {}", Printable(version), Version()),
       "install one version everywhere, and restart the engine", finding);
}

}  // namespace

std::string RestartRemedy(const std::string& engine) {
  const std::string_view stem = Corvanta::NameWithoutInstance(engine);
  if (stem == Corvanta::kMathEngineName) return "start it again: engine_host math_factory_hh";
  std::string library;
  for (const char c : stem) library += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return fmt::format("start it again: engine_host {}, or the path of its library, or the replay that offered it",
                     Printable(library));
}

std::vector<SubscriptionView> SubscriptionsOf(Connection& connection) {
  const auto manager = connection.TopicManager();
  const Corvanta::SubscriptionStatusSeq_var all = Remote("topic manager", [&] { return manager->Subscriptions(); });
  std::vector<SubscriptionView> views;
  views.reserve(all->length());
  for (CORBA::ULong i = 0; i < all->length(); ++i) {
    const Corvanta::SubscriptionStatus& one = all.in()[i];
    views.push_back({one.handle, one.topic.in(), one.address.in(), static_cast<bool>(one.stalled), one.dropped});
  }
  return views;
}

PublishedCounts PublishedOf(Connection& connection) {
  const auto manager = connection.TopicManager();
  const Corvanta::TopicStatusSeq_var topics = Remote("topic manager", [&] { return manager->Topics(); });
  PublishedCounts counts;
  for (CORBA::ULong i = 0; i < topics->length(); ++i) counts[topics.in()[i].topic.in()] = topics.in()[i].published;
  return counts;
}

Finding ExamineSettings(Connection& connection) {
  const Corvanta::TransportConfig& transport = connection.Orb().Transport();
  Finding finding;
  finding.part = "settings";
  finding.text =
      Printable(fmt::format("naming service {}; this process listens at {}, to {}", connection.NamingAddress(),
                            fmt::join(transport.endpoints, ", "), fmt::join(transport.allowed_peers, ", ")));
  if (IsOfThisMachine(connection.NamingAddress()) || !ListensToThisMachineAlone(transport.endpoints)) return finding;
  finding.verdict = Verdict::Look;
  finding.text += "; samples from other machines cannot reach it";
  finding.remedy = Printable(fmt::format(
      "set orb.endpoint = giop:tcp:ADDRESS-OF-THIS-MACHINE: and orb.allowed_peer = ADDRESS-OF-THE-TOPIC-MANAGER in {}",
      ConfigurationFile()));
  return finding;
}

Finding ExamineNaming(Connection& connection, std::vector<Engine>& engines) {
  const std::string address = connection.NamingAddress();
  const std::string port = address.substr(address.rfind(':') + 1);
  const std::string remedy = fmt::format(
      "start it: omniNames -start {} -always -datadir DIRECTORY; or say where it is: --naming HOST:PORT", port);
  Finding finding = Examined("naming service", remedy, [&](Finding& found) {
    engines = connection.Engines();
    found.text = CountInWords(engines.size(), "engine") + " registered";
  });
  finding.address = address;
  return finding;
}

Finding ExamineTopicManager(Connection& connection) {
  return Examined("topic manager", kTopicManagerRemedy, [&](Finding& finding) {
    finding.address = Printable(connection.AddressOf(connection.TopicManager()));
    const std::size_t topics = PublishedOf(connection).size();
    const std::vector<SubscriptionView> subscriptions = SubscriptionsOf(connection);
    std::uint64_t dropped = 0, stalled = 0;
    for (const SubscriptionView& one : subscriptions) {
      dropped += one.dropped;
      stalled += one.stalled ? 1 : 0;
    }
    finding.text = fmt::format("{} topics, {} subscriptions, {} samples dropped, {} subscribers stalled", topics,
                               subscriptions.size(), dropped, stalled);
    if (dropped == 0 && stalled == 0) return;
    finding.verdict = Verdict::Look;
    finding.remedy = stalled > 0 ? "see who does not take its samples: mathctl subscriptions"
                                 : "see who lost them: mathctl subscriptions; topic_manager --queue N keeps more";
  });
}

Finding ExamineOwnSubscription(Connection& connection) {
  const Corvanta::TransportConfig& transport = connection.Orb().Transport();
  const std::string remedy = Printable(fmt::format(
      "let the topic manager in: orb.endpoint (now {}) has to be an address of this machine that it reaches, "
      "orb.allowed_peer (now {}) its own, both in {}",
      fmt::join(transport.endpoints, ", "), fmt::join(transport.allowed_peers, ", "), ConfigurationFile()));
  return Examined("samples to this process", remedy, [&](Finding& finding) {
    Reading own;
    own.topic = "MATHCTL/DOCTOR";  // always the same, so that one topic is all that stays at the manager
    const auto mark = static_cast<CORBA::Long>(std::random_device()() >> 1);
    const auto manager = connection.TopicManager();
    Subscription subscription(connection);
    subscription.Add(own);
    const auto begun = std::chrono::steady_clock::now();
    CORBA::Any sample;
    sample <<= mark;
    Remote("topic manager", [&] { manager->Publish(sample, own.topic.c_str()); });
    const auto end = begun + connection.Timeout();  // others may publish there without end
    const auto left = [end] {
      return std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    };
    while (left().count() > 0) {
      const auto delivery = subscription.Next(left());
      if (!delivery) break;
      const auto* number = std::get_if<CORBA::Long>(&delivery->record);
      if (number == nullptr || *number != mark) continue;  // another command's
      const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - begun;
      finding.text = fmt::format("a sample of our own came back within {:.1f} ms", took.count());
      return;
    }
    throw Error(ErrorKind::Unreachable,
                fmt::format("a sample of our own did not come back within {}: the topic manager does not reach us",
                            DurationText(connection.Timeout())));
  });
}

std::vector<Finding> ExamineHwEnumeration(Connection& connection) {
  std::vector<Finding> findings(1);
  findings[0] = Examined("hardware enumeration", "start it: hw_enumeration", [&](Finding& finding) {
    const auto service = connection.HwEnumeration();
    finding.address = Printable(connection.AddressOf(service));
    const Corvanta::EngineProgressSeq_var engines = Remote(finding.part, [&] { return service->Engines(); });
    finding.text = CountInWords(engines->length(), "engine") + " reported";
    std::map<CORBA::Long, int> uses;
    for (CORBA::ULong i = 0; i < engines->length(); ++i) ++uses[engines.in()[i].instance];
    for (CORBA::ULong i = 0; i < engines->length(); ++i) {
      const Corvanta::EngineProgress& reported = engines.in()[i];
      Finding engine = ExamineReportedEngine(connection, reported, uses[reported.instance] > 1);
      if (engine.verdict != Verdict::Well) findings.push_back(std::move(engine));
    }
  });
  if (findings.size() > 1)
    findings[0].text += fmt::format(", {} of them away or not started", WithThousands(findings.size() - 1));
  return findings;
}

Finding ExamineEngine(Connection& connection, const Engine& engine) {
  const std::string name = Printable(engine.name);
  Finding finding = Examined("engine " + name, RestartRemedy(engine.name), [&](Finding& found) {
    if (engine.problem) throw *engine.problem;
    const Corvanta::ItemSeq_var items = Remote(name, [&] { return engine.registration->Items(); });
    const auto lost = Remote(name, [&] { return engine.registration->LostSamples(); });
    found.text = fmt::format("{} readings and attributes, {} samples not sent", items->length(), lost);
    if (lost > 0)
      Note("", "they are lost, since no topic manager took them; a restart of the engine begins the count anew", found);
    NoteVersion(connection.VersionOf(engine), found);
    NoteName(connection, engine, found);
    if (IsOfThisMachine(engine.address) && !IsOfThisMachine(connection.NamingAddress()))
      Note("; its reference names an address that other machines cannot use",
           "set orb.endpoint = giop:tcp:ADDRESS: where the engine runs, and restart it", found);
  });
  finding.address = Printable(engine.address);
  return finding;
}

}  // namespace Lumenar::Client
