// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/DeliverySchedule.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "samples.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class NoSubscriber : public Subscriber {
 public:
  Outcome Deliver(const Corvanta::SampleRecord&) override { return Outcome::Delivered; }
};

/// A schedule with a clock that the test turns.
class Schedule : public testing::Test {
 protected:
  void Add(long handle, const std::string& address = "host:1", const std::string& topic = "T") {
    schedule_.Add(handle, topic, address, boost::shared_ptr<Subscriber>(new NoSubscriber), now_);
  }
  void Publish(int value, const std::string& topic = "T") { schedule_.Publish(topic, LongSample(value), freed_); }

  std::optional<DeliverySchedule::Delivery> Next() {
    schedule_.Advance(now_);
    return schedule_.Next(now_);
  }
  DeliverySchedule::Delivery MustNext() {
    auto delivery = Next();
    if (!delivery) throw std::logic_error("nothing is ready");
    return *delivery;
  }
  bool Finish(const DeliverySchedule::Delivery& delivery, Outcome outcome) {
    return !schedule_.Finish(delivery, outcome, now_, freed_).empty();
  }

  /// The handles that may be delivered to now, all begun.
  std::vector<long> BeginAll() {
    std::vector<long> handles;
    while (auto delivery = Next()) {
      handles.push_back(delivery->subscription->handle);
      begun_.push_back(*delivery);
    }
    return handles;
  }
  const Subscription& Of(long handle) const { return *schedule_.Subscriptions().at(handle); }

  SteadyTime now_{1000s};
  std::vector<SamplePtr> freed_;
  std::vector<DeliverySchedule::Delivery> begun_;
  DeliverySchedule schedule_{WithoutLooks()};

 private:
  static DeliverySchedule::Limits WithoutLooks() {
    DeliverySchedule::Limits limits;
    limits.look_period = 0ms;
    return limits;
  }
};

TEST_F(Schedule, DeliversOneAtATimeInOrder) {
  Add(1);
  Publish(10);
  Publish(11);
  const auto first = MustNext();
  EXPECT_EQ(ValueOf(*first.sample), 10);
  EXPECT_FALSE(Next());
  Finish(first, Outcome::Delivered);
  const auto second = MustNext();
  EXPECT_EQ(ValueOf(*second.sample), 11);
  Finish(second, Outcome::Delivered);
  EXPECT_FALSE(Next());
  EXPECT_EQ(Of(1).delivered, 2u);
}

TEST_F(Schedule, DeliversToTheSubscribersOfTheTopicOnly) {
  Add(1, "host:1", "A");
  Add(2, "host:1", "B");
  Add(3, "host:1", "A");
  Publish(10, "A");
  EXPECT_THAT(BeginAll(), ElementsAre(1, 3));
  EXPECT_EQ(begun_[0].sample, begun_[1].sample) << "one record, whatever the number of subscribers";
}

TEST_F(Schedule, SubscribersTakeTurns) {
  Add(1);
  Add(2);
  for (int i = 0; i < 2; ++i) Publish(i);
  std::vector<long> order;
  while (auto delivery = Next()) {
    order.push_back(delivery->subscription->handle);
    Finish(*delivery, Outcome::Delivered);
  }
  EXPECT_THAT(order, ElementsAre(1, 2, 1, 2));
}

/// A schedule that looks at processes, each subscription with a topic of its own.
class LookingSchedule : public testing::Test {
 protected:
  void Add(long handle, const std::string& address) {
    schedule_.Add(handle, "T" + std::to_string(handle), address, boost::shared_ptr<Subscriber>(new NoSubscriber), now_);
  }
  void Publish(long handle, int value = 0) {
    schedule_.Publish("T" + std::to_string(handle), LongSample(value), freed_);
  }
  std::optional<DeliverySchedule::Delivery> NextLook() {
    schedule_.Advance(now_);
    return schedule_.NextLook(now_);
  }
  DeliverySchedule::Delivery MustLook() {
    auto look = NextLook();
    if (!look) throw std::logic_error("no look is due");
    return *look;
  }
  std::vector<long> Finish(const DeliverySchedule::Delivery& look, Outcome outcome) {
    std::vector<long> lost;
    for (const SubscriptionPtr& subscription : schedule_.Finish(look, outcome, now_, freed_))
      lost.push_back(subscription->handle);
    return lost;
  }
  /// Turns the clock on by `span`, answering each look with `outcome`; the handles that were dropped.
  std::vector<long> Live(std::chrono::seconds span, Outcome outcome) {
    std::vector<long> dropped;
    for (const SteadyTime end = now_ + span; now_ < end; now_ += 100ms) {
      while (const auto look = NextLook()) {
        ++looks_;
        for (const long handle : Finish(*look, outcome)) dropped.push_back(handle);
      }
    }
    return dropped;
  }

