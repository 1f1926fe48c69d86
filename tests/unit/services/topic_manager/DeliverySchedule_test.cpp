// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/DeliverySchedule.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ScheduleFixture.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

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

}  // namespace
}  // namespace Lumenar::Test
