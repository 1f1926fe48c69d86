// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/PlatformLook.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <utility>
#include <variant>

#include "client/Error.h"
#include "client/MathState.h"
#include "client/Text.h"
#include "client/values.h"
#include "platform/records/Records.h"
#include "tools/math_web/Sample.h"
#include "tools/math_web/named_reading.h"

namespace Lumenar::Web {
namespace {

using Client::Error;
using Client::Printable;

constexpr std::chrono::seconds kValueAge{20};  // a unit or a number of points changes rarely
constexpr int kValuesALook = 8;
constexpr std::size_t kFewReadings = 200;  // as many as may all be asked when they are seen for the first time

/// What a call asks of an engine that may be too old to know it.
template <class Call>
auto IfKnown(Call&& call) -> std::optional<decltype(call())> {
  try {
    return call();
  } catch (const CORBA::BAD_OPERATION&) {
    return std::nullopt;
  }
}

void AskProcess(const Client::Engine& engine, EngineFacts& facts) {
  Client::Remote(Printable(engine.name), engine.registration, Client::kEngineAdvice, [&] {
    const auto use = IfKnown([&] { return engine.registration->Use(); });
    const auto lost = IfKnown([&] { return engine.registration->LostSamples(); });
    if (use) facts.processor_s = use->processor_s;
    if (use && use->resident_bytes > 0) facts.resident_bytes = use->resident_bytes;
    if (lost) facts.lost = *lost;
  });
}

/// What people call a topic; for the time in which the caller has `names`.
auto NameIn(Client::TopicNames& names) {
  return [&names](const std::string& topic) { return names.Of(topic); };
}

}  // namespace

PlatformLook::PlatformLook(Client::Connection& connection, std::string factory)
    : connection_(connection), factory_(std::move(factory)), names_(connection, factory_) {}

std::shared_ptr<const Snapshot> PlatformLook::Last() const {
  Lock lock(mutex_);
  return last_;
}

Client::Reading PlatformLook::ReadingOf(const std::string& name) {
  {
    Lock turn(looking_);
    const auto known = references_.find(name);
    if (known != references_.end()) return known->second;
  }
  return FindNamed(connection_, factory_, name).reading;
}

std::chrono::steady_clock::duration PlatformLook::Took() const {
  Lock lock(mutex_);
  return took_;
}

std::shared_ptr<const Snapshot> PlatformLook::NotOlderThan(std::chrono::steady_clock::duration age) {
  const auto wanted = Clock::now();
  Lock turn(looking_);
  const auto before = Last();
  if (before->taken != Clock::time_point{} && before->taken + age >= wanted) return before;
  const auto began = Clock::now();
  auto now = std::make_shared<const Snapshot>(Look());
  Lock lock(mutex_);
  last_ = now;
  took_ = Clock::now() - began;
  return now;
}

Snapshot PlatformLook::Look() {
  Snapshot now;
  now.taken = Clock::now();
  Published published;
  std::vector<Client::Engine> engines;
  try {
    engines = connection_.Engines();
  } catch (const Error& error) {
    const auto before = Last();
    Snapshot former = *before;  // what was known goes on, for all that can be told
    former.taken = now.taken;
    former.problems = {error.what()};
    return former;
  }
  LookAtManager(now, published);
  references_.clear();
  for (const Client::Engine& engine : engines) LookAtEngine(engine, now);
  NoteValues(now);
  if (now.manager.alive) NoteRates(published, now);
  ForgetTheGone(now);
  return now;
}

void PlatformLook::LookAtManager(Snapshot& now, Published& published) {
  try {
    const auto manager = connection_.TopicManager();
    Client::Remote("topic manager", manager, "is topic_manager running?", [&] {
      const Corvanta::TopicStatusSeq_var topics = manager->Topics();
      for (CORBA::ULong i = 0; i < topics->length(); ++i)
        published[topics.in()[i].topic.in()] = topics.in()[i].published;
      const Corvanta::SubscriptionStatusSeq_var all = manager->Subscriptions();
      now.manager = {true, topics->length(), all->length(), 0, 0};
      for (CORBA::ULong i = 0; i < all->length(); ++i) {
        now.manager.queued += all.in()[i].queued;
        now.manager.dropped += all.in()[i].dropped;
      }
    });
  } catch (const Error& error) {
    now.manager = ManagerFacts{};
    now.problems.emplace_back(error.what());
  }
}

void PlatformLook::LookAtEngine(const Client::Engine& engine, Snapshot& now) {
  EngineFacts facts;
  facts.name = Printable(engine.name);
  const bool is_math = Client::IsMathEngine(engine.name);
  try {
    if (engine.problem) throw Error(*engine.problem);
    AskProcess(engine, facts);
    is_math ? TakeObjects(engine.name, facts, now) : TakeItems(engine, facts, now);
  } catch (const Error& error) {
    facts.problem = error.what();
    now.problems.push_back(fmt::format("engine {} is away: {}", facts.name, error.what()));
    KeepFormer(engine.name, now);
  }
  if (is_math) now.math_engines[engine.name] = facts.problem.empty();
  now.engines.push_back(std::move(facts));
}

void PlatformLook::TakeItems(const Client::Engine& engine, EngineFacts& facts, Snapshot& now) {
  for (Client::Reading& reading : connection_.ReadingsOf({engine})) {
    ReadingFacts one;
    one.name = Client::FullName(reading.name);
    one.engine = facts.name;
    one.kind = Printable(reading.type_name);
    one.topic = reading.topic;
    one.settable = reading.settable;
    references_[one.name] = std::move(reading);
    now.readings.push_back(std::move(one));
    ++facts.readings;
  }
}

void PlatformLook::TakeObjects(const std::string& engine, EngineFacts& facts, Snapshot& now) {
  auto reports = Client::MathObjects(connection_, engine).Reports();
  names_.Learn(engine, reports);
  const auto name = NameIn(names_);
  for (Client::MathReport& report : reports) {
    ObjectFacts one;
    one.object = {engine, report.id};
    one.name = Client::MathText(one.object, factory_);
    for (const Client::InputReport& input : report.inputs) one.inputs.push_back(name(input.topic));
    one.words = Client::StateInWords(report, name);
    one.report = std::move(report);
    now.objects.push_back(std::move(one));
    ++facts.readings;
  }
}

/// Of an engine that does not answer, what it had.
void PlatformLook::KeepFormer(const std::string& engine, Snapshot& now) {
  const auto before = Last();
  for (const ReadingFacts& one : before->readings)
    if (one.engine == Printable(engine)) now.readings.push_back(one);
  for (const ObjectFacts& one : before->objects)
    if (one.object.engine == engine) now.objects.push_back(one);
}

void PlatformLook::NoteRates(const Published& published, Snapshot& now) {
  const double passed = looked_ == Clock::time_point{} ? 0 : std::chrono::duration<double>(now.taken - looked_).count();
  looked_ = now.taken;
  for (ReadingFacts& reading : now.readings) {
    const auto count = published.find(reading.topic);
    if (count == published.end()) continue;
    const auto [memory, is_new] = topics_.try_emplace(reading.topic);
    TopicMemory& topic = memory->second;
    const bool grew = count->second > topic.published;
    if (!is_new && passed > 0) topic.rate = grew ? static_cast<double>(count->second - topic.published) / passed : 0;
    if (grew && !is_new) topic.changed = now.taken;
    topic.published = count->second;
    reading.published = count->second;
    reading.rate = topic.rate;
    if (topic.changed) reading.age_s = std::chrono::duration<double>(now.taken - *topic.changed).count();
  }
}

/// Units and lengths stand in values alone. Of a few readings the value is asked for at each look, those first of which
/// nothing is known.
void PlatformLook::NoteValues(Snapshot& now) {
  std::vector<std::pair<Clock::time_point, std::string>> oldest;
  for (const auto& [name, reading] : references_) {
    const auto known = values_.find(name);
    oldest.emplace_back(known == values_.end() ? Clock::time_point{} : known->second.asked, name);
  }
  std::sort(oldest.begin(), oldest.end());
  int left = kValuesALook;
  for (const auto& [asked, name] : oldest) {
    const bool is_new = asked == Clock::time_point{};
    if (left == 0 || (!is_new && asked + kValueAge > now.taken)) break;
    if (!AskValue(name, values_[name])) break;
    if (!is_new || oldest.size() > kFewReadings) --left;
  }
  for (ReadingFacts& reading : now.readings) {
    const auto known = values_.find(reading.name);
    if (known == values_.end()) continue;
    reading.units = known->second.units;
    reading.x_unit = known->second.x_unit;
    reading.points = known->second.points;
  }
}

/// False when its engine has gone meanwhile: the next look says so.
bool PlatformLook::AskValue(const std::string& name, ValueMemory& memory) {
  memory.asked = Clock::now();
  const Client::Reading& reading = references_.at(name);
  if (!Client::HasValue(reading)) return true;
  try {
    const Corvanta::SampleRecord value = Client::GetValue(reading);
    memory.points = 1;
    if (const auto* trace = std::get_if<Corvanta::BASIC_TRACE::BT_DATA>(&value)) {
      memory.units = UnitsOf(*trace);
      memory.x_unit = AxisUnit(*trace);
      memory.points = trace->samples.length();
    } else if (const auto* scalar = std::get_if<Corvanta::VALUE_DOUBLE::VALUE>(&value)) {
      memory.units = VALUE::UnitsFromCorba(scalar->units);
    }
    return true;
  } catch (const Error&) {
    return false;
  }
}

void PlatformLook::ForgetTheGone(const Snapshot& now) {
  std::set<std::string> topics, names;
  for (const ReadingFacts& reading : now.readings) {
    topics.insert(reading.topic);
    names.insert(reading.name);
  }
  std::erase_if(topics_, [&](const auto& one) { return topics.count(one.first) == 0; });
  std::erase_if(values_, [&](const auto& one) { return names.count(one.first) == 0; });
}

}  // namespace Lumenar::Web