  SteadyTime now_{1000s};
  std::vector<SamplePtr> freed_;
  int looks_ = 0;
  DeliverySchedule schedule_{DeliverySchedule::Limits{}};
};

TEST_F(LookingSchedule, AProcessIsLookedAtOnceAMinuteWhateverItHas) {
  for (long handle = 1; handle <= 50; ++handle) Add(handle, "host:1");
  EXPECT_THAT(Live(600s, Outcome::Delivered), IsEmpty());
  EXPECT_GE(looks_, 9);
  EXPECT_LE(looks_, 11) << "one look a process, not a subscription";
}

TEST_F(LookingSchedule, ItsSubscribersAreLookedAtInTurn) {
  for (long handle = 1; handle <= 3; ++handle) Add(handle, "host:1");
  std::vector<long> looked_at;
  while (looked_at.size() < 4) {
    now_ += 100ms;
    const auto look = NextLook();
    if (!look) continue;
    looked_at.push_back(look->subscription->handle);
    Finish(*look, Outcome::Delivered);
  }
  EXPECT_THAT(looked_at, ElementsAre(1, 2, 3, 1));
}

TEST_F(LookingSchedule, TheLooksAtManyAreSpreadOverTheMinute) {
  for (long handle = 1; handle <= 600; ++handle) Add(handle, "host:" + std::to_string(handle));
  Live(10s, Outcome::Delivered);
  EXPECT_GT(looks_, 50);
  EXPECT_LT(looks_, 200);
}

TEST_F(LookingSchedule, AllOfADeadProcessGoWithinTwoMinutesOnASilentTopic) {
  for (long handle = 1; handle <= 3; ++handle) Add(handle, "dead:1");
  EXPECT_THAT(Live(70s, Outcome::Unreachable), ElementsAre(1, 2, 3));
  EXPECT_TRUE(schedule_.Subscriptions().empty());
}

TEST_F(LookingSchedule, AProcessThatIsBackWithinThreeSecondsKeepsThem) {
  Add(1, "host:1");
  while (!NextLook()) now_ += 100ms;
  // The look above stays under way; it ends here, with the process just being started again.
  EXPECT_THAT(Finish({schedule_.Subscriptions().at(1), nullptr, now_}, Outcome::Unreachable), IsEmpty());
  now_ += 2s;
  Finish(MustLook(), Outcome::Delivered);
  while (!NextLook()) now_ += 100ms;
  EXPECT_THAT(Finish({schedule_.Subscriptions().at(1), nullptr, now_}, Outcome::Unreachable), IsEmpty())
      << "the three seconds begin anew";
}

TEST_F(LookingSchedule, AllThatAreGoneGoAtOnceWhenAnotherProcessHasTheirAddress) {
  for (long handle = 1; handle <= 20; ++handle) Add(handle, "host:1");
  Add(21, "host:1");
  std::vector<long> dropped;
  while (dropped.empty()) {
    now_ += 100ms;
    while (const auto look = NextLook()) {
      const bool alive = look->subscription->handle == 21;
      for (const long handle : Finish(*look, alive ? Outcome::Delivered : Outcome::Gone)) dropped.push_back(handle);
    }
  }
  EXPECT_EQ(dropped.size(), 20u);
  EXPECT_EQ(schedule_.Subscriptions().size(), 1u);
}

TEST_F(LookingSchedule, AProcessThatNeverAnswersALookGoesAfterTenMinutes) {
  Add(1, "silent:1");
  EXPECT_THAT(Live(600s, Outcome::TimedOut), IsEmpty());
  EXPECT_THAT(Live(62s, Outcome::TimedOut), ElementsAre(1));
}

TEST_F(LookingSchedule, AFirstSampleWaitsForALookAndIsNotLostOnOneThatIsSilent) {
  Add(1, "host:1");
  Publish(1, 7);
  EXPECT_FALSE(schedule_.Next(now_));
  const auto look = MustLook();
  EXPECT_FALSE(NextLook()) << "one try at a time";
  Publish(1, 8);
  now_ += 1s;
  Finish(look, Outcome::TimedOut);
  EXPECT_FALSE(schedule_.Next(now_));
  now_ += 100ms;
  Finish(MustLook(), Outcome::Delivered);
  const auto delivery = schedule_.Next(now_);
  ASSERT_TRUE(delivery);
  EXPECT_EQ(ValueOf(*delivery->sample), 7);
  schedule_.Finish(*delivery, Outcome::Delivered, now_, freed_);
  EXPECT_EQ(schedule_.Subscriptions().at(1)->dropped, 0u);
  EXPECT_TRUE(schedule_.Next(now_)) << "who has answered is not asked again";
}

