// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/HostileMessages.h"

#include <functional>

namespace Lumenar::Test {
namespace {

using Corvanta::Test::Simple;
using Corvanta::Test::TraceType;
using Corvanta::Test::TypeWriter;
using Corvanta::Test::ValueType;
using Corvanta::Test::Wire;
using namespace Corvanta::Test;

using Part = std::function<void(Wire&)>;

constexpr std::uint32_t kTkNull = 0, kTkObjref = 14, kTkUnion = 16, kTkEnum = 17, kTkAlias = 21, kTkValue = 29;
constexpr std::uint32_t kIndirection = 0xffffffff;

/// The any where the operation has it: first of all, or in the first sample of a group.
Wire Any(AnyOperation operation, const Part& type, const Part& value) {
  Wire wire;
  if (operation == AnyOperation::Group) wire.Ulong(1);
  type(wire);
  value(wire);
  return wire;
}

void Nothing(Wire&) {}

Part Words(std::vector<std::uint32_t> words) {
  return [words = std::move(words)](Wire& wire) {
    for (const std::uint32_t word : words) wire.Ulong(word);
  };
}

/// The value of each any is the next one.
Part AnysWithin(int depth) {
  return [depth](Wire& wire) {
    for (int i = 0; i < depth; ++i) wire.Ulong(kTkAny);
    wire.Ulong(kTkNull);
  };
}

/// A type code of a type code and so on, `bytes` long: kind, length of the rest, byte order, padding.
Part NestedTypes(std::uint32_t kind, std::uint32_t bytes) {
  return [=](Wire& wire) {
    for (std::uint32_t rest = bytes; rest > 24; rest -= 16) wire.Ulong(kind).Ulong(rest).Octet(1).Align(4).Ulong(0);
  };
}

/// A type code of this kind that claims `members` members and holds none.
Part ClaimsMembers(std::uint32_t kind, std::uint32_t members) {
  return [=](Wire& wire) {
    const Wire body = Wire::Encapsulation(true).Text("IDL:X:1.0").Text("X").Ulong(members);
    wire.Ulong(kind).Nested(body);
  };
}

/// Structures within structures that each have two members: a decoder that walks all of them never ends.
TypeWriter Bush(int depth) {
  const TypeWriter below = depth == 0 ? Simple(kTkLong) : Bush(depth - 1);
  return Struct("IDL:X:1.0", {below, below});
}

Part Samples(std::uint32_t claimed, std::uint32_t there) {
  return [=](Wire& wire) { WriteTrace(wire, claimed, there); };
}

std::vector<HostileMessage> Types(AnyOperation operation) {
  constexpr std::uint32_t kMany = 100000000;
  const TypeWriter a_string = [](Wire& wire) { wire.Ulong(kTkString).Ulong(0); };
  return {
      {"wrong type: string", Any(operation, a_string, [](Wire& w) { w.Text("no record"); })},
      {"wrong type: trace without samples",
       Any(operation, Struct("IDL:Corvanta/BASIC_TRACE/BT_DATA:1.0", {Simple(kTkUlong)}), Nothing)},
      {"null type", Any(operation, Simple(kTkNull), Nothing)},
      {"no such kind", Any(operation, Simple(0x7fffffff), Nothing)},
      {"indirection to nowhere", Any(operation, Words({kIndirection, 0x80000000}), Nothing)},
      {"indirection to itself", Any(operation, Words({kIndirection, 0xfffffffc}), Nothing)},
      {"type's length lies", Any(operation, Words({kTkStruct, 0x7ffffff0, 1}), Nothing)},
      {"type's length is zero", Any(operation, Words({kTkStruct, 0}), Nothing)},
      {"struct claims members", Any(operation, ClaimsMembers(kTkStruct, kMany), Nothing)},
      {"struct claims 2^32 - 1 members", Any(operation, ClaimsMembers(kTkStruct, 0xffffffff), Nothing)},
      {"enum claims members", Any(operation, ClaimsMembers(kTkEnum, kMany), Nothing)},
      {"union claims members", Any(operation, ClaimsMembers(kTkUnion, kMany), Nothing)},
      {"value type claims members", Any(operation, ClaimsMembers(kTkValue, kMany), Nothing)},
      {"objref type without name", Any(operation, Words({kTkObjref, 4, 1}), Nothing)},
      {"bush of structures", Any(operation, Bush(9), Nothing)},
      {"anys in anys, 26 deep", Any(operation, AnysWithin(26), Nothing)},
      {"anys in anys, 250,000 deep", Any(operation, AnysWithin(250000), Nothing)},
      {"nested sequences, 480 kB", Any(operation, NestedTypes(kTkSequence, 480000), Nothing)},
      {"nested sequences, 1 MB", Any(operation, NestedTypes(kTkSequence, 1 << 20), Nothing)},
      {"nested aliases, 1 MB", Any(operation, NestedTypes(kTkAlias, 1 << 20), Nothing)},
      {"nested structures, 1 MB", Any(operation, NestedTypes(kTkStruct, 1 << 20), Nothing)},
  };
}

std::vector<HostileMessage> Values(AnyOperation operation) {
  return {
      {"nothing at all", Wire()},
      {"trace: value is missing", Any(operation, TraceType(), Nothing)},
      {"trace: 2^30 samples", Any(operation, TraceType(), Samples(0x3fffffff, 4))},
      {"trace: 2^32 - 1 samples", Any(operation, TraceType(), Samples(0xffffffff, 4))},
      {"trace: one sample too few", Any(operation, TraceType(), Samples(5, 4))},
      {"value: value is missing", Any(operation, ValueType(), Nothing)},
      {"long: value is missing", Any(operation, Simple(kTkLong), Nothing)},
      {"boolean: neither true nor false", Any(operation, Simple(kTkBoolean), [](Wire& w) { w.Octet(7); })},
  };
}

std::vector<HostileMessage> Topics() {
  const auto topic = [](const Part& name) {
    return Any(AnyOperation::Publish, Simple(kTkLong), [&](Wire& w) { name(w.Ulong(1)); });
  };
  return {
      {"topic is missing", topic(Nothing)},
      {"topic: length lies", topic([](Wire& w) { w.Ulong(0x7fffffff).Ulong(0); })},
      {"topic: length is zero", topic([](Wire& w) { w.Ulong(0); })},
      {"topic: without end", topic([](Wire& w) { w.Ulong(2).Raw("ab"); })},
      {"topic: a zero inside", topic([](Wire& w) { w.Text(std::string("a\0b", 3)); })},
      {"topic: 1 MB", topic([](Wire& w) { w.Text(std::string(1 << 20, 't')); })},
  };
}

std::vector<HostileMessage> Groups() {
  const auto handles = [](const Part& list) {
    return Any(AnyOperation::Group, Simple(kTkLong), [&](Wire& w) { list(w.Ulong(1)); });
  };
  return {
      {"2^32 - 1 samples", Wire().Ulong(0xffffffff)},
      {"1,024 samples, none there", Wire().Ulong(1024)},
      {"handles are missing", handles(Nothing)},
      {"2^30 handles", handles([](Wire& w) { w.Ulong(0x3fffffff); })},
      {"1,024 handles, one there", handles([](Wire& w) { w.Ulong(1024).Ulong(1); })},
  };
}

}  // namespace

const char* NameOf(AnyOperation operation) {
  switch (operation) {
    case AnyOperation::Callback: return "DDS_Callback";
    case AnyOperation::Publish: return "Publish";
    case AnyOperation::Group: return "DDS_Group";
  }
  return "";
}

std::vector<HostileMessage> HostileAnys(AnyOperation operation) {
  std::vector<HostileMessage> messages = Types(operation);
  for (HostileMessage& value : Values(operation)) messages.push_back(std::move(value));
  if (operation == AnyOperation::Publish)
    for (HostileMessage& topic : Topics()) messages.push_back(std::move(topic));
  if (operation == AnyOperation::Group)
    for (HostileMessage& group : Groups()) messages.push_back(std::move(group));
  return messages;
}

Wire HarmlessAny(AnyOperation operation) {
  return Any(operation, Simple(kTkLong), [operation](Wire& wire) {
    wire.Ulong(5);
    if (operation == AnyOperation::Publish) wire.Text("HARMLESS");
    if (operation == AnyOperation::Group) wire.Ulong(1).Ulong(0x7fffffff);
  });
}

}  // namespace Lumenar::Test
