// SPDX-License-Identifier: Apache-2.0
#include "platform/topics/DDS_Subscriber.h"

#include <gmock/gmock.h>
#include <boost/scoped_ptr.hpp>

#include <stdexcept>
#include <thread>

#include "platform/servants/servants.h"
#include "platform/wire/sample_calls.h"
#include "tests/support/TopicsFixture.h"

namespace Lumenar::Test {
namespace {

using Corvanta::DDS_Sub_var;
using Corvanta::DDS_Subscriber;
using Corvanta::BASIC_TRACE::BT_DATA;
using Corvanta::VALUE_DOUBLE::VALUE;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kTopic = "PROBE/1/WAKEUP";

CORBA::Any LongSample(CORBA::Long number) {
  CORBA::Any any;
  any <<= number;
  return any;
}

CORBA::Any TextSample() {
  CORBA::Any any;
  any <<= "no sample";
  return any;
}

BT_DATA TraceOf(std::vector<float> samples) {
  BT_DATA trace{};
  trace.sequence_number = 7;
  trace.header[11] = 12;
  trace.units.is_dB = true;
  trace.x_step = 0.5;
  trace.samples.length(static_cast<CORBA::ULong>(samples.size()));
  for (CORBA::ULong i = 0; i < trace.samples.length(); ++i) trace.samples[i] = samples[i];
  return trace;
}

/// Keeps the whole numbers it is called with.
struct Received {
  std::vector<std::string> topics;
  std::vector<int> numbers;

