// Access to a topic manager that goes away, hangs and comes back.
#include <gmock/gmock.h>

#include <csignal>

#include "platform/dds/DDS_BaseObj.h"
#include "tests/unit/services/topic_manager/TopicRig.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;

class DdsAccess : public TopicRig {
 protected:
  static Corvanta::DdsBaseAccess& Dds() { return Corvanta::DdsBaseAccess::Instance(); }
  static void Send(int value) { Dds().Publish("T", Corvanta::ViewOf(value)); }

  CORBA::Long SubscribeHere(TestSubscriber* subscriber) {
    Corvanta::DDS_Sub_var reference = subscriber->_this();
    return Dds().Subscribe("T", reference);
  }
  /// Sends the same value until it arrives at somebody who has had `count` samples.
  static bool SendUntilReceived(int value, TestSubscriber* subscriber, std::size_t count) {
    return WaitUntil([&] {
      Send(value);
      return subscriber->Values().size() > count;
    });
  }
};

TEST_F(DdsAccess, PublishesAndSubscribes) {
  TestSubscriberVar subscriber(new TestSubscriber);
  const auto handle = SubscribeHere(subscriber.in());
  const auto lost = Dds().LostSamples();
  for (int i = 0; i < 100; ++i) Send(i);
  EXPECT_TRUE(subscriber->WaitForCount(100));
  EXPECT_EQ(Dds().LostSamples(), lost);
  Dds().Unsubscribe("T", handle);
  EXPECT_EQ(StatusOf(handle).handle, 0);
}

TEST_F(DdsAccess, AManagerThatIsAwayIsNotedOnceAndCostsLittle) {
  Send(0);
  platform_.KillTopicManager();
  testing::internal::CaptureStderr();
  const auto lost = Dds().LostSamples();
  const auto time = TimeOf([] {
    for (int i = 0; i < 10000; ++i) Send(i);
  });
  EXPECT_EQ(Dds().LostSamples(), lost + 10000);
  EXPECT_LT(time, 1000ms);
  platform_.StartTopicManager();
  TestSubscriberVar subscriber(new TestSubscriber);
  SubscribeHere(subscriber.in());
  EXPECT_TRUE(SendUntilReceived(1, subscriber.in(), 0));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::MatchesRegex("topic manager at Lumenar/local/DDS_MANAGER/1 is away: [A-Z_]+ [^\n]*\n"
                                    "topic manager is back\n"));
}

TEST_F(DdsAccess, AHungManagerCostsHalfTheTimeLimitOnce) {
  Send(0);
  platform_.TopicManager().Signal(SIGSTOP);
  const auto time = TimeOf([] {
    for (int i = 0; i < 2000; ++i) Send(i);
  });
  EXPECT_GE(time, 400ms);
  EXPECT_LT(time, 950ms) << "who waits for us, under the same limit, still gets an answer";
  platform_.TopicManager().Signal(SIGCONT);
  const auto lost = Dds().LostSamples();
  EXPECT_TRUE(WaitUntil([&] {
    const auto before = Dds().LostSamples();
    Send(2);
    return Dds().LostSamples() == before;
  })) << "found again by itself; lost " << Dds().LostSamples() - lost;
}

TEST_F(DdsAccess, AManagerThatHungIsFoundAgainWhileTheNamingServiceIsAway) {
  Send(0);
  platform_.KillNamingService();
  platform_.TopicManager().Signal(SIGSTOP);
  const auto lost = Dds().LostSamples();
  Send(1);
  EXPECT_EQ(Dds().LostSamples(), lost + 1);
  platform_.TopicManager().Signal(SIGCONT);
  EXPECT_TRUE(WaitUntil([&] {
    const auto before = Dds().LostSamples();
    Send(2);
    return Dds().LostSamples() == before;
  }));
}

TEST_F(DdsAccess, SubscribingRightAfterARestartSucceeds) {
  TestSubscriberVar subscriber(new TestSubscriber);
  SubscribeHere(subscriber.in());
  for (int i = 0; i < 3; ++i) {
    platform_.KillTopicManager();
    platform_.StartTopicManager();
    EXPECT_NO_THROW(SubscribeHere(subscriber.in()));
  }
}

TEST_F(DdsAccess, SubscribingWithoutAManagerFailsAndUnsubscribingIsSilent) {
  TestSubscriberVar subscriber(new TestSubscriber);
  const auto handle = SubscribeHere(subscriber.in());
  platform_.KillTopicManager();
  testing::internal::CaptureStderr();
  Dds().Unsubscribe("T", handle);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_THROW(SubscribeHere(subscriber.in()), CORBA::TRANSIENT);
  EXPECT_THROW(Corvanta::DDS_Manager_var(Dds().Manager()), CORBA::TRANSIENT);
}

TEST_F(DdsAccess, TheOrbEndsAllSubscriptionsAndTheNextOneWorksAgain) {
  for (int cycle = 0; cycle < 3; ++cycle) {
    TestSubscriberVar subscriber(new TestSubscriber);
    const auto handle = SubscribeHere(subscriber.in());
    Send(cycle);
    EXPECT_TRUE(subscriber->WaitForCount(1));
    StopOrb();
    const auto lost = Dds().LostSamples();
    Send(99);
    EXPECT_EQ(Dds().LostSamples(), lost + 1) << "without an ORB a sample is lost, quietly";
    Dds().Unsubscribe("T", handle);
    StartOrb();
    EXPECT_EQ(StatusOf(handle).handle, 0) << "ended when the ORB stopped";
  }
}

}  // namespace
}  // namespace Lumenar::Test
