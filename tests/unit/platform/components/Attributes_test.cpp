// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <boost/scoped_ptr.hpp>
#include <cmath>
#include <limits>
#include <thread>

#include "platform/components/attributes/EngineAttribEnum_i.h"
#include "platform/components/attributes/EngineAttribLong_i.h"
#include "platform/components/attributes/EngineAttribValueDouble_i.h"
#include "platform/components/attributes/EngineAttribVoid_i.h"
#include "tests/support/TopicsFixture.h"

namespace Lumenar::Test {
namespace {

using namespace Corvanta;
using testing::ElementsAre;
using testing::IsEmpty;
using VALUE_DOUBLE::VALUE;

const EngineAttribLongParams kSizeLimits{1, 99, 0};

class AttributesTest : public TopicsFixture {
 protected:
  ItemNamer namer_{"MATHFACTORY/1"};
};

TEST_F(AttributesTest, LongTakesWhatLiesWithinItsLimits) {
  struct Row {
    CORBA::Long set;
    bool accepted;
  };
  const Row rows[] = {{1, true},
                      {99, true},
                      {50, true},
                      {0, false},
                      {100, false},
                      {-1, false},
                      {std::numeric_limits<CORBA::Long>::max(), false},
                      {std::numeric_limits<CORBA::Long>::min(), false}};
  std::vector<int> calls;
  boost::scoped_ptr<EngineAttribLong_i> size;
  size.reset(new EngineAttribLong_i(
      namer_, registration_, "SIZE", 1,
      [&](const int& value) {
        calls.push_back(value);
        *size = value;
      },
      kSizeLimits));
  EngineAttribLong_var reference = size->_this();
  for (const Row& row : rows) {
    const int before = size->Get();
    calls.clear();
    if (row.accepted) {
      reference->Set(row.set);
      EXPECT_EQ(reference->Get(), row.set);
      EXPECT_THAT(calls, ElementsAre(row.set));
    } else {
      try {
        reference->Set(row.set);
        ADD_FAILURE() << row.set << " was taken";
      } catch (const LimitsExceeded& refusal) {
        EXPECT_EQ(refusal.value, row.set);
        EXPECT_EQ(refusal.lower, 1);
        EXPECT_EQ(refusal.upper, 99);
      }
      EXPECT_EQ(reference->Get(), before);
      EXPECT_THAT(calls, IsEmpty());
    }
  }
  EXPECT_THAT(LongsOn("MATHFACTORY/1/SIZE"), ElementsAre(1, 99, 50)) << "each accepted value is published";
  EXPECT_EQ(reference->Limits().lower, 1);
  EXPECT_EQ(reference->Limits().upper, 99);
}

TEST_F(AttributesTest, WithoutACallbackTheValueIsStoredDirectly) {
  EngineAttribLong_i size(namer_, registration_, "SIZE", 1, EngineAttribLong_i::Callback(), kSizeLimits);
  EngineAttribLong_var reference = size._this();
  reference->Set(7);
  EXPECT_EQ(size.Get(), 7);
  EXPECT_THAT(LongsOn("MATHFACTORY/1/SIZE"), ElementsAre(7));
}

TEST_F(AttributesTest, ACallbackThatDoesNotStoreKeepsTheValue) {
  EngineAttribLong_i size(
      namer_, registration_, "SIZE", 3, [](const int&) {}, kSizeLimits);
  EngineAttribLong_var reference = size._this();
  reference->Set(7);
  EXPECT_EQ(reference->Get(), 3);
  EXPECT_THAT(Manager().Published(), IsEmpty());
}

TEST_F(AttributesTest, TheEngineItselfIsNotBoundByTheLimits) {
  EngineAttribLong_i size(namer_, registration_, "SIZE", 1, EngineAttribLong_i::Callback(), kSizeLimits);
  size = 1000;
  EXPECT_EQ(size.Get(), 1000);
}

TEST_F(AttributesTest, EnumTakesAnyNumberAndNamesItsElements) {
  boost::scoped_ptr<EngineAttribEnum_i> type;
  type.reset(new EngineAttribEnum_i(namer_, registration_, "TYPE", 0, [&](const int& value) { *type = value; },
                                    {{0, "Subtract"}, {4, "CumulativeAdd"}}));
  EngineAttribEnum_var reference = type->_this();
  EXPECT_EQ(reference->Get(), 0);
  reference->Set(7);
  reference->Set(-1);
  EXPECT_EQ(type->Get(), -1);
  EXPECT_THAT(LongsOn("MATHFACTORY/1/TYPE"), ElementsAre(7, -1));
  EnumElementSeq_var elements = reference->Elements();
  ASSERT_EQ(elements->length(), 2U);
  EXPECT_EQ(elements[0].number, 0);
  EXPECT_STREQ(elements[0].name, "Subtract");
  EXPECT_EQ(elements[1].number, 4);
  EXPECT_STREQ(elements[1].name, "CumulativeAdd");
}

TEST_F(AttributesTest, VoidTriggersItsCallbackAndPublishesNothing) {
  int calls = 0;
  EngineAttribVoid_i reset(namer_, registration_, "RESET", [&] { ++calls; });
  EngineAttribVoid_var reference = reset._this();
  reference->Set();
  reference->Set();
  EXPECT_EQ(calls, 2);
  EXPECT_THAT(Manager().Published(), IsEmpty());
  EngineAttribVoid_i nothing(namer_, registration_, "NOTHING", EngineAttribVoid_i::Callback());
  EngineAttribVoid_var nothing_reference = nothing._this();
  EXPECT_NO_THROW(nothing_reference->Set());
}

VALUE PowerOf(double number) {
  VALUE value{};
  value.units.slots[0].unit = 1;
  value.units.slots[0].exponent = 1;
  value.val = number;
  return value;
}

TEST_F(AttributesTest, ValueDoubleTakesNumbersOfEveryKind) {
  EngineAttribValueDouble_i level(namer_, registration_, "LEVEL", PowerOf(0.0), EngineAttribValueDouble_i::Callback());
  EngineAttribValueDouble_var reference = level._this();
  for (const double number : {1.5, -0.0, std::numeric_limits<double>::infinity(), 5e-324}) {
    reference->Set(PowerOf(number));
    EXPECT_EQ(level.Get().val, number);
  }
  reference->Set(PowerOf(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_TRUE(std::isnan(reference->Get().val));
  EXPECT_EQ(reference->Get().units.slots[0].unit, 1);
  EXPECT_EQ(Manager().PublishedOn("MATHFACTORY/1/LEVEL").size(), 5U);
}

TEST_F(AttributesTest, ValueDoubleRefusesMalformedUnits) {
  VALUE gap = PowerOf(1.0);
  gap.units.slots[2] = gap.units.slots[0];
  VALUE unknown = PowerOf(1.0);
  unknown.units.slots[0].unit = 12345;
  bool called = false;
  EngineAttribValueDouble_i level(namer_, registration_, "LEVEL", PowerOf(3.0), [&](const VALUE&) { called = true; });
  EngineAttribValueDouble_var reference = level._this();
  EXPECT_THROW(reference->Set(gap), CORBA::BAD_PARAM);
  EXPECT_THROW(reference->Set(unknown), CORBA::BAD_PARAM);
  EXPECT_FALSE(called);
  EXPECT_EQ(level.Get().val, 3.0);
}

TEST_F(AttributesTest, SayWhatTheyAre) {
  EngineAttribLong_i a(namer_, registration_, "A", 0, EngineAttribLong_i::Callback(), kSizeLimits);
  EngineAttribEnum_i b(namer_, registration_, "B", 0, EngineAttribEnum_i::Callback(), {});
  EngineAttribVoid_i c(namer_, registration_, "C", EngineAttribVoid_i::Callback());
  EngineAttribValueDouble_i d(namer_, registration_, "D", VALUE{}, EngineAttribValueDouble_i::Callback());
  const std::pair<std::string, std::string> expected[] = {
      {"A", "long"}, {"B", "enum"}, {"C", "void"}, {"D", "ValueDouble"}};

  const auto entries = registration_.Entries();
  ASSERT_EQ(entries.size(), 4U);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const auto& [name, kind] = expected[i];
    EXPECT_EQ(entries[i].name, name);
    EXPECT_EQ(entries[i].type_name, kind);
    EXPECT_TRUE(entries[i].settable);
    EngineReadingBase_var reference = entries[i].reference;
    CORBA::String_var topic = reference->DDS_Value();
    TypeInfo_var type = reference->CORBA_Type();
    EXPECT_EQ(topic.in(), "MATHFACTORY/1/" + name);
    EXPECT_EQ(type->name.in(), name);
    EXPECT_EQ(type->type_name.in(), kind);
  }
}

TEST_F(AttributesTest, WhatTheCallbackThrowsReachesTheClient) {
  EngineAttribVoid_i reset(namer_, registration_, "RESET", [] { throw CORBA::NO_RESOURCES(); });
  EngineAttribVoid_var reference = reset._this();
  EXPECT_THROW(reference->Set(), CORBA::NO_RESOURCES);
}

TEST_F(AttributesTest, AClosedAttributeIsGoneForClients) {
  int calls = 0;
  EngineAttribVoid_i reset(namer_, registration_, "RESET", [&] { ++calls; });
  EngineAttribLong_i size(
      namer_, registration_, "SIZE", 1, [&](const int&) { ++calls; }, kSizeLimits);
  EngineAttribVoid_var reset_reference = reset._this();
  EngineAttribLong_var size_reference = size._this();
  reset.Close();
  size.Close();
  EXPECT_THROW(reset_reference->Set(), CORBA::OBJECT_NOT_EXIST);
  EXPECT_THROW(size_reference->Set(2), CORBA::OBJECT_NOT_EXIST);
  EXPECT_THROW(size_reference->Limits(), CORBA::OBJECT_NOT_EXIST);
  EXPECT_EQ(calls, 0);
  EXPECT_THAT(registration_.Entries(), IsEmpty());
}

/// No lock of the attribute is held while a callback runs: all its other operations answer.
TEST_F(AttributesTest, AnAttributeAnswersWhileItsCallbackRuns) {
  Mutex mutex;
  Condition changed;
  bool inside = false;
  bool waiting = true;
  boost::scoped_ptr<EngineAttribLong_i> size(new EngineAttribLong_i(
      namer_, registration_, "SIZE", 5,
      [&](const int&) {
        Lock lock(mutex);
        inside = true;
        while (waiting) changed.Wait(mutex);
      },
      kSizeLimits));
  EngineAttribLong_var reference = size->_this();
  std::thread client([&] { reference->Set(6); });
  EXPECT_TRUE(WaitUntil([&] {
    Lock lock(mutex);
    return inside;
  }));

  EXPECT_EQ(reference->Get(), 5);
  *size = 8;
  EXPECT_EQ(reference->Get(), 8);
  size.reset();  // does not wait for the callback
  EXPECT_EQ(LiveInstances("ReadingServant"), 1) << "held by the call";

  {
    Lock lock(mutex);
    waiting = false;
    changed.NotifyAll();
  }
  client.join();
  EXPECT_TRUE(WaitUntil([] { return LiveInstances("ReadingServant") == 0; }));
}

}  // namespace
}  // namespace Lumenar::Test
