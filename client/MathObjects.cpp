// SPDX-License-Identifier: Apache-2.0
#include "client/MathObjects.h"

#include <fmt/format.h>

#include <strings.h>

#include <charconv>
#include <optional>
#include <utility>

#include "client/MathName.h"
#include "client/Text.h"

namespace Lumenar::Client {
namespace {

constexpr int kCreationAttempts = 5;

std::string ObjectText(std::int32_t id) { return fmt::format("math object {}", id); }

bool IsNumber(const std::string& text, std::int32_t number) { return text == std::to_string(number); }

MathObject Described(std::int32_t id, const Corvanta::MathFactory::Math_var& reference) {
  const CORBA::String_var type = Remote(ObjectText(id), reference, kEngineAdvice, [&] { return reference->GetType(); });
  return {id, type.in(), reference};
}

MathStatus StatusFrom(const Corvanta::MathFactory::MathStatus& described, const std::string& engine) {
  MathStatus status;
  status.id = described.id;
  status.type = described.type.in();
  for (CORBA::ULong i = 0; i < described.inputs.length(); ++i) status.inputs.emplace_back(described.inputs[i].in());
  status.result.name = {engine, described.result_info.name.in()};
  status.result.type_name = described.result_info.type_name.in();
  status.result.topic = described.result_topic.in();
  status.result.reference = described.result;
  status.refused = described.refusals.refused;
  status.last_reason = described.refusals.last_reason.in();
  return status;
}

}  // namespace

MathObjects::MathObjects(Connection& connection, std::string factory)
    : connection_(connection),
      engine_(std::move(factory)),
      factory_(Narrowed<Corvanta::MathFactory::Interfaces>(connection.Lookup(engine_),
                                                           "math engine " + Printable(engine_))) {}

std::vector<MathType> MathObjects::Types() {
  Corvanta::EnumElementSeq_var elements = Remote("math engine " + Printable(engine_), factory_, kEngineAdvice, [&] {
    const Corvanta::EngineAttribEnum_var type = factory_->AttrType();
    return type->Elements();
  });
  std::vector<MathType> types;
  for (CORBA::ULong i = 0; i < elements->length(); ++i) types.push_back({elements[i].number, elements[i].name.in()});
  return types;
}

MathType MathObjects::TypeFrom(const std::string& text) {
  std::string known;
  for (MathType& type : Types()) {
    if (strcasecmp(type.name.c_str(), text.c_str()) == 0 || IsNumber(text, type.number)) return std::move(type);
    known += (known.empty() ? "" : ", ") + Printable(type.name);
  }
  throw Error(ErrorKind::BadArgument, fmt::format("no type \"{}\"; there are: {}", Printable(text), known));
}

// False when another client changed the type meanwhile, so that neither a success nor a refusal is an answer to our
// request.
bool MathObjects::TryCreate(const MathType& type, const Corvanta::MathFactory::ReadingAttribSeq& inputs,
                            MathObject& created) {
  const Corvanta::EngineAttribEnum_var selector = factory_->AttrType();
  selector->Set(type.number);
  try {
    Corvanta::MathFactory::Math_var object = factory_->CreateMath(inputs);
    const std::int32_t id = object->GetId();
    created = Described(id, object);
  } catch (const Corvanta::MathFactory::MathFactoryException&) {
    if (selector->Get() != type.number) return false;
    throw;
  }
  if (created.type == type.name) return true;
  factory_->DeleteMath(created.id);
  return false;
}

MathObject MathObjects::Create(const std::string& type_text, const std::vector<std::string>& inputs) {
  const MathType type = TypeFrom(type_text);
  std::vector<Reading> readings;
  for (const std::string& input : inputs) readings.push_back(Find(input));
  return Create(type, readings);
}

MathObject MathObjects::Create(const MathType& type, const std::vector<Reading>& inputs) {
  Corvanta::MathFactory::ReadingAttribSeq references;
  references.length(static_cast<CORBA::ULong>(inputs.size()));
  for (CORBA::ULong i = 0; i < references.length(); ++i) {
    references[i] = Corvanta::EngineReadingBase::_duplicate(inputs[i].reference);
  }
  MathObject created;
  for (int attempt = 0; attempt < kCreationAttempts; ++attempt) {
    if (Remote("create " + type.name, factory_, kEngineAdvice, [&] { return TryCreate(type, references, created); }))
      return created;
  }
  throw Error(ErrorKind::Refused, fmt::format("create {}: other clients changed the type each time ({} attempts)",
                                              type.name, kCreationAttempts));
}

std::vector<MathStatus> MathObjects::List() {
  const Corvanta::MathFactory::MathStatusSeq_var list =
      Remote("math engine " + Printable(engine_), factory_, kEngineAdvice, [&] { return factory_->ListMathStatus(); });
  std::vector<MathStatus> objects;
  objects.reserve(list->length());
  for (CORBA::ULong i = 0; i < list->length(); ++i) objects.push_back(StatusFrom(list.in()[i], engine_));
  return objects;
}

MathObject MathObjects::Get(std::int32_t id) {
  Corvanta::MathFactory::Math_var object =
      Remote("math engine " + Printable(engine_), factory_, kEngineAdvice, [&] { return factory_->GetMath(id); });
  if (CORBA::is_nil(object)) throw Error(ErrorKind::NotFound, "no " + ObjectText(id));
  return Described(id, object);
}

Reading MathObjects::Result(std::int32_t id) { return ResultOf(Get(id)); }

Reading MathObjects::ResultOf(const MathObject& object) {
  return Remote(ObjectText(object.id), factory_, kEngineAdvice, [&] {
    Reading reading;
    reading.reference = object.reference->AttrResult();
    const CORBA::String_var topic = reading.reference->DDS_Value();
    const Corvanta::TypeInfo_var type = reading.reference->CORBA_Type();
    reading.name = {engine_, type->name.in()};
    reading.type_name = type->type_name.in();
    reading.topic = topic.in();
    return reading;
  });
}

Reading MathObjects::Find(const std::string& text) {
  const auto name = MathNameFromText(text, engine_);
  if (!name) return connection_.FindReading(text);
  return name->engine == engine_ ? Result(name->id) : MathObjects(connection_, name->engine).Result(name->id);
}

Corvanta::MathFactory::Average_var MathObjects::Average(std::int32_t id) {
  const MathObject object = Get(id);
  const auto average = Remote(ObjectText(id), factory_, kEngineAdvice, [&] {
    return Corvanta::MathFactory::Average_var(Corvanta::MathFactory::Average::_narrow(object.reference));
  });
  if (CORBA::is_nil(average)) {
    throw Error(ErrorKind::BadArgument,
                fmt::format("{} is a {}: it has no SIZE", ObjectText(id), Printable(object.type)));
  }
  return average;
}

void MathObjects::SetSize(std::int32_t id, std::int32_t size) {
  const auto average = Average(id);
  Remote(ObjectText(id) + " SIZE", factory_, kEngineAdvice, [&] {
    const Corvanta::EngineAttribLong_var attribute = average->AttrSize();
    attribute->Set(size);
  });
}

std::int32_t MathObjects::Size(std::int32_t id) {
  const auto average = Average(id);
  return Remote(ObjectText(id) + " SIZE", factory_, kEngineAdvice, [&] {
    const Corvanta::EngineAttribLong_var attribute = average->AttrSize();
    return attribute->Get();
  });
}

void MathObjects::Reset(std::int32_t id) {
  const MathObject object = Get(id);
  Remote(ObjectText(id) + " RESET", factory_, kEngineAdvice, [&] {
    Corvanta::EngineAttribVoid_var reset;
    const auto average = Corvanta::MathFactory::Average_var(Corvanta::MathFactory::Average::_narrow(object.reference));
    const auto peak = Corvanta::MathFactory::Peak_var(Corvanta::MathFactory::Peak::_narrow(object.reference));
    if (!CORBA::is_nil(average)) reset = average->AttrReset();
    if (!CORBA::is_nil(peak)) reset = peak->AttrReset();
    if (CORBA::is_nil(reset)) {
      throw Error(ErrorKind::BadArgument,
                  fmt::format("{} is a {}: it has no RESET", ObjectText(id), Printable(object.type)));
    }
    reset->Set();
  });
}

void MathObjects::Delete(std::int32_t id) {
  Get(id);  // the factory ignores an unknown id; people want to know
  Remote(ObjectText(id), factory_, kEngineAdvice, [&] { factory_->DeleteMath(id); });
}

}  // namespace Lumenar::Client
