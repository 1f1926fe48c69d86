// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <boost/scoped_ptr.hpp>
#include <thread>

#include "platform/components/readings/EngineBasicTrace_i.h"
#include "platform/components/readings/EngineReadingBoolean_i.h"
#include "platform/components/readings/EngineReadingLong_i.h"
#include "platform/components/readings/EngineReadingValueDouble_i.h"
#include "platform/records/Records.h"
#include "tests/support/TopicsFixture.h"

namespace Lumenar::Test {
namespace {

using namespace Corvanta;
using BASIC_TRACE::BT_DATA;
using testing::ElementsAre;
using testing::IsEmpty;
using VALUE_DOUBLE::VALUE;

class ReadingsTest : public TopicsFixture {
 protected:
  ItemNamer namer_{"PROBE/1"};
};

BT_DATA TraceOf(CORBA::ULong points, float sample) {
  BT_DATA trace{};
  trace.samples.length(points);
  for (CORBA::ULong i = 0; i < points; ++i) trace.samples[i] = sample;
  return trace;
}

VALUE ValueOf(double number) {
  VALUE value{};
  value.val = number;
  return value;
}

TEST_F(ReadingsTest, StartWithTheInitialValueAndPublishNothing) {
  EngineBasicTrace_i trace(namer_, registration_, "RESULT", f_DefaultVal<BT_DATA>());
  EngineReadingValueDouble_i scalar(namer_, registration_, "RESULT", f_DefaultVal<VALUE>());
  EngineReadingLong_i number(namer_, registration_, "POINTS", 42);
  EngineReadingBoolean_i flag(namer_, registration_, "FULL", true);

  EngineBasicTrace_var trace_reference = trace._this();
  EngineReadingValueDouble_var scalar_reference = scalar._this();
  EngineReadingLong_var number_reference = number._this();
  EngineReadingBoolean_var flag_reference = flag._this();
  BASIC_TRACE::BT_DATA_var record = trace_reference->Get();
  EXPECT_EQ(record->samples.length(), 0U);
  EXPECT_EQ(record->x_step, 0.0);
  EXPECT_EQ(scalar_reference->Get().val, 0.0);
  EXPECT_EQ(scalar_reference->Get().units.slots[0].unit, 0);
  EXPECT_EQ(number_reference->Get(), 42);
  EXPECT_TRUE(flag_reference->Get());
  EXPECT_THAT(Manager().Published(), IsEmpty());
}

TEST_F(ReadingsTest, AssignmentStoresAndPublishes) {
  EngineBasicTrace_i trace(namer_, registration_, "TRACE", BT_DATA{});
  EngineReadingValueDouble_i scalar(namer_, registration_, "SCALAR", VALUE{});
  EngineReadingLong_i number(namer_, registration_, "LONG", 0);
  EngineReadingBoolean_i flag(namer_, registration_, "FLAG", false);

  trace = TraceOf(3, 1.5F);
  scalar = ValueOf(2.5);
  number = 7;
  flag = true;

  BASIC_TRACE::BT_DATA_var record = trace.Get();
  ASSERT_EQ(record->samples.length(), 3U);
  EXPECT_EQ(record->samples[2], 1.5F);
  EXPECT_EQ(scalar.Get().val, 2.5);
  EXPECT_EQ(number.Get(), 7);
  EXPECT_TRUE(flag.Get());
  ASSERT_EQ(Manager().Published().size(), 4U);
  EXPECT_EQ(std::get<BT_DATA>(Manager().PublishedOn("PROBE/1/TRACE").at(0)).samples.length(), 3U);
  EXPECT_EQ(std::get<VALUE>(Manager().PublishedOn("PROBE/1/SCALAR").at(0)).val, 2.5);
  EXPECT_THAT(LongsOn("PROBE/1/LONG"), ElementsAre(7));
  EXPECT_TRUE(std::get<bool>(Manager().PublishedOn("PROBE/1/FLAG").at(0)));
}

TEST_F(ReadingsTest, GetIsADeepCopy) {
  EngineBasicTrace_i trace(namer_, registration_, "TRACE", TraceOf(2, 1.0F));
  BASIC_TRACE::BT_DATA_var before = trace.Get();
  trace = TraceOf(2, 2.0F);
  EXPECT_EQ(before->samples[1], 1.0F);
  before->samples[0] = 9.0F;
  BASIC_TRACE::BT_DATA_var after = trace.Get();
  EXPECT_EQ(after->samples[0], 2.0F);
}

TEST_F(ReadingsTest, NamesAndTopicsAreDistinct) {
  EngineReadingLong_i first(namer_, registration_, "RESULT", 0);
  EngineReadingLong_i second(namer_, registration_, "RESULT", 0);
  EXPECT_EQ(first.GetName(), "RESULT");
  EXPECT_EQ(first.GetDDS_Topic(), "PROBE/1/RESULT");
  EXPECT_EQ(second.GetName(), "RESULT.2");
  EXPECT_EQ(second.GetDDS_Topic(), "PROBE/1/RESULT.2");
}

/// What each kind says of itself through the ORB, and in the registration object.
TEST_F(ReadingsTest, SayWhatTheyAre) {
  EngineBasicTrace_i trace(namer_, registration_, "A", BT_DATA{});
  EngineReadingValueDouble_i scalar(namer_, registration_, "B", VALUE{});
  EngineReadingLong_i number(namer_, registration_, "C", 0);
  EngineReadingBoolean_i flag(namer_, registration_, "D", false);
  const std::pair<std::string, std::string> expected[] = {
      {"A", "BasicTrace"}, {"B", "ValueDouble"}, {"C", "long"}, {"D", "boolean"}};

  const auto entries = registration_.Entries();
  ASSERT_EQ(entries.size(), 4U);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const auto& [name, kind] = expected[i];
    EXPECT_EQ(entries[i].name, name);
    EXPECT_EQ(entries[i].type_name, kind);
    EXPECT_EQ(entries[i].topic, "PROBE/1/" + name);
    EXPECT_FALSE(entries[i].settable);
    EngineReadingBase_var reference = entries[i].reference;
    CORBA::String_var topic = reference->DDS_Value();
    CORBA::String_var item = reference->Name();
    TypeInfo_var type = reference->CORBA_Type();
    EXPECT_EQ(topic.in(), "PROBE/1/" + name);
    EXPECT_EQ(item.in(), name);
    EXPECT_EQ(type->name.in(), name);
    EXPECT_EQ(type->type_name.in(), kind);
  }
}

TEST_F(ReadingsTest, ThisIsTheSameObjectEachTime) {
  EngineBasicTrace_i trace(namer_, registration_, "A", BT_DATA{});
  EngineBasicTrace_var first = trace._this();
  EngineBasicTrace_var second = trace._this();
  EXPECT_TRUE(first->_is_equivalent(second));
  EngineBasicTrace_var listed = EngineBasicTrace::_narrow(registration_.Entries().at(0).reference);
  ASSERT_FALSE(CORBA::is_nil(listed));
  EXPECT_TRUE(first->_is_equivalent(listed));
}

TEST_F(ReadingsTest, AClosedReadingIsGoneForClientsAndStillStores) {
  EngineReadingLong_i number(namer_, registration_, "A", 1);
  EngineReadingLong_var reference = number._this();
  number.Close();
  number.Close();

  EXPECT_THROW(reference->Get(), CORBA::OBJECT_NOT_EXIST);
  EXPECT_THAT(registration_.Entries(), IsEmpty());
  number = 2;
  EXPECT_EQ(number.Get(), 2);
  EXPECT_THAT(Manager().Published(), IsEmpty());
  EngineReadingLong_var again = number._this();
  EXPECT_THROW(again->Get(), CORBA::OBJECT_NOT_EXIST) << "asking for the reference does not activate it again";
}

TEST_F(ReadingsTest, DestructionLeavesNothingBehind) {
  EngineReadingLong_var reference;
  {
    EngineReadingLong_i number(namer_, registration_, "A", 1);
    reference = number._this();
    EXPECT_EQ(LiveInstances("EngineReadingBase_i"), 1);
    EXPECT_EQ(LiveInstances("ReadingServant"), 1);
  }
  EXPECT_THROW(reference->Get(), CORBA::OBJECT_NOT_EXIST);
  EXPECT_THAT(registration_.Entries(), IsEmpty());
  EXPECT_EQ(LiveInstances("EngineReadingBase_i"), 0);
  EXPECT_EQ(LiveInstances("ReadingServant"), 0);
}

TEST_F(ReadingsTest, AHoldPublishesTheNewestValueOfEachReadingOnce) {
  EngineReadingLong_i a(namer_, registration_, "A", 0);
  EngineReadingLong_i b(namer_, registration_, "B", 0);
  {
    HoldReadings::Block hold;
    b = 1;
    a = 2;
    b = 3;
    EXPECT_EQ(b.Get(), 3) << "stored";
    EXPECT_THAT(Manager().Published(), IsEmpty());
  }
  EXPECT_THAT(LongsOn("PROBE/1/A"), ElementsAre(2));
  EXPECT_THAT(LongsOn("PROBE/1/B"), ElementsAre(3));
  EXPECT_EQ(Manager().Published().at(0).topic, "PROBE/1/B") << "in order of first assignment";
  b = 4;
  EXPECT_THAT(LongsOn("PROBE/1/B"), ElementsAre(3, 4));
}

TEST_F(ReadingsTest, AReadingThatGoesDuringAHoldPublishesNothing) {
  {
    HoldReadings::Block hold;
    EngineReadingLong_i number(namer_, registration_, "A", 0);
    number = 1;
  }
  {
    EngineReadingLong_i number(namer_, registration_, "B", 0);
    HoldReadings::Block hold;
    number = 1;
    number.Close();
  }
  EXPECT_THAT(Manager().Published(), IsEmpty());
}

/// While the manager takes its time, Get answers, and nothing of a reading's end waits.
TEST_F(ReadingsTest, APublicationUnderWayHoldsUpNeitherGetNorTheEnd) {
  boost::scoped_ptr<EngineReadingLong_i> number(new EngineReadingLong_i(namer_, registration_, "A", 0));
  EngineReadingLong_var reference = number->_this();
  Manager().HoldPublications();
  std::thread assignment([&, &reading = *number] { reading = 1; });
  EXPECT_TRUE(WaitUntil([&] { return Manager().PublicationsBegun() == 1; }));

  EXPECT_EQ(reference->Get(), 1);
  number->Close();
  EXPECT_THROW(reference->Get(), CORBA::OBJECT_NOT_EXIST);

  Manager().LetPublicationsGo();
  assignment.join();
  EXPECT_THAT(LongsOn("PROBE/1/A"), ElementsAre(1));
}

TEST_F(ReadingsTest, PublicationsComeInOrderOfAssignment) {
  constexpr int kThreads = 4;
  constexpr int kAssignments = 200;
  EngineReadingLong_i number(namer_, registration_, "A", 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kAssignments; ++i) number = t * kAssignments + i;
    });
  }
  for (std::thread& thread : threads) thread.join();

  const std::vector<int> published = LongsOn("PROBE/1/A");
  ASSERT_EQ(published.size(), static_cast<std::size_t>(kThreads * kAssignments)) << "each assignment once";
  EXPECT_EQ(published.back(), number.Get()) << "the last one published is the one that stayed";
  for (int t = 0; t < kThreads; ++t) {
    std::vector<int> own;
    for (int n : published) {
      if (n / kAssignments == t) own.push_back(n);
    }
    EXPECT_TRUE(std::is_sorted(own.begin(), own.end()));
  }
}

/// Readers and assignments at once: a trace is never seen half replaced.
TEST_F(ReadingsTest, ATraceIsReadWhole) {
  EngineBasicTrace_i trace(namer_, registration_, "A", TraceOf(1000, 0.0F));
  std::atomic<bool> done{false};
  std::thread writer([&] {
    for (int i = 1; i <= 300; ++i) trace = TraceOf(1000 + i % 2, static_cast<float>(i));
    done = true;
  });
  int torn = 0;
  while (!done) {
    BASIC_TRACE::BT_DATA_var seen = trace.Get();
    if (seen->samples[0] != seen->samples[seen->samples.length() - 1]) ++torn;
  }
  writer.join();
  EXPECT_EQ(torn, 0);
}

}  // namespace
}  // namespace Lumenar::Test