TEST_F(LookingSchedule, WhoWasLookedAtInVainWaitsForItsMomentWhateverIsPublished) {
  for (long handle : {1, 2}) Add(handle, "silent:1");
  Publish(1);
  const auto look = MustLook();
  now_ += 1s;
  Finish(look, Outcome::TimedOut);
  Publish(2);
  EXPECT_FALSE(NextLook());
  now_ += 100ms;
  EXPECT_TRUE(NextLook());
}

TEST_F(LookingSchedule, SilentProcessesTakeSoManyWorkersAndNewOnesGoBeforeThem) {
  for (long handle = 1; handle <= 900; ++handle) {
    Add(handle, "silent:" + std::to_string(handle));
    Publish(handle);
  }
  std::vector<DeliverySchedule::Delivery> looks;
  while (const auto look = NextLook()) looks.push_back(*look);
  EXPECT_EQ(looks.size(), DeliverySchedule::Limits{}.looks);
  now_ += 1s;
  for (const auto& look : looks) Finish(look, Outcome::TimedOut);
  now_ += 5s;
  Add(901, "host:1");
  Publish(901);
  std::size_t before = 0;
  for (auto look = MustLook(); look.subscription->handle != 901; look = MustLook()) {
    Finish(look, Outcome::TimedOut);
    ++before;
  }
  EXPECT_LE(before, 1u) << "the newest in turn with the oldest";
  std::set<long> second;
  while (const auto look = NextLook()) second.insert(look->subscription->handle);
  for (const auto& look : looks)
    EXPECT_EQ(second.count(look.subscription->handle), 0u) << "looked at in vain: they come later";
}

TEST_F(LookingSchedule, TheFirstLookIsShortAndThoseAfterItLonger) {
  using Limits = DeliverySchedule::Limits;
  Add(1, "host:1");
  Publish(1);
  std::vector<std::chrono::milliseconds> limits;
  for (int i = 0; i < 5; ++i) {
    while (schedule_.Advance(now_), !schedule_.HasReady()) now_ += 100ms;
    const auto look = MustLook();
    limits.push_back(look.look_limit);
    now_ += look.look_limit;
    Finish(look, i < 4 ? Outcome::TimedOut : Outcome::Delivered);
    EXPECT_EQ(schedule_.Subscriptions().at(1)->endpoint->IsStalled(),
              i == 4 ? false : look.look_limit == Limits{}.longest_look);
  }
  EXPECT_THAT(limits, ElementsAre(100ms, 200ms, 400ms, 800ms, 1000ms));
}

TEST_F(LookingSchedule, WhileManyCallsAreStuckWhoHasNotAnsweredSinceIsLookedAtFirst) {
  const auto count = static_cast<long>(DeliverySchedule::Limits{}.stuck_calls);
  const auto begin = [&](long handle) {
    Publish(handle);
    return schedule_.Next(now_);
  };
  for (long handle = 1; handle <= count + 3; ++handle) {
    Add(handle, "host:" + std::to_string(handle));
    Publish(handle);
    Finish(MustLook(), Outcome::Delivered);
    schedule_.Finish(*schedule_.Next(now_), Outcome::Delivered, now_, freed_);
  }
  now_ += 1s;
  std::vector<DeliverySchedule::Delivery> stuck;
  for (long handle = 1; handle < count; ++handle) stuck.push_back(*begin(handle));
  now_ += 30ms;
  const auto good = begin(count + 1);
  ASSERT_TRUE(good) << "not so many";
  stuck.push_back(*begin(count));
  schedule_.Finish(*good, Outcome::Delivered, now_, freed_);
  now_ += 30ms;
  EXPECT_TRUE(begin(count + 1)) << "it has answered since";
  EXPECT_FALSE(begin(count + 2));
  Finish(MustLook(), Outcome::Delivered);
  EXPECT_TRUE(schedule_.Next(now_)) << "it answers: its sample goes out";
  EXPECT_FALSE(begin(count + 3));
  const auto look = MustLook();
  now_ += look.look_limit;
  Finish(look, Outcome::TimedOut);
  EXPECT_FALSE(schedule_.Next(now_));
  now_ += 100ms;
  while (const auto again = NextLook()) Finish(*again, Outcome::Delivered);  // of others, too, whose minute is over
  EXPECT_TRUE(schedule_.Next(now_)) << "nothing of it is lost";
}

