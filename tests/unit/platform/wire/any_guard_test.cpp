// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/any_guard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "platform/orb/ORB_wrapper.h"
#include "platform/wire/sample_any.h"
#include "platform/wire/sample_calls.h"
#include "tests/support/IsolatedPlatform.h"
#include "tests/unit/platform/wire/QuietManager.h"
#include "tests/unit/platform/wire/record_text.h"

namespace Corvanta {
namespace {

using Corvanta::Test::TextOf;
using Lumenar::Test::BuiltProgram;
using Lumenar::Test::Process;

BASIC_TRACE::BT_DATA Trace(CORBA::ULong points) {
  BASIC_TRACE::BT_DATA trace;
  trace.sequence_number = 41;
  trace.flags = 42;
  for (CORBA::ULong i = 0; i < 12; ++i) trace.header[i] = 100 + i;
  trace.units.is_dB = true;
  trace.units.base_power = -3;
  for (CORBA::Long i = 0; i < 5; ++i) trace.units.slots[i] = {i + 1, -i};
  trace.x_step = 0.125;
  trace.samples.length(points);
  for (CORBA::ULong i = 0; i < points; ++i) trace.samples[i] = static_cast<float>(i % 1000) + 0.5f;
  return trace;
}

VALUE_DOUBLE::VALUE Value() {
  VALUE_DOUBLE::VALUE value;
  value.units = Trace(0).units;
  value.minus_err = -0.5;
  value.plus_err = 0.25;
  value.val = 1e300;
  return value;
}

/// Servants of this process, whose operations are called directly.
class SubscriberHere : public POA_Corvanta::DDS_Sub {
 public:
  void DDS_Callback(const CORBA::Any& sample) override { last = TextOf(RecordFromAny(sample)); }
  CORBA::Long GetId() override { return 7; }

  std::string last;
};

/// One that reads a group as the ORB does.
class GroupHere : public POA_Corvanta::DDS_GroupSub {
 public:
  void DDS_Callback(const CORBA::Any&) override {}
  CORBA::Long GetId() override { return 7; }
  HandleSeq* DDS_Group(const SharedSampleSeq& samples) override {
    for (CORBA::ULong i = 0; i < samples.length(); ++i) {
      all += TextOf(RecordFromAny(samples[i].sample)) + " for";
      for (CORBA::ULong j = 0; j < samples[i].handles.length(); ++j) all += " " + std::to_string(samples[i].handles[j]);
      all += "\n";
    }
    HandleSeq_var refused = new HandleSeq;
    refused->length(2);
    refused[0] = 3;
    refused[1] = -4;
    return refused._retn();
  }

  std::string all;
};

class ManagerHere : public Test::QuietManager<POA_Corvanta::DDS_Manager> {
 public:
  void Publish(const CORBA::Any& sample, const char* topic) override {
    last = std::string(topic) + " " + TextOf(RecordFromAny(sample));
  }

  std::string last;
};

class any_guard_ : public testing::Test {
 protected:
  any_guard_() : orb_(localargc, localargv), server_({BuiltProgram("any_guard_server").string()}) {
    EXPECT_TRUE(server_.WaitForLine("ready")) << server_.Error();
    std::istringstream lines(server_.Out());
    std::string subscriber, manager;
    lines >> subscriber >> manager;
    CORBA::Object_var object = orb_.Orb()->string_to_object(subscriber.c_str());
    subscriber_ = DDS_Sub::_narrow(object);
    object = orb_.Orb()->string_to_object(manager.c_str());
    manager_ = DDS_Manager::_narrow(object);
  }

  /// Whether the server has written this line last; it is cheap enough to look at all of them.
  testing::AssertionResult Wrote(const std::string& line) {
    const bool found = server_.WaitForLine(line, std::chrono::seconds(5));
    return found ? testing::AssertionSuccess()
                 : testing::AssertionFailure() << "'" << line << "' not in\n"
                                               << server_.Out();
  }