  DDS_Subscriber<int>::Callback Callback() {
    return [this](const char* topic, int number) {
      topics.emplace_back(topic);
      numbers.push_back(number);
    };
  }
};

using DDS_SubscriberTest = TopicsFixture;

TEST_F(DDS_SubscriberTest, GetIdIsWhatTheManagerReturned) {
  Received received;
  DDS_Subscriber<int> first(kTopic, received.Callback());
  DDS_Subscriber<int> second("PROBE/1/LOAD", received.Callback());

  EXPECT_EQ(first.GetId(), FakeTopicManager::kFirstHandle);
  EXPECT_EQ(second.GetId(), FakeTopicManager::kFirstHandle + 1);
  EXPECT_THAT(Manager().Subscribed(), ElementsAre(FakeTopicManager::Subscription{kTopic, first.GetId()},
                                                  FakeTopicManager::Subscription{"PROBE/1/LOAD", second.GetId()}));
  DDS_Sub_var reference = Manager().Subscriber(second.GetId());
  EXPECT_EQ(reference->GetId(), second.GetId()) << "through the ORB";
}

TEST_F(DDS_SubscriberTest, DestructionUnsubscribesOnceWithTheHandle) {
  Received received;
  boost::scoped_ptr<DDS_Subscriber<int>> subscriber(new DDS_Subscriber<int>(kTopic, received.Callback()));
  EXPECT_THAT(Manager().Unsubscribed(), IsEmpty());

  subscriber.reset();

  EXPECT_THAT(Manager().Unsubscribed(),
              ElementsAre(FakeTopicManager::Subscription{kTopic, FakeTopicManager::kFirstHandle}));
  EXPECT_EQ(LiveInstances("DDS_Subscriber"), 0);
  EXPECT_EQ(LiveInstances("SubscriberServant"), 0);
}

TEST_F(DDS_SubscriberTest, ALongReachesTheCallbackWithItsTopic) {
  Received received;
  DDS_Subscriber<int> subscriber(kTopic, received.Callback());
  DDS_Sub_var reference = Manager().Subscriber(subscriber.GetId());

  reference->DDS_Callback(LongSample(-3));
  Corvanta::CallCallback(reference, Corvanta::ViewOf(4));
  subscriber.DDS_Callback(LongSample(5));

  EXPECT_THAT(received.numbers, ElementsAre(-3, 4, 5));
  EXPECT_THAT(received.topics, ElementsAre(kTopic, kTopic, kTopic));
}

TEST_F(DDS_SubscriberTest, ATraceArrivesWhole) {
  std::vector<BT_DATA> received;
  DDS_Subscriber<BT_DATA> subscriber(kTopic, [&](const char*, BT_DATA trace) { received.push_back(trace); });
  DDS_Sub_var reference = Manager().Subscriber(subscriber.GetId());
  const BT_DATA sent = TraceOf({1.5F, -2.0F, 0.0F});
  CORBA::Any any;
  any <<= sent;

  reference->DDS_Callback(any);
  Corvanta::CallCallback(reference, Corvanta::ViewOf(sent));

  ASSERT_EQ(received.size(), 2U);
  for (const BT_DATA& trace : received) {
    EXPECT_EQ(trace.sequence_number, 7U);
    EXPECT_EQ(trace.header[11], 12U);
    EXPECT_TRUE(trace.units.is_dB);
    EXPECT_EQ(trace.x_step, 0.5);
    ASSERT_EQ(trace.samples.length(), 3U);
    EXPECT_EQ(trace.samples[1], -2.0F);
  }
}

TEST_F(DDS_SubscriberTest, AValueArrivesWhole) {
  std::vector<VALUE> received;
  DDS_Subscriber<VALUE> subscriber(kTopic, [&](const char*, VALUE value) { received.push_back(value); });
  VALUE sent{};
  sent.units.slots[0].unit = 1;
  sent.units.slots[0].exponent = 2;
  sent.minus_err = -0.25;
  sent.plus_err = 0.5;
  sent.val = 10.0;

  DDS_Sub_var reference = Manager().Subscriber(subscriber.GetId());
  Corvanta::CallCallback(reference, Corvanta::ViewOf(sent));

  ASSERT_EQ(received.size(), 1U);
  EXPECT_EQ(received[0].units.slots[0].exponent, 2);
  EXPECT_EQ(received[0].minus_err, -0.25);
  EXPECT_EQ(received[0].plus_err, 0.5);
  EXPECT_EQ(received[0].val, 10.0);
}

/// What a subscriber of kind T writes when a sample of another kind comes, by each of the roads that samples take.
template <class T>
void ExpectUnfitLines(FakeTopicManager& manager, const std::string& record_name) {
  bool called = false;
  DDS_Subscriber<T> subscriber(kTopic, [&](const char*, T) { called = true; });
  DDS_Sub_var reference = manager.Subscriber(subscriber.GetId());

  testing::internal::CaptureStdout();
  subscriber.DDS_Callback(TextSample());
  Corvanta::CallCallback(reference, Corvanta::ViewOf(true));
  const std::string out = testing::internal::GetCapturedStdout();

  const std::string lines =
      "void Corvanta::DDS_Subscriber<T>::DDS_Callback(const CORBA::Any&) [with T = " + record_name +
      "] error filling message \ntopic is PROBE/1/WAKEUP\n";
  EXPECT_EQ(out, lines + lines);
  EXPECT_FALSE(called);
}

TEST_F(DDS_SubscriberTest, ASampleOfAnotherKindIsWrittenAndDropped) {
  ExpectUnfitLines<VALUE>(Manager(), "Corvanta::VALUE_DOUBLE::VALUE");
  ExpectUnfitLines<BT_DATA>(Manager(), "Corvanta::BASIC_TRACE::BT_DATA");
  ExpectUnfitLines<int>(Manager(), "int");
}

TEST_F(DDS_SubscriberTest, AnEmptyCallbackThrowsOnDelivery) {
  DDS_Subscriber<int> subscriber(kTopic, DDS_Subscriber<int>::Callback());
  try {
    subscriber.DDS_Callback(LongSample(1));
    FAIL() << "expected boost::bad_function_call";
  } catch (const boost::bad_function_call& error) {
    EXPECT_STREQ(error.what(), "call to empty boost::function");
  }
}

TEST_F(DDS_SubscriberTest, ASampleOfAnotherKindComesBeforeTheEmptyCallback) {
  DDS_Subscriber<int> subscriber(kTopic, DDS_Subscriber<int>::Callback());
  testing::internal::CaptureStdout();
  EXPECT_NO_THROW(subscriber.DDS_Callback(TextSample()));
  EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::EndsWith("topic is PROBE/1/WAKEUP\n"));
}

TEST_F(DDS_SubscriberTest, WhatTheCallbackThrowsPassesOn) {
  DDS_Subscriber<int> subscriber(kTopic, [](const char*, int) { throw CORBA::NO_RESOURCES(); });
  EXPECT_THROW(subscriber.DDS_Callback(LongSample(1)), CORBA::NO_RESOURCES);
  DDS_Sub_var reference = Manager().Subscriber(subscriber.GetId());
  EXPECT_THROW(Corvanta::CallCallback(reference, Corvanta::ViewOf(1)), CORBA::NO_RESOURCES);
}

TEST_F(DDS_SubscriberTest, ASampleMayComeBeforeSubscribeHasReturned) {
  Received received;
  Manager().DeliverWithinSubscribe(LongSample(9));
  DDS_Subscriber<int> subscriber(kTopic, received.Callback());
  EXPECT_THAT(received.numbers, ElementsAre(9));
}

TEST_F(DDS_SubscriberTest, TheHandleIsZeroUntilSubscribeHasReturned) {
  std::vector<CORBA::Long> meanwhile;
  Manager().on_subscribe = [&meanwhile](Corvanta::DDS_Sub_ptr subscriber) { meanwhile.push_back(subscriber->GetId()); };
  Received received;
  DDS_Subscriber<int> subscriber(kTopic, received.Callback());
  EXPECT_THAT(meanwhile, ElementsAre(0));
  EXPECT_EQ(subscriber.GetId(), FakeTopicManager::kFirstHandle);
}

TEST_F(DDS_SubscriberTest, ARefusedSubscriptionLeavesNothingBehind) {
  Received received;
  Manager().RefuseSubscriptions();
  EXPECT_THROW(DDS_Subscriber<int>(kTopic, received.Callback()), CORBA::BAD_PARAM);
  EXPECT_THAT(Manager().Unsubscribed(), IsEmpty());
  EXPECT_EQ(LiveInstances("DDS_Subscriber"), 0);
  EXPECT_EQ(LiveInstances("SubscriberServant"), 0);
}

TEST_F(DDS_SubscriberTest, ADeliveryAfterDeletionFindsNobody) {
  Received received;
  boost::scoped_ptr<DDS_Subscriber<int>> subscriber(new DDS_Subscriber<int>(kTopic, received.Callback()));
  DDS_Sub_var reference = Manager().Subscriber(subscriber->GetId());
  subscriber.reset();

  EXPECT_THROW(Corvanta::CallCallback(reference, Corvanta::ViewOf(1)), CORBA::OBJECT_NOT_EXIST);
  EXPECT_THROW(reference->GetId(), CORBA::OBJECT_NOT_EXIST);
  EXPECT_THAT(received.numbers, IsEmpty());
}

/// A callback that waits inside its first call until the test lets it go.
class SlowCallback {
 public:
  void Call(const char*, int number) {
    Lock lock(mutex_);
    numbers_.push_back(number);
    while (waiting_) changed_.Wait(mutex_);
    ++finished_;
  }

