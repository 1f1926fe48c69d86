// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Commands.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <utility>
#include <variant>

#include "client/Error.h"
#include "client/FittingInputs.h"
#include "client/MathObjects.h"
#include "client/ObjectSet.h"
#include "client/Text.h"
#include "client/values.h"
#include "platform/records/Records.h"
#include "tools/math_web/csv_text.h"
#include "tools/math_web/named_reading.h"
#include "tools/math_web/state_text.h"

namespace Lumenar::Web {
namespace {

using Client::Error;
using Client::ErrorKind;
using nlohmann::json;

constexpr std::size_t kMostNumbers = 500;

Client::PossibleInput InputFrom(const ReadingFacts& reading) {
  return {reading.name, reading.kind, reading.units, reading.points};
}

Client::PossibleInput InputFrom(const ObjectFacts& object) {
  const Client::MathReport& report = object.report;
  std::optional<Value::Units> units;
  if (report.results > 0) units = VALUE::UnitsFromCorba(report.units);
  return {object.name, report.kind, units, report.points};
}

std::vector<Client::PossibleInput> AllInputs(const Snapshot& snapshot) {
  std::vector<Client::PossibleInput> inputs;
  for (const ReadingFacts& reading : snapshot.readings) inputs.push_back(InputFrom(reading));
  for (const ObjectFacts& object : snapshot.objects) inputs.push_back(InputFrom(object));
  return inputs;
}

using Chosen = std::vector<std::optional<Client::PossibleInput>>;

Chosen ChosenFrom(const Request& request, const std::vector<Client::PossibleInput>& all) {
  Chosen chosen;
  for (const auto& name : request.inputs) {
    chosen.emplace_back();
    if (!name) continue;
    const auto known = std::find_if(all.begin(), all.end(), [&](const auto& one) { return one.name == *name; });
    if (known == all.end()) throw Error(ErrorKind::NotFound, "no reading " + Client::Printable(*name));
    chosen.back() = *known;
  }
  return chosen;
}

json TypeJson(const Client::MathType& type) {
  json inputs = json::array();
  for (const std::string& name : Client::InputNames(type.name)) inputs.push_back({{"name", name}});
  return {{"number", type.number}, {"name", Client::Printable(type.name)}, {"inputs", std::move(inputs)}};
}

Client::MathName RequireObject(const std::string& text, const std::string& factory) {
  const auto meant = ObjectFrom(text, factory);
  if (meant && meant->item.empty()) return meant->object;
  throw Error(ErrorKind::BadArgument, fmt::format("\"{}\" is no math object, as math:3", Client::Printable(text)));
}

/// Nothing for what is no number.
std::optional<PresentNumber> NumberFrom(const std::string& name, const Corvanta::SampleRecord& record) {
  if (const auto* scalar = std::get_if<Corvanta::VALUE_DOUBLE::VALUE>(&record))
    return PresentNumber{name, Value::Units_text(VALUE::UnitsFromCorba(scalar->units)), scalar->val};
  if (const auto* number = std::get_if<CORBA::Long>(&record))
    return PresentNumber{name, "", static_cast<double>(*number)};
  return std::nullopt;
}

}  // namespace

Commands::Commands(Client::Connection& connection, std::string factory, PlatformLook& look)
    : connection_(connection), factory_(std::move(factory)), look_(look) {}

json Commands::Do(const Request& request) {
  switch (request.deed) {
    case Request::Deed::Create: return Create(request);
    case Request::Deed::Fits: return Fitting(request);
    case Request::Deed::Set: Set(request); break;
    case Request::Deed::Reset: Reset(request.name); break;
    case Request::Deed::Delete: Delete(request.name); break;
    case Request::Deed::Save: return Save();
    case Request::Deed::Csv: return Csv(request.name);
    case Request::Deed::Get: return Get(request.name);
    default: break;
  }
  return json::object();
}

json Commands::Create(const Request& request) {
  Client::MathObjects objects(connection_, factory_);
  const Client::MathType type = objects.TypeFrom(request.math);
  if (request.size && type.name != "Average")
    throw Error(ErrorKind::BadArgument, fmt::format("{} has no SIZE", Client::Printable(type.name)));
  std::vector<Client::Reading> inputs;
  for (const auto& input : request.inputs) inputs.push_back(FindNamed(connection_, factory_, *input).reading);
  const Client::MathObject created = objects.Create(type, inputs);
  const std::string name = Client::MathText({factory_, created.id}, factory_);
  if (!request.size) return {{"name", name}};
  try {
    objects.SetSize(created.id, *request.size);
  } catch (const Error& error) {
    objects.Delete(created.id);
    throw Error(error.Kind(), fmt::format("SIZE {}: {}", *request.size, error.what()));
  }
  return {{"name", name}};
}

json Commands::Fitting(const Request& request) {
  const auto all = AllInputs(*look_.NotOlderThan(std::chrono::seconds(2)));
  const Chosen chosen = ChosenFrom(request, all);
  const auto open = std::find(chosen.begin(), chosen.end(), std::nullopt);
  const auto place = static_cast<std::size_t>(open - chosen.begin());
  json names = json::array();
  for (const Client::PossibleInput& one : all)
    if (names.size() < kMostListed && Client::Fits(request.math, place, chosen, one)) names.push_back(one.name);
  return {{"names", std::move(names)}};
}

void Commands::Set(const Request& request) {
  const NamedReading named = FindNamed(connection_, factory_, request.name);
  if (named.object) {
    if (!named.name.ends_with("/SIZE"))
      throw Error(ErrorKind::BadArgument, "of a math object only SIZE can be set, as math:3/SIZE");
    Client::MathObjects objects(connection_, named.object->engine);
    return objects.SetSize(named.object->id, Client::LongFromText(request.value));
  }
  Client::SetValue(named.reading, request.value);
}

void Commands::Reset(const std::string& name) {
  const Client::MathName object = RequireObject(name, factory_);
  Client::MathObjects(connection_, object.engine).Reset(object.id);
}

void Commands::Delete(const std::string& name) {
  const Client::MathName object = RequireObject(name, factory_);
  Client::MathObjects(connection_, object.engine).Delete(object.id);
}

json Commands::Save() {
  Client::MathObjects objects(connection_, factory_);
  const Client::PresentSet present = Client::PresentObjects(connection_, objects);
  return {{"set", json::parse(present.set.Json())}, {"left_out", present.left_out}};
}

json Commands::Csv(const std::string& text) {
  const NamedReading named = FindNamed(connection_, factory_, text);
  const Sample sample = SampleFrom(Client::GetValue(named.reading), std::chrono::system_clock::now());
  return {{"csv", CsvText(named.name, sample)}, {"file", CsvFileName(named.name)}};
}

json Commands::Get(const std::string& text) {
  const NamedReading named = FindNamed(connection_, factory_, text);
  const Corvanta::SampleRecord value = Client::GetValue(named.reading);
  if (const auto* truth = std::get_if<bool>(&value)) return {{"value", *truth}};
  if (const auto* number = std::get_if<CORBA::Long>(&value)) return {{"value", *number}};
  const auto* scalar = std::get_if<Corvanta::VALUE_DOUBLE::VALUE>(&value);
  if (scalar == nullptr)
    throw Error(ErrorKind::BadArgument, named.name + " is a trace: subscribe to it, or ask for csv");
  const auto number = [](double one) { return std::isfinite(one) ? json(one) : json(); };
  return {{"value", number(scalar->val)},
          {"minus", number(scalar->minus_err)},
          {"plus", number(scalar->plus_err)},
          {"unit", Value::Units_text(VALUE::UnitsFromCorba(scalar->units))}};
}

json Commands::MathTypes() {
  json types = json::array();
  try {
    for (const Client::MathType& type : Client::MathObjects(connection_, factory_).Types())
      types.push_back(TypeJson(type));
  } catch (const Error&) {
    for (const std::string& name : Client::KnownTypes())
      types.push_back(TypeJson({static_cast<std::int32_t>(types.size()), name}));
  }
  return types;
}

std::vector<PresentNumber> Commands::Numbers(const Snapshot& snapshot) {
  std::vector<std::pair<std::string, std::string>> wanted;  // engine and name
  for (const ReadingFacts& one : snapshot.readings)
    if (KindWord(one.kind) == "scalar" || KindWord(one.kind) == "long") wanted.emplace_back(one.engine, one.name);
  for (const ObjectFacts& one : snapshot.objects)
    if (KindWord(one.report.kind) == "scalar") wanted.emplace_back(one.object.engine, one.name);
  std::set<std::string> silent;
  std::vector<PresentNumber> numbers;
  for (const auto& [engine, name] : wanted) {
    if (numbers.size() == kMostNumbers || silent.count(engine) > 0) continue;
    try {
      auto number = NumberFrom(name, Client::GetValue(look_.ReadingOf(name)));
      if (number) numbers.push_back(std::move(*number));
    } catch (const Error& error) {
      if (error.Kind() == ErrorKind::Unreachable) silent.insert(engine);
    }
  }
  return numbers;
}

}  // namespace Lumenar::Web