  void RoundTrip(const SampleRecord& record) {
    const SampleView view = ViewOf(record);
    const std::string text = TextOf(record);
    CallCallback(subscriber_, view);
    EXPECT_TRUE(Wrote("callback " + text));
    CallPublish(manager_, view, "DIRECT/1/A B");
    EXPECT_TRUE(Wrote("publish DIRECT/1/A B " + text));
    CORBA::Any any;
    RecordToAny(view, any);
    EXPECT_EQ(TextOf(RecordFromAny(any)), text);
    manager_->Publish(any, "BY_ANY");
    EXPECT_TRUE(Wrote("publish BY_ANY " + text));
  }

  ORB_wrapper_base orb_;
  Process server_;
  DDS_Sub_var subscriber_;
  DDS_Manager_var manager_;
};

TEST_F(any_guard_, EveryKindOfRecordArrivesAsItWasSent) {
  RoundTrip(Trace(0));
  RoundTrip(Trace(1));
  RoundTrip(Trace(10001));
  RoundTrip(Value());
  RoundTrip(SampleRecord(std::in_place_type<CORBA::Long>, -2147483647));
  RoundTrip(SampleRecord(std::in_place_type<bool>, true));
  RoundTrip(SampleRecord(std::in_place_type<bool>, false));
  EXPECT_EQ(server_.Out().find("not guarded"), std::string::npos);
}

TEST_F(any_guard_, AGroupArrivesAsItWasSentAndSaysWhoTookNothing) {
  const SampleRecord trace = Trace(1001);
  const SampleRecord value = Value();
  const DDS_GroupSub_var group = DDS_GroupSub::_narrow(subscriber_);
  EXPECT_THAT(
      CallGroup(group,
                {{ViewOf(trace), {1, 13, 14}}, {ViewOf(value), {2}}, {ViewOf(value), {}}, {ViewOf(trace), {13}}}),
      testing::ElementsAre(13, 13));
  const std::string trace_text = TextOf(trace);
  EXPECT_TRUE(Wrote("group 1 " + trace_text));
  EXPECT_TRUE(Wrote("group 14 last " + trace_text));
  EXPECT_TRUE(Wrote("group 2 last " + TextOf(value)));
  EXPECT_TRUE(Wrote("group 13 last " + trace_text));
  EXPECT_THAT(CallGroup(group, {}), testing::IsEmpty());
  EXPECT_EQ(server_.Out().find("not guarded"), std::string::npos);
}

/// What the generated code writes the guard reads, and the other way round.
TEST_F(any_guard_, AGroupIsTheSameForTheOrbsOwnCode) {
  const SampleRecord trace = Trace(101);
  const SampleRecord truth(std::in_place_type<bool>, true);
  SharedSampleSeq samples;
  samples.length(2);
  RecordToAny(ViewOf(trace), samples[0].sample);
  samples[0].handles.length(2);
  samples[0].handles[0] = 13;
  samples[0].handles[1] = 2;
  RecordToAny(ViewOf(truth), samples[1].sample);
  samples[1].handles.length(1);
  samples[1].handles[0] = 13;
  const DDS_GroupSub_var group = DDS_GroupSub::_narrow(subscriber_);
  HandleSeq_var refused = group->DDS_Group(samples);
  ASSERT_EQ(refused->length(), 2u);
  EXPECT_EQ(refused[1], 13);
  EXPECT_TRUE(Wrote("group 2 last " + TextOf(trace)));
  EXPECT_TRUE(Wrote("group 13 last " + TextOf(truth)));

  orb_.Activate();
  PortableServer::Servant_var<GroupHere> servant(new GroupHere);
  const DDS_GroupSub_var here = servant->_this();
  EXPECT_THAT(CallGroup(here, {{ViewOf(trace), {5, 6}}, {ViewOf(truth), {7}}}), testing::ElementsAre(3, -4));
  EXPECT_EQ(servant->all, TextOf(trace) + " for 5 6\n" + TextOf(truth) + " for 7\n");
}

TEST_F(any_guard_, AGroupThatIsTooLargeIsNotSent) {
  const SampleRecord trace = Trace(static_cast<CORBA::ULong>(omniORB::giopMaxMsgSize() / sizeof(float) / 2));
  const DDS_GroupSub_var group = DDS_GroupSub::_narrow(subscriber_);
  EXPECT_THROW(CallGroup(group, {{ViewOf(trace), {1}}, {ViewOf(trace), {2}}}), CORBA::IMP_LIMIT);
  EXPECT_THROW(CallGroup(DDS_GroupSub::_nil(), {}), CORBA::INV_OBJREF);
  EXPECT_EQ(subscriber_->GetId(), 7);
}

TEST_F(any_guard_, LongTracesArriveWhole) {
  constexpr CORBA::ULong kFirstBlock = 1u << 18;
  for (CORBA::ULong points : {kFirstBlock - 1, kFirstBlock, kFirstBlock + 1, 4 * kFirstBlock, 5 * kFirstBlock + 3}) {
    const SampleRecord record = Trace(points);
    CallCallback(subscriber_, ViewOf(record));
    EXPECT_TRUE(Wrote("callback " + TextOf(record))) << points;
  }
}

TEST_F(any_guard_, OtherOperationsAndOtherAnysPass) {
  EXPECT_EQ(subscriber_->GetId(), 7);
  for (const char* text : {"short", "a text that is longer than what fits into one small message at all"}) {
    CORBA::Any any;
    any <<= text;
    subscriber_->DDS_Callback(any);
    EXPECT_THROW(manager_->Publish(any, "T"), CORBA::BAD_PARAM);
    EXPECT_EQ(subscriber_->GetId(), 7) << "the connection is out of step";
  }
  EXPECT_TRUE(Wrote("callback other"));
}

TEST_F(any_guard_, ALargeAnyOfAnotherTypeIsSkipped) {
  CORBA::LongSeq numbers;
  numbers.length(1000000);
  CORBA::Any any;
  any <<= numbers;
  subscriber_->DDS_Callback(any);
  EXPECT_TRUE(Wrote("callback other"));
  EXPECT_EQ(subscriber_->GetId(), 7);
}

TEST_F(any_guard_, WhatTheReceiverThrowsReachesTheCaller) {
  EXPECT_THROW(CallCallback(subscriber_, ViewOf(-1)), CORBA::BAD_OPERATION);
  CallCallback(subscriber_, ViewOf(5));
}

TEST_F(any_guard_, ASampleLargerThanTheLimitIsRefusedBeforeTheCall) {
  const BASIC_TRACE::BT_DATA trace = Trace(21u << 20);
  EXPECT_THROW(CallCallback(subscriber_, ViewOf(trace)), CORBA::IMP_LIMIT);
  EXPECT_THROW(CallPublish(manager_, ViewOf(trace), "T"), CORBA::IMP_LIMIT);
  EXPECT_EQ(subscriber_->GetId(), 7);
}

TEST_F(any_guard_, SixteenMillionPointsPass) {
  const SampleRecord record = Trace(16000000);
  CallCallback(subscriber_, ViewOf(record));
  EXPECT_TRUE(Wrote("callback " + TextOf(record)));
}

TEST_F(any_guard_, CallsWithinOneProcessAreOrdinaryCalls) {
  orb_.Activate();
  PortableServer::Servant_var<SubscriberHere> subscriber(new SubscriberHere);
  PortableServer::Servant_var<ManagerHere> manager(new ManagerHere);
  DDS_Sub_var subscriber_reference = subscriber->_this();
  DDS_Manager_var manager_reference = manager->_this();
  const SampleRecord record = Trace(3);
  CallCallback(subscriber_reference, ViewOf(record));
  EXPECT_EQ(subscriber->last, TextOf(record));
  CallPublish(manager_reference, ViewOf(record), "T");
  EXPECT_EQ(manager->last, "T " + TextOf(record));
}

TEST_F(any_guard_, NobodyIsCalledWithoutAReference) {
  EXPECT_THROW(CallCallback(DDS_Sub::_nil(), ViewOf(1)), CORBA::INV_OBJREF);
  EXPECT_THROW(CallPublish(DDS_Manager::_nil(), ViewOf(1), "T"), CORBA::INV_OBJREF);
}

TEST(any_record, AnAnyOfAnotherTypeHoldsNoRecord) {
  CORBA::Any any;
  EXPECT_EQ(RecordFromAny(any).index(), 0u);
  any <<= CORBA::Double(1);
  EXPECT_EQ(RecordFromAny(any).index(), 0u);
  EXPECT_THROW(ViewOf(SampleRecord()), CORBA::BAD_PARAM);
}

}  // namespace
}  // namespace Corvanta