TEST_F(LookingSchedule, AProcessThatStoppedAnsweringLooksIsTriedByItsNextSample) {
  Add(1, "host:1");
  Publish(1);
  Finish(MustLook(), Outcome::Delivered);
  schedule_.Finish(*schedule_.Next(now_), Outcome::Delivered, now_, freed_);
  const Endpoint& endpoint = *schedule_.Subscriptions().at(1)->endpoint;
  while (!endpoint.IsStalled()) {
    now_ += 100ms;
    if (const auto look = NextLook()) Finish(*look, Outcome::TimedOut);
  }
  schedule_.Advance(now_);
  Publish(1, 5);
  const auto delivery = schedule_.Next(now_);
  ASSERT_TRUE(delivery);
  EXPECT_TRUE(delivery->tries);
  schedule_.Finish(*delivery, Outcome::Delivered, now_, freed_);
  EXPECT_FALSE(endpoint.IsStalled());
}

TEST_F(LookingSchedule, HeldProcessesAreTriedOnlySoManyAtATime) {
  std::vector<DeliverySchedule::Delivery> calls;
  for (long handle = 1; handle <= 200; ++handle) {
    Add(handle, "host:" + std::to_string(handle));
    Publish(handle);
    Finish(MustLook(), Outcome::Delivered);
    calls.push_back(*schedule_.Next(now_));
    Publish(handle);
  }
  now_ += 5s;  // all were stopped
  for (const auto& call : calls) schedule_.Finish(call, Outcome::TimedOut, now_, freed_);
  now_ += 200ms;
  schedule_.Advance(now_);
  calls.clear();
  while (const auto call = schedule_.Next(now_)) calls.push_back(*call);
  EXPECT_EQ(calls.size(), DeliverySchedule::Limits{}.tries);
  schedule_.Finish(calls.front(), Outcome::Delivered, now_, freed_);
  EXPECT_TRUE(schedule_.Next(now_)) << "one that ends makes room for another";
  EXPECT_FALSE(schedule_.Next(now_));
}

TEST_F(Schedule, ASamplePutBackIntoAFullQueueCountsTheOneThatGoesForIt) {
  Add(1);
  Publish(-1);
  const auto delivery = MustNext();
  const auto limit = static_cast<int>(SampleQueue::Limits{}.samples);
  for (int i = 0; i < limit; ++i) Publish(i);
  EXPECT_EQ(Of(1).dropped, 0u);
  Finish(delivery, Outcome::Unreachable);
  EXPECT_EQ(Of(1).dropped, 1u);
  EXPECT_EQ(Of(1).queue.Size(), static_cast<std::size_t>(limit));
}

TEST_F(Schedule, WhatTimedOutOrWasInterruptedIsNotSentAgain) {
  Add(1);
  int value = 0;
  for (const Outcome outcome : {Outcome::TimedOut, Outcome::Interrupted}) {
    Publish(value);
    Publish(value + 1);
    const auto delivery = MustNext();
    EXPECT_EQ(ValueOf(*delivery.sample), value);
    Finish(delivery, outcome);
    now_ += 200ms;
    const auto next = MustNext();
    EXPECT_EQ(ValueOf(*next.sample), value + 1);
    Finish(next, Outcome::Delivered);
    value += 2;
  }
  EXPECT_EQ(Of(1).dropped, 2u);
}

TEST_F(Schedule, NothingBeginsAfterRemove) {
  Add(1);
  Publish(10);
  EXPECT_TRUE(schedule_.Remove(1, freed_));
  EXPECT_FALSE(schedule_.Remove(1, freed_));
  EXPECT_FALSE(Next());
  EXPECT_EQ(freed_.size(), 1u);
  EXPECT_TRUE(schedule_.Subscriptions().empty());
}

TEST_F(Schedule, RemoveDuringADeliveryForgetsItsEnd) {
  Add(1);
  Publish(10);
  const auto delivery = MustNext();
  schedule_.Remove(1, freed_);
  EXPECT_FALSE(Finish(delivery, Outcome::Gone)) << "it is removed already: no second drop";
  EXPECT_FALSE(Next());
}

