// SPDX-License-Identifier: Apache-2.0
// Deliveries of several subscriptions of a process in one call.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ScheduleFixture.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

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
