// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/state_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <nlohmann/json.hpp>
#include <utility>

#include "client/MathState.h"
#include "client/Text.h"
#include "platform/records/Records.h"
#include "platform/wire/record_kinds.h"
#include "tools/math_web/trace_scale.h"

namespace Lumenar::Web {
namespace {

using Client::MathState;
using Client::Printable;
using nlohmann::json;

template <class T>
json OrNull(const std::optional<T>& value) {
  return value ? json(*value) : json();
}

json EngineJson(const EngineFacts& engine) {
  return {{"name", engine.name},
          {"state", engine.problem.empty() ? "live" : "away"},
          {"readings", engine.readings},
          {"memory", OrNull(engine.resident_bytes)},
          {"cpu", OrNull(engine.processor_s)},
          {"lost", OrNull(engine.lost)}};
}

/// What a switch to the other form of its numbers is called; null where there is none.
json OtherScaleJson(const std::optional<Value::Units>& units) {
  const auto other = units ? OtherScale(*units) : std::nullopt;
  if (!other) return nullptr;
  return *other == Scale::Decibel ? "db" : "linear";
}

json ReadingJson(const ReadingFacts& reading) {
  return {{"name", reading.name},
          {"kind", KindWord(reading.kind)},
          {"unit", reading.units ? Value::Units_text(*reading.units) : ""},
          {"x_unit", reading.x_unit},
          {"scale_to", OtherScaleJson(reading.units)},
          {"points", reading.points},
          {"writable", reading.settable},
          {"engine", reading.engine},
          {"rate", OrNull(reading.rate)},
          {"age", OrNull(reading.age_s)}};
}

/// In one word: "input away" is "away".
const char* StateWord(const ObjectFacts& object, bool engine_is_away) {
  const MathState state = Client::StateOf(object.report);
  return engine_is_away || state == MathState::InputAway ? "away" : Client::WordOf(state);
}

json ObjectJson(const ObjectFacts& object, bool engine_is_away) {
  const Client::MathReport& report = object.report;
  const Value::Units units = VALUE::UnitsFromCorba(report.units);
  const bool is_average = report.size > 0;
  const std::string words = engine_is_away ? "its engine is away" : object.words;
  return {{"name", object.name},
          {"engine", Printable(object.object.engine)},
          {"id", report.id},
          {"math", Printable(report.type)},
          {"inputs", object.inputs},
          {"kind", KindWord(report.kind)},
          {"unit", Value::Units_text(units)},
          {"scale_to", OtherScaleJson(units)},
          {"points", report.points},
          {"size", is_average ? json(report.size) : json()},
          {"filled", is_average ? json(report.filled) : json()},
          {"rate", OrNull(RateOf(report))},
          {"age", report.age ? json(std::chrono::duration<double>(*report.age).count()) : json()},
          {"state", StateWord(object, engine_is_away)},
          {"words", words},
          {"refused", report.refused},
          {"reason", Printable(report.last_reason)}};
}

json ObjectsJson(const Snapshot& snapshot) {
  json objects = json::array();
  for (const ObjectFacts& object : snapshot.objects) {
    if (objects.size() == kMostListed) break;
    const auto engine = snapshot.math_engines.find(object.object.engine);
    objects.push_back(ObjectJson(object, engine == snapshot.math_engines.end() || !engine->second));
  }
  return objects;
}

std::size_t More(std::size_t count) { return count - std::min(count, kMostListed); }

json StateJson(const Snapshot& snapshot) {
  json engines = json::array(), readings = json::array();
  for (const EngineFacts& engine : snapshot.engines) engines.push_back(EngineJson(engine));
  for (const ReadingFacts& reading : snapshot.readings)
    if (readings.size() < kMostListed) readings.push_back(ReadingJson(reading));
  const ManagerFacts& manager = snapshot.manager;
  return {
      {"type", "state"},
      {"well", snapshot.problems.empty()},
      {"problems", snapshot.problems},
      {"engines", std::move(engines)},
      {"readings", std::move(readings)},
      {"more_readings", More(snapshot.readings.size())},
      {"objects", ObjectsJson(snapshot)},
      {"more_objects", More(snapshot.objects.size())},
      {"manager",
       {{"alive", manager.alive}, {"topics", manager.topics}, {"queued", manager.queued}, {"lost", manager.dropped}}}};
}

std::string Dumped(const json& message) { return message.dump(-1, ' ', false, json::error_handler_t::replace); }

/// The words of a state may tell its age.
std::string MarkOf(json state) {
  for (json& engine : state["engines"]) engine["memory"] = engine["cpu"] = nullptr;
  for (json& reading : state["readings"]) reading["rate"] = reading["age"] = nullptr;
  for (json& object : state["objects"]) {
    object["rate"] = object["age"] = nullptr;
    if (object["state"] == "stale") object["words"] = nullptr;
  }
  state["manager"] = state["manager"]["alive"];
  return Dumped(state);
}

}  // namespace

std::string KindWord(const std::string& kind) {
  using Corvanta::RecordKind;
  if (kind == RecordKind<Corvanta::BASIC_TRACE::BT_DATA>::kTypeName) return "trace";
  if (kind == RecordKind<Corvanta::VALUE_DOUBLE::VALUE>::kTypeName) return "scalar";
  return kind == "void" ? "action" : Printable(kind);
}

std::optional<double> RateOf(const Client::MathReport& report) {
  const bool comes =
      Client::StateOf(report) == MathState::Live || (report.age && *report.age <= Client::StaleAfter(report));
  if (!comes || report.interval.count() <= 0) return std::nullopt;
  return 1 / report.interval.count();
}

StateText StateTextOf(const Snapshot& snapshot) {
  json state = StateJson(snapshot);
  auto text = std::make_shared<const std::string>(Dumped(state));
  return {std::move(text), MarkOf(std::move(state))};
}

}  // namespace Lumenar::Web