  void LetGo() {
    Lock lock(mutex_);
    waiting_ = false;
    changed_.NotifyAll();
  }

  std::vector<int> Numbers() const {
    Lock lock(mutex_);
    return numbers_;
  }

  int Finished() const {
    Lock lock(mutex_);
    return finished_;
  }

 private:
  mutable Mutex mutex_;
  Condition changed_;
  bool waiting_ GUARDED_BY(mutex_) = true;
  int finished_ GUARDED_BY(mutex_) = 0;
  std::vector<int> numbers_ GUARDED_BY(mutex_);
};

TEST_F(DDS_SubscriberTest, DeletionDoesNotWaitForACallbackThatRuns) {
  SlowCallback slow;
  boost::scoped_ptr<DDS_Subscriber<int>> subscriber(
      new DDS_Subscriber<int>(kTopic, [&](const char* topic, int number) { slow.Call(topic, number); }));
  DDS_Sub_var reference = Manager().Subscriber(subscriber->GetId());
  std::thread delivery([&] { Corvanta::CallCallback(reference, Corvanta::ViewOf(1)); });
  EXPECT_TRUE(WaitUntil([&] { return slow.Numbers().size() == 1; }));

  subscriber.reset();  // would hang here

  EXPECT_EQ(slow.Finished(), 0);
  EXPECT_EQ(LiveInstances("SubscriberServant"), 1) << "held by the call";
  try {
    Corvanta::CallCallback(reference, Corvanta::ViewOf(2));
  } catch (const CORBA::OBJECT_NOT_EXIST&) {  // the ORB may still dispatch, or not any more
  }
  slow.LetGo();
  delivery.join();
  EXPECT_EQ(slow.Finished(), 1);
  EXPECT_THAT(slow.Numbers(), ElementsAre(1)) << "the late delivery found nobody";
  EXPECT_TRUE(WaitUntil([] { return LiveInstances("SubscriberServant") == 0; }));
}

/// Several subscribers of this process, called through any one of them.
class GroupTest : public TopicsFixture {
 protected:
  std::vector<CORBA::Long> Call(CORBA::Long called, int number, const std::vector<CORBA::Long>& handles) {
    const Corvanta::DDS_GroupSub_var group = Corvanta::DDS_GroupSub::_narrow(Manager().Subscriber(called));
    const Corvanta::SampleRecord record(std::in_place_type<CORBA::Long>, number);
    return Corvanta::CallGroup(group, {{Corvanta::ViewOf(record), handles}});
  }