TEST_F(Schedule, ATimedOutSampleIsDroppedAndThePauseDoubles) {
  Add(1);
  for (int i = 0; i < 10; ++i) Publish(i);
  const std::chrono::milliseconds pauses[] = {100ms, 200ms, 400ms, 800ms, 1600ms, 2000ms, 2000ms};
  int value = 0;
  for (const auto pause : pauses) {
    const auto delivery = MustNext();
    EXPECT_EQ(ValueOf(*delivery.sample), value++);
    now_ += 5s;
    Finish(delivery, Outcome::TimedOut);
    EXPECT_TRUE(Of(1).stalled);
    now_ += pause - 1ms;
    EXPECT_FALSE(Next()) << pause.count();
    EXPECT_EQ(*schedule_.NextMoment(), now_ + 1ms);
    now_ += 1ms;
  }
  EXPECT_EQ(Of(1).dropped, 7u);
  Finish(MustNext(), Outcome::Delivered);
  EXPECT_FALSE(Of(1).stalled);
  EXPECT_TRUE(Next()) << "an answer ends the pauses";
}

TEST_F(Schedule, AStoppedProcessIsTriedByOneSubscriptionAtATime) {
  for (long handle = 1; handle <= 100; ++handle) Add(handle);
  for (int i = 0; i < 3; ++i) Publish(i);
  const auto first = MustNext();
  now_ += 5s;
  Finish(first, Outcome::TimedOut);
  EXPECT_FALSE(Next()) << "the whole process is held";
  EXPECT_TRUE(Of(50).endpoint->IsStalled());

  now_ += 100ms;
  EXPECT_THAT(BeginAll(), ElementsAre(2)) << "the next subscription tries";
  now_ += 5s;
  Finish(begun_[0], Outcome::TimedOut);
  now_ += 199ms;
  EXPECT_THAT(BeginAll(), IsEmpty());
  now_ += 1ms;
  EXPECT_THAT(BeginAll(), ElementsAre(3));
  Finish(begun_[1], Outcome::Delivered);
  EXPECT_EQ(BeginAll().size(), 100u) << "it answers: all go on";
}

TEST_F(Schedule, AHungSubscriberDoesNotHoldOthersOfItsProcess) {
  Add(1, "host:1", "A");
  Add(2, "host:1", "B");
  Publish(10, "A");
  Publish(11, "A");
  const auto hung = MustNext();
  now_ += 1s;
  Publish(20, "B");
  Finish(MustNext(), Outcome::Delivered);
  now_ += 4s;
  Finish(hung, Outcome::TimedOut);
  Publish(21, "B");
  EXPECT_THAT(BeginAll(), ElementsAre(2));
  EXPECT_TRUE(Of(1).stalled);
  EXPECT_FALSE(Of(2).endpoint->IsStalled());
}

TEST_F(Schedule, StuckDeliveriesHoldTheirProcess) {
  for (long handle = 1; handle <= 10; ++handle) Add(handle);
  Add(11, "host:2");
  Publish(10);
  std::vector<DeliverySchedule::Delivery> stuck;
  for (int i = 0; i < 4; ++i) stuck.push_back(MustNext());
  now_ += 21ms;
  EXPECT_EQ(schedule_.Stuck(now_), 4u);
  EXPECT_THAT(BeginAll(), ElementsAre(11)) << "the other process is served";
  now_ += 500ms;
  EXPECT_EQ(BeginAll().size(), 1u) << "one more tries";
  now_ += 500ms;
  EXPECT_THAT(BeginAll(), IsEmpty());
  Finish(stuck[2], Outcome::Delivered);
  EXPECT_EQ(BeginAll().size(), 5u) << "one answer frees all";
}

TEST_F(Schedule, AProbeThatIsRemovedMakesRoomForAnother) {
  for (long handle = 1; handle <= 3; ++handle) Add(handle);
  Publish(10);
  const auto first = MustNext();
  now_ += 5s;
  Finish(first, Outcome::TimedOut);
  EXPECT_FALSE(Next());  // 2 and 3 are parked
  now_ += 100ms;
  schedule_.Advance(now_);  // 2 is to try, and is ready
  schedule_.Remove(2, freed_);
  EXPECT_THAT(BeginAll(), ElementsAre(3));
}

TEST_F(Schedule, AProcessHeldAnewWaitsForTheNewPause) {
  for (long handle = 1; handle <= 3; ++handle) Add(handle);
  Publish(10);
  Publish(11);
  ASSERT_EQ(BeginAll().size(), 3u);
  now_ += 5s;
  Finish(begun_[0], Outcome::TimedOut);  // held for 100 ms
  now_ += 10ms;
  Finish(begun_[1], Outcome::Delivered);  // and released
  const auto second = MustNext();
  now_ += 40ms;
  Finish(second, Outcome::TimedOut);  // held anew
  now_ += 99ms;
  EXPECT_THAT(BeginAll(), IsEmpty());
  now_ += 1ms;
  EXPECT_EQ(BeginAll().size(), 1u);
}

