// SPDX-License-Identifier: Apache-2.0
#include "client/Connection.h"

#include <fmt/format.h>
#include <omniORB4/Naming.hh>

#include <algorithm>
#include <future>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "client/Text.h"
#include "platform/orb/GivingBack.h"
#include "platform/orb/names.h"

namespace Lumenar::Client {
namespace {

using Corvanta::LocalPath;
using Corvanta::NameWithoutInstance;

/// Whether what stands under this name is no engine.
bool IsService(std::string_view name) {
  return name == Corvanta::kRegistrationName || name == NameWithoutInstance(Corvanta::kTopicManager) ||
         name == NameWithoutInstance(Corvanta::kHardwareEnumeration);
}

std::unique_ptr<Corvanta::Naming> NamingAt(const Corvanta::ORB_base& orb, const std::string& address) {
  try {
    return Corvanta::Naming::At(orb.Orb(), address);
  } catch (const std::invalid_argument& reason) {
    throw Error(ErrorKind::BadArgument, std::string("address of the naming service: ") + reason.what());
  }
}

std::chrono::milliseconds Checked(std::chrono::milliseconds timeout) {
  constexpr std::chrono::seconds kLongest{1'000'000};  // the ORB counts milliseconds in 32 bits
  if (timeout.count() <= 0) throw Error(ErrorKind::BadArgument, "the time limit must be positive");
  if (timeout > kLongest) throw Error(ErrorKind::BadArgument, "the time limit must be at most 1e6 seconds");
  return timeout;
}

// Registered names in the order that people expect: PROBE/2 before PROBE/10.
bool Precedes(const std::string& a, const std::string& b) {
  const auto stem_a = NameWithoutInstance(a), stem_b = NameWithoutInstance(b);
  if (stem_a != stem_b) return stem_a < stem_b;
  return a.size() != b.size() ? a.size() < b.size() : a < b;
}

Engine* EngineAt(std::vector<Engine>& engines, const std::string& address) {
  const auto found = std::find_if(engines.begin(), engines.end(),
                                  [&](const Engine& engine) { return !address.empty() && engine.address == address; });
  return found == engines.end() ? nullptr : &*found;
}

// An engine that did not tell its name: its error is of the name that it was asked by.
void Rename(Engine& engine, const std::string& name) {
  const std::string text = engine.problem->what();
  if (text.rfind(engine.name, 0) == 0) {
    engine.problem = Error(engine.problem->Kind(), Printable(name) + text.substr(engine.name.size()));
  }
  engine.name = name;
}

/// Nil where nothing stands any more under a name that was listed before: an engine that ended meanwhile, or a name that
/// is none of this platform's.
CORBA::Object_var LookupIfThere(Connection& connection, const std::string& name) {
  try {
    return connection.Lookup(name);
  } catch (const Error& error) {
    if (error.Kind() != ErrorKind::NotFound) throw;
    return {};
  }
}

bool IsNamed(const std::vector<Engine>& engines, const std::string& name) {
  return std::any_of(engines.begin(), engines.end(), [&](const Engine& engine) { return engine.name == name; });
}

Reading ReadingFrom(const std::string& engine, const Corvanta::Item& item) {
  return {{engine, item.name.in()},
          item.type_name.in(),
          item.settable,
          item.topic.in(),
          Corvanta::EngineReadingBase::_duplicate(item.reference)};
}

std::vector<ReadingName> NamesOf(const std::vector<Reading>& readings) {
  std::vector<ReadingName> names;
  names.reserve(readings.size());
  for (const Reading& reading : readings) names.push_back(reading.name);
  return names;
}

// What `match` finds; what is not found may be a reading of an engine that does not answer, whose error it is then.
template <class Match>
auto AboutSilent(const std::string& text, const std::vector<Engine>& engines, Match&& match) {
  try {
    return match();
  } catch (const Error& error) {
    if (error.Kind() != ErrorKind::NotFound) throw;
    for (const Engine& engine : engines) {
      if (engine.problem && SameLetters(text.substr(0, engine.name.size() + 1), engine.name + '/')) {
        throw *engine.problem;
      }
    }
    throw;
  }
}

}  // namespace

Connection::Connection(std::chrono::milliseconds timeout)
    : timeout_(Checked(timeout)),
      orb_(timeout_),
      naming_(std::make_unique<Corvanta::Naming>(orb_->Orb(), orb_->NamingAddress())),
      topics_(Corvanta::DdsBaseAccess::Instance()) {}

Connection::Connection(const std::string& naming_address, std::chrono::milliseconds timeout)
    : timeout_(Checked(timeout)),
      orb_(timeout_),
      naming_(NamingAt(*orb_, naming_address)),
      own_topics_(std::make_unique<Corvanta::DdsBaseAccess>(
          [this] { return naming_->Resolve(LocalPath(Corvanta::kTopicManager)); })),
      topics_(*own_topics_) {}

Connection::~Connection() {
  const Corvanta::GivingBack giving_back(*orb_);
  own_topics_.reset();
  naming_.reset();
}

// What `call` asks the naming service for.
template <class Call>
auto Connection::AtNaming(Call&& call) {
  try {
    return call();
  } catch (const CORBA::Exception& exception) {
    throw ErrorFrom(exception, NamingService(NamingAddress()));
  }
}

CORBA::Object_var Connection::Lookup(const std::string& name) {
  return AtNaming([&] {
    try {
      return CORBA::Object_var(naming_->Resolve(LocalPath(name)));
    } catch (const CosNaming::NamingContext::NotFound&) {
      throw Error(ErrorKind::NotFound,
                  fmt::format("{} is not registered with the naming service at {}; is its program running?",
                              Printable(name), NamingAddress()));
    }
  });
}

Corvanta::DDS_Manager_var Connection::TopicManager() {
  return Narrowed<Corvanta::DDS_Manager>(Lookup(Corvanta::kTopicManager), "topic manager");
}

Corvanta::HwEnumerate_Able_var Connection::HwEnumeration() {
  return Narrowed<Corvanta::HwEnumerate_Able>(Lookup(Corvanta::kHardwareEnumeration), "hardware enumeration");
}

std::string Connection::AddressOf(CORBA::Object_ptr object) const { return Client::AddressOf(object); }

std::vector<std::string> Connection::NamesBelow(const std::string& context) {
  const auto path = context.empty() ? Corvanta::Components(Corvanta::kLocalContext) : LocalPath(context);
  return AtNaming([&] { return naming_->List(path); });
}

Engine Connection::AskRegistration(const std::string& name) noexcept {
  Engine engine;
  engine.name = name;
  try {
    const CORBA::Object_var object = Lookup(name);
    engine.address = AddressOf(object);
    const auto registration = Narrowed<Corvanta::GUI_Able>(object, name);
    const CORBA::String_var told = Remote(name, object, kEngineAdvice, [&] { return registration->EngineName(); });
    engine.name = told.in();
    engine.registration = registration;
  } catch (const Error& error) {
    engine.problem = error;
  }
  return engine;
}

std::vector<Engine> Connection::Registrations() {
  std::vector<std::future<Engine>> answers;
  for (const std::string& instance : NamesBelow(Corvanta::kRegistrationName)) {
    const std::string name = std::string(Corvanta::kRegistrationName) + '/' + instance;
    answers.push_back(std::async(std::launch::async, [this, name] { return AskRegistration(name); }));
  }
  std::vector<Engine> engines;
  for (auto& answer : answers) engines.push_back(answer.get());
  return engines;
}

// An engine that does not answer cannot tell its name; the name that it bound tells it, found by the address.
void Connection::AddSilentEngines(std::vector<Engine>& engines) {
  for (const std::string& stem : NamesBelow("")) {
    if (IsService(stem)) continue;
    for (const std::string& instance : NamesBelow(stem)) {
      const std::string name = stem + '/' + instance;
      if (IsNamed(engines, name)) continue;
      const CORBA::Object_var object = LookupIfThere(*this, name);
      if (CORBA::is_nil(object)) continue;
      const std::string address = AddressOf(object);
      Engine* registered = EngineAt(engines, address);
      if (registered != nullptr && !registered->problem) continue;  // a child object of an engine that answers
      if (registered != nullptr) {
        Rename(*registered, name);
      } else {
        engines.push_back(
            {name,
             address,
             Error(ErrorKind::NotFound, Printable(name) + " has no registration object: it ended, or is no engine"),
             {}});
      }
    }
  }
}

std::vector<Engine> Connection::Engines() {
  std::vector<Engine> engines = Registrations();
  AddSilentEngines(engines);
  std::sort(engines.begin(), engines.end(), [](const Engine& a, const Engine& b) { return Precedes(a.name, b.name); });
  return engines;
}

std::string Connection::VersionOf(const Engine& engine) {
  if (engine.problem) throw *engine.problem;
  return Remote(Printable(engine.name), engine.registration, kEngineAdvice, [&]() -> std::string {
    try {
      return CORBA::String_var(engine.registration->Version()).in();
    } catch (const CORBA::BAD_OPERATION&) {  // built before registration objects had a version
      return {};
    }
  });
}

std::vector<Reading> Connection::ReadingsOf(const std::vector<Engine>& engines) {
  std::vector<Reading> readings;
  for (const Engine& engine : engines) {
    if (engine.problem) continue;
    Corvanta::ItemSeq_var items = Remote(Printable(engine.name), engine.registration, kEngineAdvice,
                                         [&] { return engine.registration->Items(); });
    for (CORBA::ULong i = 0; i < items->length(); ++i) readings.push_back(ReadingFrom(engine.name, items[i]));
  }
  return readings;
}

std::vector<Reading> Connection::Readings() { return ReadingsOf(Engines()); }

Reading Connection::FindReading(const std::string& text) {
  const std::vector<Engine> engines = Engines();
  const std::vector<Reading> readings = ReadingsOf(engines);
  return AboutSilent(text, engines, [&] { return readings[MatchReading(text, NamesOf(readings))]; });
}

std::vector<std::size_t> IndexesFor(const std::string& text, const std::vector<Reading>& readings,
                                    const std::vector<Engine>& engines) {
  return AboutSilent(text, engines, [&] { return MatchReadings(text, NamesOf(readings)); });
}

}  // namespace Lumenar::Client
