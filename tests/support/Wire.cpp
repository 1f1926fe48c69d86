// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Wire.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace Corvanta::Test {

Wire Wire::Encapsulation(bool little_endian) {
  Wire wire(little_endian);
  wire.Octet(little_endian ? 1 : 0);
  return wire;
}

template <class T>
Wire& Wire::Number(T value) {
  Align(sizeof value);
  char bytes[sizeof value];
  std::memcpy(bytes, &value, sizeof value);
  if (little_endian_ != (std::endian::native == std::endian::little)) std::reverse(bytes, bytes + sizeof value);
  bytes_.append(bytes, sizeof value);
  return *this;
}

Wire& Wire::Octet(std::uint8_t value) {
  bytes_.push_back(static_cast<char>(value));
  return *this;
}
Wire& Wire::Ushort(std::uint16_t value) { return Number(value); }
Wire& Wire::Ulong(std::uint32_t value) { return Number(value); }
Wire& Wire::Float(float value) { return Number(value); }
Wire& Wire::Double(double value) { return Number(value); }

Wire& Wire::Text(const std::string& text) {
  Ulong(static_cast<std::uint32_t>(text.size() + 1));
  bytes_.append(text.c_str(), text.size() + 1);
  return *this;
}

Wire& Wire::Raw(const std::string& bytes) {
  bytes_ += bytes;
  return *this;
}

Wire& Wire::Nested(const Wire& encapsulation) {
  return Ulong(static_cast<std::uint32_t>(encapsulation.bytes_.size())).Raw(encapsulation.bytes_);
}

Wire& Wire::Align(std::size_t boundary) {
  while (bytes_.size() % boundary != 0) bytes_.push_back('\xAA');
  return *this;
}

TypeWriter Simple(std::uint32_t kind) {
  return [kind](Wire& wire) { wire.Ulong(kind); };
}

TypeWriter Struct(const std::string& id, const std::vector<TypeWriter>& members) {
  return [=](Wire& wire) {
    Wire body = Wire::Encapsulation(wire.IsLittleEndian());
    body.Text(id).Text("name").Ulong(static_cast<std::uint32_t>(members.size()));
    for (const TypeWriter& member : members) {
      body.Text("m");
      member(body);
    }
    wire.Ulong(kTkStruct).Nested(body);
  };
}

namespace {

TypeWriter Series(std::uint32_t kind, const TypeWriter& element, std::uint32_t count) {
  return [=](Wire& wire) {
    Wire body = Wire::Encapsulation(wire.IsLittleEndian());
    element(body);
    body.Ulong(count);
    wire.Ulong(kind).Nested(body);
  };
}

}  // namespace

TypeWriter Array(const TypeWriter& element, std::uint32_t length) { return Series(20, element, length); }

TypeWriter Sequence(const TypeWriter& element, std::uint32_t bound) { return Series(kTkSequence, element, bound); }

TypeWriter Alias(const TypeWriter& original) {
  return [=](Wire& wire) {
    Wire body = Wire::Encapsulation(wire.IsLittleEndian());
    body.Text("IDL:Any/Name:1.0").Text("Name");
    original(body);
    wire.Ulong(21).Nested(body);
  };
}

TypeWriter UnitsType() {
  const TypeWriter slot = Struct("IDL:Corvanta/VALUE_UNITS/UnitSlot:1.0", {Simple(kTkLong), Simple(kTkLong)});
  return Struct("IDL:Corvanta/VALUE_UNITS/Units:1.0", {Simple(kTkBoolean), Simple(kTkLong), Alias(Array(slot, 5))});
}

TypeWriter ValueType() {
  const TypeWriter number = Simple(kTkDouble);
  return Struct("IDL:Corvanta/VALUE_DOUBLE/VALUE:1.0", {UnitsType(), number, number, number});
}

TypeWriter TraceType() {
  const TypeWriter word = Simple(kTkUlong);
  return Struct("IDL:Corvanta/BASIC_TRACE/BT_DATA:1.0", {word, word, Alias(Array(word, 12)), UnitsType(),
                                                         Simple(kTkDouble), Alias(Sequence(Simple(kTkFloat), 0))});
}

void WriteUnits(Wire& wire) {
  wire.Octet(1).Ulong(static_cast<std::uint32_t>(-3));
  for (std::uint32_t slot = 1; slot <= 5; ++slot) wire.Ulong(slot).Ulong(10 + slot);
}

void WriteValue(Wire& wire) {
  WriteUnits(wire);
  wire.Double(-0.5).Double(0.25).Double(1e300);
}

void WriteTrace(Wire& wire, std::uint32_t claimed_samples, std::uint32_t samples) {
  wire.Ulong(41).Ulong(42);
  for (std::uint32_t word = 0; word < 12; ++word) wire.Ulong(0x01020300 + word);
  WriteUnits(wire);
  wire.Double(0.125).Ulong(claimed_samples);
  for (std::uint32_t i = 0; i < samples; ++i) wire.Float(static_cast<float>(i) + 0.5f);
}

}  // namespace Corvanta::Test