TEST_F(Schedule, AnUnreachableSubscriberIsTriedForThreeSecondsThenDropped) {
  Add(1);
  Publish(10);
  const SteadyTime begin = now_;
  for (;;) {
    const auto delivery = MustNext();
    EXPECT_EQ(ValueOf(*delivery.sample), 10) << "it was not delivered, so it is sent again";
    if (Finish(delivery, Outcome::Unreachable)) break;
    now_ = *schedule_.NextMoment();
  }
  EXPECT_EQ(now_ - begin, 3s);
  EXPECT_THAT(schedule_.Subscriptions(), IsEmpty());
  EXPECT_EQ(freed_.size(), 1u);
}

TEST_F(Schedule, ASubscriberThatComesBackIsKept) {
  Add(1);
  Publish(10);
  Finish(MustNext(), Outcome::Unreachable);
  now_ += 2s;
  Finish(MustNext(), Outcome::Delivered);
  now_ += 10s;
  Publish(11);
  EXPECT_FALSE(Finish(MustNext(), Outcome::Unreachable)) << "the three seconds begin anew";
}

TEST_F(Schedule, AnInterruptedSampleIsNotSentAgain) {
  Add(1);
  Publish(10);
  Publish(11);
  EXPECT_FALSE(Finish(MustNext(), Outcome::Interrupted));
  EXPECT_EQ(Of(1).dropped, 1u);
  now_ += 100ms;
  EXPECT_EQ(ValueOf(*MustNext().sample), 11);
}

TEST_F(Schedule, AnInterruptionLongAgoDoesNotShortenTheThreeSeconds) {
  Add(1);
  Publish(10);
  Finish(MustNext(), Outcome::Interrupted);
  now_ += 1h;
  Publish(11);
  EXPECT_FALSE(Finish(MustNext(), Outcome::Unreachable));
}

TEST_F(Schedule, NorDoesOneThatCouldNotBeReachedBefore) {
  Add(1);
  Publish(10);
  Finish(MustNext(), Outcome::Unreachable);
  now_ += 1s;
  Finish(MustNext(), Outcome::Interrupted);
  now_ += 1h;
  Publish(11);
  EXPECT_FALSE(Finish(MustNext(), Outcome::Unreachable)) << "there was nothing to try it with meanwhile";
}

TEST_F(Schedule, ASubscriberThatIsGoneIsDroppedAtOnce) {
  Add(1);
  Add(2);
  Publish(10);
  EXPECT_TRUE(Finish(MustNext(), Outcome::Gone));
  EXPECT_THAT(BeginAll(), ElementsAre(2));
}

TEST_F(Schedule, AKilledProcessIsReleasedAfterItWasHeld) {
  for (long handle = 1; handle <= 3; ++handle) Add(handle);
  Publish(10);
  const auto first = MustNext();
  now_ += 5s;
  Finish(first, Outcome::TimedOut);
  now_ += 100ms;
  Finish(MustNext(), Outcome::Unreachable);
  EXPECT_THAT(BeginAll(), ElementsAre(3)) << "each finds out by itself, at once";
}

TEST_F(Schedule, ASilentProcessIsDroppedWithAllItsSubscriptions) {
  for (long handle = 1; handle <= 3; ++handle) Add(handle);
  Add(4, "host:2");
  const SteadyTime begin = now_;
  std::vector<SubscriptionPtr> dropped;
  while (dropped.empty() && now_ - begin < 1h) {
    Publish(10);
    std::vector<DeliverySchedule::Delivery> silent;
    while (const auto delivery = Next()) {
      if (delivery->subscription->handle == 4) {
        Finish(*delivery, Outcome::Delivered);
      } else {
        silent.push_back(*delivery);
      }
    }
    now_ += 5s;
    for (const auto& delivery : silent) {
      if (dropped.empty()) dropped = schedule_.Finish(delivery, Outcome::TimedOut, now_, freed_);
    }
  }
  EXPECT_GE(now_ - begin, 600s);
  EXPECT_LE(now_ - begin, 610s);
  EXPECT_EQ(dropped.size(), 3u);
  ASSERT_EQ(schedule_.Subscriptions().size(), 1u) << "the other process stays";
  EXPECT_EQ(schedule_.Subscriptions().count(4), 1u);
}

