// SPDX-License-Identifier: Apache-2.0
// How a schedule looks at processes that get no samples.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ScheduleFixture.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

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

}  // namespace
}  // namespace Lumenar::Test
