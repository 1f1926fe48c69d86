// SPDX-License-Identifier: Apache-2.0
#include "client/values.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <stdexcept>

#include "EngineAttrib.hh"
#include "client/Text.h"
#include "platform/records/Records.h"
#include "platform/units/Units.h"
#include "platform/wire/record_kinds.h"

namespace Lumenar::Client {
namespace {

constexpr const char* kReadingAdvice = "is its engine running?";

using Corvanta::RecordKind;
using Corvanta::SampleRecord;
using Corvanta::BASIC_TRACE::BT_DATA;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

[[noreturn]] void ThrowKind(const Reading& reading, const char* what) {
  throw Error(ErrorKind::BadArgument,
              fmt::format("{} is of kind \"{}\": {}", FullName(reading.name), Printable(reading.type_name), what));
}

template <class Interface>
typename Interface::_var_type As(const Reading& reading) {
  return Narrowed<Interface>(reading.reference, FullName(reading.name));
}

template <class Interface>
SampleRecord GetAs(const Reading& reading) {
  const auto interface = As<Interface>(reading);
  return interface->Get();
}

SampleRecord GetTrace(const Reading& reading) {
  const auto trace = As<Corvanta::EngineBasicTrace>(reading);
  const Corvanta::BASIC_TRACE::BT_DATA_var record = trace->Get();
  return SampleRecord(std::in_place_type<BT_DATA>, record.in());
}

SampleRecord GetBoolean(const Reading& reading) {
  const auto boolean = As<Corvanta::EngineReadingBoolean>(reading);
  return SampleRecord(std::in_place_type<bool>, boolean->Get());
}

SampleRecord GetByKind(const Reading& reading) {
  const std::string& kind = reading.type_name;
  if (kind == RecordKind<BT_DATA>::kTypeName) return GetTrace(reading);
  if (kind == RecordKind<Scalar>::kTypeName && reading.settable)
    return GetAs<Corvanta::EngineAttribValueDouble>(reading);
  if (kind == RecordKind<Scalar>::kTypeName) return GetAs<Corvanta::EngineReadingValueDouble>(reading);
  if (kind == RecordKind<CORBA::Long>::kTypeName && reading.settable) return GetAs<Corvanta::EngineAttribLong>(reading);
  if (kind == RecordKind<CORBA::Long>::kTypeName) return GetAs<Corvanta::EngineReadingLong>(reading);
  if (kind == "enum") return GetAs<Corvanta::EngineAttribEnum>(reading);
  if (kind == RecordKind<bool>::kTypeName) return GetBoolean(reading);
  ThrowKind(reading, "it has no value");
}

std::int32_t EnumNumber(Corvanta::EngineAttribEnum_ptr attribute, const std::string& text) {
  Corvanta::EnumElementSeq_var elements = attribute->Elements();
  for (const bool exact : {true, false}) {
    for (CORBA::ULong i = 0; i < elements->length(); ++i) {
      const char* name = elements[i].name.in();
      if (exact ? text == name : SameLetters(text, name)) return elements[i].number;
    }
  }
  return LongFromText(text);
}

void SetScalar(const Reading& reading, const std::string& text) {
  const auto attribute = As<Corvanta::EngineAttribValueDouble>(reading);
  Scalar value = attribute->Get();
  ScalarFromText(text, value.val, value.units);
  value.minus_err = 0;
  value.plus_err = 0;
  attribute->Set(value);
}

void SetByKind(const Reading& reading, const std::string& text) {
  const std::string& kind = reading.type_name;
  if (kind == RecordKind<CORBA::Long>::kTypeName)
    return As<Corvanta::EngineAttribLong>(reading)->Set(LongFromText(text));
  if (kind == RecordKind<Scalar>::kTypeName) return SetScalar(reading, text);
  if (kind == "enum") {
    const auto attribute = As<Corvanta::EngineAttribEnum>(reading);
    return attribute->Set(EnumNumber(attribute, text));
  }
  if (kind != "void") ThrowKind(reading, "it cannot be set");
  if (!text.empty()) ThrowKind(reading, "it takes no value");
  As<Corvanta::EngineAttribVoid>(reading)->Set();
}

}  // namespace

bool HasValue(const Reading& reading) { return reading.type_name != "void"; }

SampleRecord GetValue(const Reading& reading) {
  return Remote(FullName(reading.name), reading.reference, kReadingAdvice, [&] { return GetByKind(reading); });
}

void SetValue(const Reading& reading, const std::string& text) {
  if (!reading.settable) ThrowKind(reading, "a reading, not an attribute: it cannot be set");
  Remote(FullName(reading.name), reading.reference, kReadingAdvice, [&] { SetByKind(reading, text); });
}

std::int32_t LongFromText(const std::string& text) {
  std::int32_t number = 0;
  const char* end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stopped != end) {
    throw Error(ErrorKind::BadArgument, fmt::format("\"{}\" is not a whole number of 32 bits", Printable(text)));
  }
  return number;
}

void ScalarFromText(const std::string& text, double& number, Corvanta::VALUE_UNITS::Units& units) {
  const char* end = text.data() + text.size();
  double read = 0;
  const auto [stopped, error] = std::from_chars(text.data(), end, read);
  if (error != std::errc()) {
    throw Error(ErrorKind::BadArgument, fmt::format("\"{}\" does not begin with a number", Printable(text)));
  }
  std::string_view unit_text(stopped, static_cast<std::size_t>(end - stopped));
  while (!unit_text.empty() && unit_text.front() == ' ') unit_text.remove_prefix(1);
  try {
    if (!unit_text.empty()) units = VALUE::UnitsToCorba(Value::Units_from_text(unit_text));
  } catch (const std::invalid_argument& reason) {
    throw Error(ErrorKind::BadArgument, fmt::format("\"{}\": {}", Printable(text), Printable(reason.what())));
  }
  number = read;
}

}  // namespace Lumenar::Client