TEST_F(Schedule, ASilentSubscriberOfAProcessThatAnswersIsDroppedAlone) {
  Add(1, "host:1", "A");
  Add(2, "host:1", "B");
  const SteadyTime begin = now_;
  for (bool dropped = false; !dropped && now_ - begin < 1h;) {
    Publish(10, "A");
    const auto hung = MustNext();
    Publish(20, "B");
    now_ += 1ms;
    Finish(MustNext(), Outcome::Delivered);
    now_ += 5s;
    dropped = Finish(hung, Outcome::TimedOut);
    now_ += 2s;
  }
  EXPECT_GE(now_ - begin, 600s);
  EXPECT_LT(now_ - begin, 620s);
  EXPECT_EQ(schedule_.Subscriptions().count(1), 0u);
  EXPECT_EQ(schedule_.Subscriptions().count(2), 1u);
}

TEST_F(Schedule, AnAnswerEndsTheSilence) {
  Add(1);
  Publish(10);
  Publish(11);
  Publish(12);
  now_ += 1ms;
  const auto first = MustNext();
  now_ += 599s;
  EXPECT_FALSE(Finish(first, Outcome::TimedOut));
  now_ += 100ms;
  Finish(MustNext(), Outcome::Delivered);
  const auto last = MustNext();
  now_ += 599s;
  EXPECT_FALSE(Finish(last, Outcome::TimedOut));
}

class GroupTaker : public NoSubscriber {
 public:
  bool TakesGroups() const override { return true; }
};

/// Subscribers whose process takes samples for several of them in one call.
class GroupSchedule : public Schedule {
 protected:
  void AddTaker(long handle, const std::string& address = "host:1", const std::string& topic = "T") {
    schedule_.Add(handle, topic, address, boost::shared_ptr<Subscriber>(new GroupTaker), now_);
  }
  std::vector<DeliverySchedule::Delivery> NextGroup() {
    schedule_.Advance(now_);
    return schedule_.NextGroup(now_);
  }
  std::vector<long> Begin() {
    group_ = NextGroup();
    return HandlesOf(group_);
  }
  static std::vector<long> HandlesOf(const std::vector<DeliverySchedule::Delivery>& group) {
    std::vector<long> handles;
    for (const auto& delivery : group) handles.push_back(delivery.subscription->handle);
    return handles;
  }
  void End(Outcome outcome) {
    for (auto delivery = group_.rbegin(); delivery != group_.rend(); ++delivery) Finish(*delivery, outcome);
  }

  std::vector<DeliverySchedule::Delivery> group_;
};

TEST_F(GroupSchedule, WhoIsReadyInOneProcessGoesAlong) {
  AddTaker(1);
  AddTaker(2, "host:2");
  AddTaker(3, "host:1", "U");
  AddTaker(4);
  Publish(10);
  Publish(20, "U");
  EXPECT_THAT(Begin(), ElementsAre(1, 4, 3));
  EXPECT_TRUE(group_[0].leads && group_[0].grouped);
  EXPECT_FALSE(group_[1].leads || group_[2].leads);
  EXPECT_EQ(group_[0].sample, group_[1].sample);
  EXPECT_EQ(ValueOf(*group_[2].sample), 20);
  End(Outcome::Delivered);
  for (const long handle : {1, 3, 4}) EXPECT_EQ(Of(handle).delivered, 1u);
  EXPECT_THAT(Begin(), ElementsAre(2));
  EXPECT_FALSE(group_[0].grouped) << "alone, it gets an ordinary call";
}

TEST_F(GroupSchedule, OneSampleOfEachAtATimeInOrder) {
  AddTaker(1);
  AddTaker(2);
  Publish(10);
  Publish(11);
  EXPECT_THAT(Begin(), ElementsAre(1, 2));
  EXPECT_THAT(NextGroup(), IsEmpty());
  End(Outcome::Delivered);
  EXPECT_THAT(Begin(), testing::UnorderedElementsAre(1, 2));
  EXPECT_EQ(ValueOf(*group_[0].sample), 11);
  EXPECT_EQ(ValueOf(*group_[1].sample), 11);
}