  Received one_, two_;
};

TEST_F(GroupTest, EachThatIsNamedTakesTheSample) {
  DDS_Subscriber<int> one(kTopic, one_.Callback());
  DDS_Subscriber<int> two("ANOTHER/TOPIC", two_.Callback());
  EXPECT_THAT(Call(one.GetId(), 5, {one.GetId(), two.GetId()}), IsEmpty());
  EXPECT_THAT(Call(one.GetId(), 6, {two.GetId()}), IsEmpty());
  EXPECT_THAT(one_.numbers, ElementsAre(5));
  EXPECT_THAT(two_.numbers, ElementsAre(5, 6));
  EXPECT_THAT(two_.topics, ElementsAre("ANOTHER/TOPIC", "ANOTHER/TOPIC")) << "its own";
}

TEST_F(GroupTest, TracesAreWholeForEach) {
  std::vector<float> sums;
  const auto add = [&sums](const char*, BT_DATA trace) { sums.push_back(trace.samples[0] + trace.samples[1]); };
  DDS_Subscriber<BT_DATA> one(kTopic, add), two(kTopic, add), three(kTopic, add);
  const Corvanta::SampleRecord trace = TraceOf({1, 2});
  const Corvanta::DDS_GroupSub_var group = Corvanta::DDS_GroupSub::_narrow(Manager().Subscriber(one.GetId()));
  EXPECT_THAT(Corvanta::CallGroup(group, {{Corvanta::ViewOf(trace), {one.GetId(), two.GetId(), three.GetId()}}}),
              IsEmpty());
  EXPECT_THAT(sums, ElementsAre(3, 3, 3));
}

TEST_F(GroupTest, WhoIsNotHereOrGoneTakesNothing) {
  boost::scoped_ptr<DDS_Subscriber<int>> one(new DDS_Subscriber<int>(kTopic, one_.Callback()));
  DDS_Subscriber<int> two(kTopic, two_.Callback());
  const CORBA::Long gone = one->GetId();
  one.reset();
  EXPECT_THAT(Call(two.GetId(), 5, {gone, two.GetId(), 12345}), ElementsAre(gone, 12345));
  EXPECT_THAT(one_.numbers, IsEmpty());
  EXPECT_THAT(two_.numbers, ElementsAre(5));
}

TEST_F(GroupTest, AFailureIsItsSubscribersOwnAffair) {
  DDS_Subscriber<int> failing(kTopic, [](const char*, int) { throw std::runtime_error("not yours"); });
  DDS_Subscriber<int> two(kTopic, two_.Callback());
  EXPECT_THAT(Call(two.GetId(), 5, {failing.GetId(), two.GetId()}), IsEmpty());
  EXPECT_THAT(two_.numbers, ElementsAre(5));
}

TEST_F(GroupTest, WhoLeavesTakesNobodyAlongThatHasTheSameHandleOfAnotherManager) {
  boost::scoped_ptr<DDS_Subscriber<int>> one(new DDS_Subscriber<int>(kTopic, one_.Callback()));
  Manager().BeginAnew();
  DDS_Subscriber<int> two(kTopic, two_.Callback());
  ASSERT_EQ(one->GetId(), two.GetId());
  one.reset();
  EXPECT_THAT(Call(two.GetId(), 5, {two.GetId()}), IsEmpty());
  EXPECT_THAT(two_.numbers, ElementsAre(5));
}

class Built final : public PortableServer::ServantBase {};

/// An object under construction keeps its callers waiting; those behind it in the call do not wait with it.
TEST_F(GroupTest, WhoWouldHaveToWaitTakesNothing) {
  const PortableServer::Servant_var<Built> object(new Built);
  const boost::shared_ptr<Corvanta::UpcallGate> gate = Corvanta::UpcallGate::Create(object.in());
  DDS_Subscriber<int> building(kTopic, gate->Guard(one_.Callback()));
  DDS_Subscriber<int> two(kTopic, two_.Callback());
  EXPECT_THAT(Call(two.GetId(), 5, {building.GetId(), two.GetId()}), ElementsAre(building.GetId()));
  EXPECT_THAT(two_.numbers, ElementsAre(5));
  gate->Open();
  EXPECT_THAT(Call(two.GetId(), 6, {building.GetId(), two.GetId()}), IsEmpty());
  EXPECT_THAT(one_.numbers, ElementsAre(6));
}

}  // namespace
}  // namespace Lumenar::Test
