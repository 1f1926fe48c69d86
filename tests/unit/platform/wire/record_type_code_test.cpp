// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/sample_wire.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <variant>

#include "BASIC_TRACE.hh"
#include "VALUE_DOUBLE.hh"
#include "tests/support/Wire.h"

namespace Corvanta {

namespace {

using namespace Test;

// For ever: they stand in messages between machines.
constexpr RecordNumber kTrace = 1;
constexpr RecordNumber kValue = 2;
constexpr RecordNumber kLong = 3;
constexpr RecordNumber kBoolean = 4;

RecordNumber Read(const Wire& wire) {
  cdrMemoryStream stream;
  stream.put_octet_array(reinterpret_cast<const CORBA::Octet*>(wire.Bytes().data()),
                         static_cast<int>(wire.Bytes().size()));
  stream.setByteSwapFlag(wire.IsLittleEndian());
  return ReadRecordTypeCode(stream);
}

struct Good {
  const char* name;
  TypeWriter type;
  RecordNumber expected;
};

class Known_or_unknown : public testing::TestWithParam<std::tuple<Good, bool>> {};

TEST_P(Known_or_unknown, InEitherByteOrder) {
  const auto& [good, little_endian] = GetParam();
  Wire wire(little_endian);
  good.type(wire);
  EXPECT_EQ(Read(wire), good.expected);
}

const std::vector<TypeWriter> kTwoLongs{Simple(kTkLong), Simple(kTkLong)};

INSTANTIATE_TEST_SUITE_P(
    Types, Known_or_unknown,
    testing::Combine(testing::Values(Good{"trace", TraceType(), kTrace}, Good{"value", ValueType(), kValue},
                                     Good{"long_", Simple(kTkLong), kLong},
                                     Good{"boolean", Simple(kTkBoolean), kBoolean},
                                     Good{"name_for_a_trace", Alias(TraceType()), kTrace},
                                     Good{"name_for_a_name", Alias(Alias(Simple(kTkLong))), kLong},
                                     Good{"null", Simple(0), kNoRecord}, Good{"ulong_", Simple(kTkUlong), kNoRecord},
                                     Good{"string", Simple(kTkString), kNoRecord},
                                     Good{"other_struct", Struct("IDL:X:1.0", kTwoLongs), kNoRecord},
                                     Good{"no_id", Struct("", kTwoLongs), kNoRecord},
                                     Good{"name_for_another", Alias(Sequence(Simple(kTkLong), 0)), kNoRecord}),
                     testing::Bool()),
    [](const auto& test) {
      return std::get<0>(test.param).name + std::string(std::get<1>(test.param) ? "_little" : "_big");
    });

struct Lying {
  const char* name;
  std::function<void(Wire&)> write;
};

class Lies : public testing::TestWithParam<std::tuple<Lying, bool>> {};

TEST_P(Lies, AreRefused) {
  const auto& [lying, little_endian] = GetParam();
  Wire wire(little_endian);
  lying.write(wire);
  EXPECT_THROW(Read(wire), CORBA::MARSHAL);
}

/// A struct of which only the front is there.
std::function<void(Wire&)> Front(const char* id, std::uint32_t members) {
  return [=](Wire& wire) {
    Wire body = Wire::Encapsulation(wire.IsLittleEndian());
    body.Text(id).Text("n").Ulong(members);
    wire.Ulong(kTkStruct).Nested(body);
  };
}

/// A name for the type code at a distance from here.
std::function<void(Wire&)> Referring(std::int32_t offset) {
  return [=](Wire& wire) {
    Wire body = Wire::Encapsulation(wire.IsLittleEndian());
    body.Text("IDL:A:1.0").Text("A").Ulong(0xffffffff).Ulong(static_cast<std::uint32_t>(offset));
    wire.Ulong(21).Nested(body);
  };
}

TypeWriter ManyNames(int count) { return count == 0 ? Simple(kTkLong) : Alias(ManyNames(count - 1)); }

/// A value whose units are of a type of another name.
TypeWriter OtherUnits() {
  const TypeWriter number = Simple(kTkDouble);
  const TypeWriter slot = Struct("IDL:Corvanta/VALUE_UNITS/UnitSlot:1.0", {Simple(kTkLong), Simple(kTkLong)});
  const TypeWriter units = Struct("IDL:Other/Units:1.0", {Simple(kTkBoolean), Simple(kTkLong), Array(slot, 5)});
  return Struct("IDL:Corvanta/VALUE_DOUBLE/VALUE:1.0", {units, number, number, number});
}

TypeWriter LongerArray() {
  const TypeWriter word = Simple(kTkUlong);
  return Struct("IDL:Corvanta/BASIC_TRACE/BT_DATA:1.0",
                {word, word, Array(word, 13), UnitsType(), Simple(kTkDouble), Sequence(Simple(kTkFloat), 0)});
}

TypeWriter OneMemberMore() {
  const TypeWriter number = Simple(kTkDouble);
  return Struct("IDL:Corvanta/VALUE_DOUBLE/VALUE:1.0", {UnitsType(), number, number, number, number});
}

TypeWriter Impostor(std::vector<TypeWriter> members) { return Struct("IDL:Corvanta/BASIC_TRACE/BT_DATA:1.0", members); }

INSTANTIATE_TEST_SUITE_P(
    Types, Lies,
    testing::Combine(
        testing::Values(
            Lying{"nothing", [](Wire&) {}}, Lying{"no_such_kind", Simple(4711)},
            Lying{"indirection_to_nothing", [](Wire& wire) { wire.Ulong(0xffffffff).Ulong(0); }},
            Lying{"more_than_the_message", [](Wire& wire) { wire.Ulong(kTkStruct).Ulong(0x7fffffff).Ulong(1); }},
            Lying{"empty_body", [](Wire& wire) { wire.Ulong(kTkStruct).Ulong(0); }},
            Lying{"byte_order_7",
                  [](Wire& wire) { wire.Ulong(kTkStruct).Nested(Wire().Octet(7).Text("i").Text("n").Ulong(0)); }},
            Lying{"id_longer_than_the_body",
                  [](Wire& wire) {
                    wire.Ulong(kTkStruct).Nested(Wire::Encapsulation(wire.IsLittleEndian()).Ulong(1000));
                  }},
            Lying{"a_million_members", Front("IDL:X:1.0", 1000000)}, Lying{"members_not_there", Front("IDL:X:1.0", 3)},
            Lying{"members_times_nine_is_small", Front("IDL:X:1.0", 0x1c71c71d)},
            Lying{"ours_without_members", Front("IDL:Corvanta/VALUE_DOUBLE/VALUE:1.0", 4)},
            Lying{"ours_with_too_few", Impostor({Simple(kTkUlong)})},
            Lying{"ours_with_others", Impostor(std::vector<TypeWriter>(6, Simple(kTkUlong)))},
            Lying{"ours_with_one_member_more", OneMemberMore()}, Lying{"ours_with_a_longer_array", LongerArray()},
            Lying{"ours_with_units_of_another_name", OtherUnits()}, Lying{"names_for_ever", ManyNames(9)},
            Lying{"refers_to_itself", Referring(-40)}, Lying{"refers_forward", Referring(4)},
            Lying{"refers_before_the_beginning", Referring(-100000)}, Lying{"refers_to_its_own_kind", Referring(-4)},
            Lying{"refers_to_its_own_offset", Referring(0)}),
        testing::Bool()),
    [](const auto& test) {
      return std::get<0>(test.param).name + std::string(std::get<1>(test.param) ? "_little" : "_big");
    });

TEST(Type_code, ARepeatedTypeMayReferToItsFirstUse) {
  Wire wire;
  Wire header = Wire::Encapsulation(true);
  header.Ulong(kTkUlong).Ulong(12);
  // sequence_number, flags as an indirection to it, and the rest as usual.
  Wire body = Wire::Encapsulation(true);
  body.Text("IDL:Corvanta/BASIC_TRACE/BT_DATA:1.0").Text("BT_DATA").Ulong(6).Text("a").Align(4);
  const auto first_use = static_cast<std::int32_t>(body.Bytes().size());
  body.Ulong(kTkUlong).Text("b").Ulong(0xffffffff);
  body.Ulong(static_cast<std::uint32_t>(first_use - static_cast<std::int32_t>(body.Bytes().size())));
  body.Text("c").Ulong(20).Nested(header).Text("d");
  UnitsType()(body);
  body.Text("e").Ulong(kTkDouble).Text("f");
  Sequence(Simple(kTkFloat), 0)(body);
  wire.Ulong(kTkStruct).Nested(body);
  EXPECT_EQ(Read(wire), kTrace);
}

TEST(Type_code, ALargeOneOfAnotherTypeIsNotLookedAt) {
  EXPECT_EQ(Read(Wire().Ulong(kTkStruct).Nested(Wire().Raw(std::string(3000, '\xff')))), kNoRecord);
}

void ExpectTheSameTypeCode(CORBA::TypeCode_ptr type_code, RecordNumber kind) {
  cdrMemoryStream theirs;
  CORBA::TypeCode::marshalTypeCode(type_code, theirs);
  EXPECT_EQ(ReadRecordTypeCode(theirs), kind);
  cdrMemoryStream ours;
  WriteRecordTypeCode(kind, ours);
  CORBA::TypeCode_var read = CORBA::TypeCode::unmarshalTypeCode(ours);
  EXPECT_TRUE(read->equal(type_code)) << "kind " << kind;
}

TEST(Type_code, OfEachKindIsTheOneOfTheInterfaceDefinition) {
  int kinds = 0;
  AnyRecordKind([&]<class T>() {
    ExpectTheSameTypeCode(RecordKind<T>::TypeCode(), kRecordNumber<T>);
    return ++kinds < 0;
  });
  EXPECT_EQ(kinds, static_cast<int>(std::variant_size_v<SampleRecordKinds>) - 1) << "all but no record";
  EXPECT_EQ(kRecordNumber<BASIC_TRACE::BT_DATA>, kTrace);
  EXPECT_EQ(kRecordNumber<VALUE_DOUBLE::VALUE>, kValue);
  EXPECT_EQ(kRecordNumber<int>, kLong);
  EXPECT_EQ(kRecordNumber<bool>, kBoolean);
}

/// The type code of a trace as this process writes it, with a byte of its encapsulation changed.
TypeWriter OwnTraceType(std::size_t at, char change) {
  cdrMemoryStream own;
  WriteRecordTypeCode(kTrace, own);
  std::string bytes(static_cast<const char*>(own.bufPtr()), own.bufSize());
  bytes.erase(0, 2 * sizeof(CORBA::ULong));  // kind and length
  bytes.at(at) = static_cast<char>(bytes.at(at) ^ change);
  return [bytes](Wire& wire) { wire.Ulong(kTkStruct).Nested(Wire().Raw(bytes)); };
}

/// What is read, as text.
std::string ReadingOf(const TypeWriter& type) {
  Wire wire;
  type(wire);
  try {
    return std::to_string(Read(wire));
  } catch (const CORBA::MARSHAL&) {
    return "refused";
  }
}

/// Our own is told by comparing it; behind a name it is read member by member, and that says the same.
TEST(Type_code, OneThatDiffersFromOurOwnInAnyByteIsReadMemberByMember) {
  if (!_OMNIORB_HOST_BYTE_ORDER_) GTEST_SKIP() << "written for little-endian processors";
  constexpr char kChange = 4;
  EXPECT_EQ(ReadingOf(OwnTraceType(0, 0)), std::to_string(kTrace));
  cdrMemoryStream own;
  WriteRecordTypeCode(kTrace, own);
  const std::size_t length = own.bufSize() - 2 * sizeof(CORBA::ULong);
  int refused = 0;
  for (std::size_t at = 0; at < length; ++at) {
    const TypeWriter changed = OwnTraceType(at, kChange);
    EXPECT_EQ(ReadingOf(changed), ReadingOf(Alias(changed))) << "byte " << at;
    refused += ReadingOf(changed) == "refused" ? 1 : 0;
  }
  EXPECT_GT(refused, 100) << "kinds, lengths and ids are not indifferent";
}

/// A type with a name: a struct, or a name for another type.
TypeWriter Named(std::uint32_t kind, const char* id, const char* name, const TypeWriter& rest) {
  return [=](Wire& wire) {
    Wire body = Wire::Encapsulation(wire.IsLittleEndian());
    body.Text(id).Text(name);
    rest(body);
    wire.Ulong(kind).Nested(body);
  };
}

TypeWriter SlotsAsDefined() {
  const TypeWriter slot = Named(kTkStruct, "IDL:Corvanta/VALUE_UNITS/UnitSlot:1.0", "UnitSlot", [](Wire& body) {
    body.Ulong(2).Text("unit").Ulong(kTkLong).Text("exponent").Ulong(kTkLong);
  });
  constexpr std::uint32_t kTkAlias = 21;
  return Named(kTkAlias, "IDL:Corvanta/VALUE_UNITS/UnitSlots:1.0", "UnitSlots", Array(slot, 5));
}

TypeWriter UnitsAsDefined() {
  return Named(kTkStruct, "IDL:Corvanta/VALUE_UNITS/Units:1.0", "Units", [](Wire& body) {
    body.Ulong(3).Text("is_dB").Ulong(kTkBoolean).Text("base_power").Ulong(kTkLong).Text("slots");
    SlotsAsDefined()(body);
  });
}

/// As the interface definition says it, name by name. Padding is zero: it would tell what stood in the memory of the
/// process, and no two processes would write the same.
TEST(Type_code, IsWrittenTheSameByEveryProcess) {
  Wire expected(_OMNIORB_HOST_BYTE_ORDER_ != 0);
  Named(kTkStruct, "IDL:Corvanta/VALUE_DOUBLE/VALUE:1.0", "VALUE", [](Wire& body) {
    body.Ulong(4).Text("units");
    UnitsAsDefined()(body);
    for (const char* number : {"minus_err", "plus_err", "val"}) body.Text(number).Ulong(kTkDouble);
  })(expected);
  std::string bytes = expected.Bytes();
  std::replace(bytes.begin(), bytes.end(), '\xAA', '\0');
  cdrMemoryStream own;
  WriteRecordTypeCode(kValue, own);
  EXPECT_EQ(std::string(static_cast<const char*>(own.bufPtr()), own.bufSize()), bytes);
}

TEST(Type_code, OfNoRecordIsNotWritten) {
  cdrMemoryStream stream;
  EXPECT_THROW(WriteRecordTypeCode(kNoRecord, stream), std::logic_error);
}

}  // namespace
}  // namespace Corvanta