TEST_F(GroupSchedule, AGroupHasRoomForAFewAndForSmallSamples) {
  for (long handle = 1; handle <= 10; ++handle) AddTaker(handle);
  Publish(10);
  EXPECT_EQ(Begin().size(), 8u);
  EXPECT_EQ(NextGroup().size(), 2u);
  for (long handle = 11; handle <= 14; ++handle) AddTaker(handle, "host:2", "LARGE");
  schedule_.Publish("LARGE", TraceSample(17000), freed_);  // 68 kB: no room for a second one
  EXPECT_THAT(Begin(), ElementsAre(11));
}

TEST_F(GroupSchedule, SubscribersThatTakeNoGroupsStandAlone) {
  Add(1);
  AddTaker(2);
  Add(3);
  AddTaker(4);
  Publish(10);
  EXPECT_THAT(Begin(), ElementsAre(1));
  EXPECT_THAT(Begin(), ElementsAre(2, 4));
  EXPECT_THAT(Begin(), ElementsAre(3));
}

TEST_F(GroupSchedule, WhoTookNothingGetsThatSampleAloneAndTheNextInAGroupAgain) {
  AddTaker(1);
  AddTaker(2);
  AddTaker(3);
  Publish(10);
  Publish(11);
  ASSERT_THAT(Begin(), ElementsAre(1, 2, 3));
  Finish(group_[2], Outcome::Delivered);
  Finish(group_[1], Outcome::NotTaken);
  Finish(group_[0], Outcome::Delivered);
  EXPECT_EQ(Of(2).delivered, 0u);
  EXPECT_EQ(Of(2).dropped, 0u);
  EXPECT_THAT(Begin(), ElementsAre(3, 1));
  End(Outcome::Delivered);
  ASSERT_THAT(Begin(), ElementsAre(2));
  EXPECT_EQ(ValueOf(*group_[0].sample), 10) << "in order";
  End(Outcome::Delivered);
  Publish(12);
  EXPECT_THAT(Begin(), ElementsAre(2, 1, 3));
  EXPECT_EQ(ValueOf(*group_[0].sample), 11);
}

TEST_F(GroupSchedule, AfterASlowGroupEachHasCallsOfItsOwnForAWhile) {
  AddTaker(1);
  AddTaker(2);
  Publish(10);
  ASSERT_EQ(Begin().size(), 2u);
  now_ += 21ms;
  End(Outcome::Delivered);
  Publish(11);
  EXPECT_THAT(Begin(), ElementsAre(1));
  const auto other = NextGroup();
  EXPECT_THAT(HandlesOf(other), ElementsAre(2));
  End(Outcome::Delivered);
  Finish(other[0], Outcome::Delivered);
  now_ += 1001ms;
  Publish(12);
  EXPECT_EQ(Begin().size(), 2u);
}

TEST_F(GroupSchedule, AGroupThatHangsIsOneStuckDelivery) {
  for (long handle = 1; handle <= 10; ++handle) AddTaker(handle);
  Publish(10);
  ASSERT_EQ(Begin().size(), 8u);
  now_ += 21ms;
  EXPECT_EQ(schedule_.Stuck(now_), 1u);
  EXPECT_EQ(NextGroup().size(), 2u) << "the process is not held for it";
  End(Outcome::TimedOut);
  for (long handle = 1; handle <= 8; ++handle) {
    EXPECT_TRUE(Of(handle).stalled) << handle;
    EXPECT_EQ(Of(handle).dropped, 1u) << handle;
  }
  EXPECT_FALSE(Of(9).stalled);
}

TEST_F(GroupSchedule, AGroupThatReachedNobodyIsDeliveredLater) {
  AddTaker(1);
  AddTaker(2);
  Publish(10);
  ASSERT_EQ(Begin().size(), 2u);
  End(Outcome::Unreachable);
  EXPECT_THAT(NextGroup(), IsEmpty());
  now_ += 100ms;
  ASSERT_EQ(Begin().size(), 2u);
  End(Outcome::Delivered);
  EXPECT_EQ(Of(1).delivered + Of(2).delivered, 2u);
  EXPECT_EQ(Of(1).dropped + Of(2).dropped, 0u);
}

TEST_F(GroupSchedule, ASubscriptionThatIsRemovedMeanwhileIsGone) {
  AddTaker(1);
  AddTaker(2);
  Publish(10);
  ASSERT_EQ(Begin().size(), 2u);
  schedule_.Remove(1, freed_);
  schedule_.Remove(2, freed_);
  Finish(group_[1], Outcome::NotTaken);
  Finish(group_[0], Outcome::Delivered);
  EXPECT_THAT(NextGroup(), IsEmpty());
  EXPECT_THAT(schedule_.Subscriptions(), IsEmpty());
}

}  // namespace
}  // namespace Lumenar::Test
