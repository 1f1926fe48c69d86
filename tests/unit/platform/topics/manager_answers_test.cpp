// SPDX-License-Identifier: Apache-2.0
// What a process makes of a topic manager's answers when they are late, refusals, or none.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>

#include "platform/topics/DDS_Subscriber.h"
#include "tests/support/TopicsFixture.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;
using Corvanta::DDS_Subscriber;
using Corvanta::DdsBaseAccess;

constexpr const char* kAnyTopic = "PROBE/1/COUNT";

class ManagerAnswers : public TopicsFixture {
 protected:
  static std::unique_ptr<DDS_Subscriber<int>> NewSubscriber() {
    return std::make_unique<DDS_Subscriber<int>>(kAnyTopic, [](const char*, int) {});
  }
};

TEST_F(ManagerAnswers, ASampleThatMayHaveArrivedIsNotSentAgain) {
  Manager().on_publish = [] { throw CORBA::COMM_FAILURE(0, CORBA::COMPLETED_MAYBE); };
  const auto lost = DdsBaseAccess::Instance().LostSamples();
  DdsBaseAccess::Instance().Publish(kAnyTopic, Corvanta::ViewOf(CORBA::Long{7}));
  EXPECT_EQ(LongsOn(kAnyTopic), std::vector<int>{7});
  EXPECT_EQ(DdsBaseAccess::Instance().LostSamples(), lost + 1);
}

TEST_F(ManagerAnswers, ARefusedRenewalIsTriedAgain) {
  Manager().RefuseNextRenewal();
  const auto subscriber = NewSubscriber();
  EXPECT_TRUE(WaitUntil([&] { return Manager().Renewals() == 2; }));
}

TEST_F(ManagerAnswers, TheEndWaitsForASubscriptionThatIsBeingMade) {
  auto standing = NewSubscriber();
  std::promise<void> answer;
  std::atomic<bool> is_being_made{false};
  Manager().on_subscribe = [&](Corvanta::DDS_Sub_ptr) {
    is_being_made = true;
    answer.get_future().wait();
  };
  auto made = std::async(std::launch::async, NewSubscriber);
  ASSERT_TRUE(WaitUntil([&] { return is_being_made.load(); }));
  auto end = std::async(std::launch::async, [&] { Orb().Shutdown(); });
  EXPECT_FALSE(WaitUntil([&] { return !Manager().Unsubscribed().empty(); }, 300ms));
  answer.set_value();
  const auto late = made.get();
  end.get();
  EXPECT_EQ(Manager().Unsubscribed().size(), 2u);
}

}  // namespace
}  // namespace Lumenar::Test
