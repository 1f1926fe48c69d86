// SPDX-License-Identifier: Apache-2.0
// Access to a topic manager that goes away, hangs and comes back.
#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <map>
#include <thread>
#include <vector>

#include "platform/dds/DDS_BaseObj.h"
#include "platform/wire/sample_wire.h"
#include "tests/support/TopicRig.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;

class DdsAccess : public TopicRig {
 protected:
  static Corvanta::DdsBaseAccess& Dds() { return Corvanta::DdsBaseAccess::Instance(); }
  static void Send(int value) { Dds().Publish("T", Corvanta::ViewOf(value)); }

  CORBA::Long SubscribeHere(TestSubscriber* subscriber, std::function<void(CORBA::Long)> renewed = {}) {
    references_[subscriber] = subscriber->_this();
    return Dds().Subscribe("T", references_[subscriber], std::move(renewed));
  }
  CORBA::Long SubscribeAgain(TestSubscriber* subscriber) { return Dds().Subscribe("T", references_[subscriber]); }
  void Unsubscribe(TestSubscriber* subscriber) { Dds().Unsubscribe("T", references_[subscriber]); }
  /// Sends the same value until it arrives at somebody who has had `count` samples.
  static bool SendUntilReceived(int value, TestSubscriber* subscriber, std::size_t count) {
    return WaitUntil([&] {
      Send(value);
      return subscriber->Values().size() > count;
    });
  }

 private:
  std::map<TestSubscriber*, Corvanta::DDS_Sub_var> references_;
};

class RenewedSubscriptions : public DdsAccess {
 protected:
  /// A manager that knows nothing of what was.
  void ReplaceManager() {
    platform_.KillTopicManager();
    std::filesystem::remove(platform_.Directory() / "subscriptions.state");
    platform_.StartTopicManager();
  }
  std::vector<CORBA::Long> Handles() {
    Corvanta::DDS_Manager_var manager = Manager();
    Corvanta::SubscriptionStatusSeq_var all = manager->Subscriptions();
    std::vector<CORBA::Long> handles;
    for (CORBA::ULong i = 0; i < all->length(); ++i) handles.push_back(all[i].handle);
    return handles;
  }
};

TEST_F(RenewedSubscriptions, AManagerThatLostThemGetsEachOnceWithinSeconds) {
  std::vector<TestSubscriberVar> subscribers;
  for (int i = 0; i < 300; ++i) {
    subscribers.emplace_back(new TestSubscriber);
    SubscribeHere(subscribers.back().in());
  }
  Unsubscribe(subscribers.front().in());  // so that the others have new handles afterwards
  subscribers.erase(subscribers.begin());
  ReplaceManager();
  EXPECT_TRUE(WaitUntil([&] { return Handles().size() == 299; })) << Handles().size();
  Send(7);
  for (TestSubscriberVar& subscriber : subscribers) EXPECT_TRUE(subscriber->WaitForCount(1));
  Unsubscribe(subscribers.back().in());
  EXPECT_EQ(Handles().size(), 298u);
  const TestSubscriberVar ended = subscribers.back();
  subscribers.pop_back();
  Send(8);
  for (TestSubscriberVar& subscriber : subscribers) EXPECT_TRUE(subscriber->WaitForCount(2));
  EXPECT_EQ(ended.in()->Values().size(), 1u) << "ended by the handle that the new manager gave";
}

TEST_F(RenewedSubscriptions, ItsOwnerIsToldTheNewHandle) {
  TestSubscriberVar before(new TestSubscriber), subscriber(new TestSubscriber);
  std::atomic<CORBA::Long> told{0};
  SubscribeHere(before.in());
  const CORBA::Long handle = SubscribeHere(subscriber.in(), [&told](CORBA::Long renewed) { told = renewed; });
  Unsubscribe(before.in());
  ReplaceManager();
  ASSERT_TRUE(WaitUntil([&] { return Handles().size() == 1; }, 5s));
  ASSERT_NE(Handles().front(), handle) << "the new manager gives its own";
  EXPECT_TRUE(WaitUntil([&] { return told == Handles().front(); }, 5s));
}

TEST_F(RenewedSubscriptions, TheOnlyOneHasAnotherHandleTooSoThatItsOwnerIsTold) {
  TestSubscriberVar subscriber(new TestSubscriber);
  std::atomic<CORBA::Long> told{0};
  const CORBA::Long handle = SubscribeHere(subscriber.in(), [&told](CORBA::Long renewed) { told = renewed; });
  ReplaceManager();
  ASSERT_TRUE(WaitUntil([&] { return told != 0; }, 5s));
  EXPECT_NE(told, handle);
  EXPECT_EQ(Handles(), std::vector<CORBA::Long>{told});
}

TEST_F(RenewedSubscriptions, ASubscriberThatSubscribedTwiceGetsEachSampleTwiceAgain) {
  TestSubscriberVar subscriber(new TestSubscriber);
  SubscribeHere(subscriber.in());
  std::vector<TestSubscriberVar> others;  // between the two: more than a call for their renewal holds
  for (int i = 0; i < 100; ++i) {
    others.emplace_back(new TestSubscriber);
    SubscribeHere(others.back().in());
  }
  SubscribeAgain(subscriber.in());
  ReplaceManager();
  EXPECT_TRUE(WaitUntil([&] { return Handles().size() == 102; })) << Handles().size();
  Send(7);
  EXPECT_TRUE(subscriber->WaitForCount(2));
  EXPECT_EQ(subscriber->Values().size(), 2u);
  EXPECT_TRUE(others.back()->WaitForCount(1));
  Unsubscribe(subscriber.in());
  Unsubscribe(subscriber.in());
  EXPECT_EQ(Handles().size(), 100u) << "each under a handle of its own";
}

TEST_F(RenewedSubscriptions, AsManyOfOneSubscriberAsStayApartAndNoMore) {
  TestSubscriberVar subscriber(new TestSubscriber);
  std::size_t count = 0;
  SubscribeHere(subscriber.in());
  EXPECT_THROW(for (count = 1; count < 300; ++count) SubscribeAgain(subscriber.in()), CORBA::IMP_LIMIT);
  EXPECT_GT(count, 50u);
  EXPECT_EQ(Handles().size(), count) << "the one that was refused does not stay";
  ReplaceManager();
  EXPECT_TRUE(WaitUntil([&] { return Handles().size() == count; })) << Handles().size();
  Send(7);
  EXPECT_TRUE(subscriber->WaitForCount(count));
  EXPECT_EQ(subscriber->Values().size(), count);
  for (std::size_t i = 0; i < count; ++i) Unsubscribe(subscriber.in());
  EXPECT_EQ(Handles().size(), 0u) << "each under a handle of its own";
}

TEST_F(RenewedSubscriptions, ThoseThatWereRenewedOutliveTheNextRestart) {
  TestSubscriberVar subscriber(new TestSubscriber), other(new TestSubscriber);
  Corvanta::ClaimSeq claims;
  claims.length(2);
  for (CORBA::ULong i : {0u, 1u}) {
    claims[i].handle = 77;
    claims[i].topic = "T";
    claims[i].subscriber = (i == 0 ? subscriber : other)->_this();
  }
  Corvanta::HandleSeq_var handles = Corvanta::DDS_Manager_var(Manager())->Renew(claims);
  platform_.KillTopicManager();
  platform_.StartTopicManager();
  EXPECT_THAT(Handles(), testing::ElementsAre(handles[0], handles[1]));
}

TEST_F(RenewedSubscriptions, OneThatWasDroppedWhileItsProcessLivedComesBackAlone) {
  TestSubscriberVar dropped(new TestSubscriber), other(new TestSubscriber);
  SubscribeHere(dropped.in());
  SubscribeHere(other.in());
  ReplaceManager();  // with it comes a look that finds both: the next one has no other reason to renew them
  ASSERT_TRUE(WaitUntil([&] { return Handles().size() == 2; }));
  const auto before = Handles();
  Corvanta::ORB_base::DeactivateObject(dropped.in());
  Send(1);
  ASSERT_TRUE(WaitUntil([&] { return StatusOf(before.front()).handle == 0; }));
  ASSERT_TRUE(WaitUntil([&] { return Handles().size() == 2; }));
  EXPECT_EQ(Handles().front(), before.back());
  EXPECT_NE(Handles().back(), before.front());
}

TEST_F(RenewedSubscriptions, AClaimThatIsRepeatedStandsOnceAndOneOfNothingIsRefused) {
  TestSubscriberVar subscriber(new TestSubscriber);
  Corvanta::ClaimSeq claims;
  claims.length(3);
  for (CORBA::ULong i : {0u, 1u, 2u}) {
    claims[i].handle = 77;
    claims[i].topic = "T";
    if (i < 2) claims[i].subscriber = subscriber->_this();
  }
  Corvanta::DDS_Manager_var manager = Manager();
  const CORBA::ULongLong epoch = manager->SubscriptionEpoch();
  Corvanta::HandleSeq_var first = manager->Renew(claims), second = manager->Renew(claims);
  EXPECT_EQ(first[0], first[1]);
  EXPECT_EQ(first[0], second[0]);
  EXPECT_EQ(first[2], 0);
  EXPECT_EQ(Handles().size(), 1u);
  EXPECT_EQ(manager->SubscriptionEpoch(), epoch) << "nothing was forgotten";
  claims[0].topic = "U";
  Corvanta::HandleSeq_var third = manager->Renew(claims);
  EXPECT_NE(third[0], first[0]) << "another topic is another subscription";
}

TEST_F(DdsAccess, AnotherObjectUnderTheNameIsNotTakenForTheManager) {
  TestSubscriberVar impostor(new TestSubscriber);
  Corvanta::DDS_Manager_var manager = Manager();
  Corvanta::DDS_Sub_var reference = impostor->_this();
  const CosNaming::Name name = [] {
    CosNaming::Name parts;
    parts.length(4);
    const char* const ids[] = {"Lumenar", "local", "DDS_MANAGER", "1"};
    for (CORBA::ULong i = 0; i < 4; ++i) parts[i].id = ids[i];
    return parts;
  }();
  CORBA::Object_var root = Orb().Orb()->resolve_initial_references("NameService");
  CosNaming::NamingContext_var naming = CosNaming::NamingContext::_narrow(root);
  // Its owner puts the manager's name back within a second: the first look has to come before that.
  naming->rebind(name, reference);
  testing::internal::CaptureStderr();
  const auto lost = Dds().LostSamples();
  Send(1);
  EXPECT_EQ(Dds().LostSamples(), lost + 1);
  EXPECT_THROW(SubscribeHere(impostor.in()), CORBA::TRANSIENT);
  naming->rebind(name, manager);
  TestSubscriberVar subscriber(new TestSubscriber);
  EXPECT_TRUE(WaitUntil([&] {
    const auto before = Dds().LostSamples();
    Send(2);
    return Dds().LostSamples() == before;
  }));
  EXPECT_NO_THROW(SubscribeHere(subscriber.in()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("is away: it does not know this call"));
}

TEST_F(DdsAccess, PublishesAndSubscribes) {
  TestSubscriberVar subscriber(new TestSubscriber);
  const auto handle = SubscribeHere(subscriber.in());
  const auto lost = Dds().LostSamples();
  for (int i = 0; i < 100; ++i) Send(i);
  EXPECT_TRUE(subscriber->WaitForCount(100));
  EXPECT_EQ(Dds().LostSamples(), lost);
  Unsubscribe(subscriber.in());
  EXPECT_EQ(StatusOf(handle).handle, 0);
}

TEST_F(DdsAccess, OfTheFirstSamplesThatComeTogetherNoneIsLost) {
  const auto lost = Dds().LostSamples();
  std::atomic<int> ready{0};
  std::vector<std::thread> senders;
  for (int i = 0; i < 16; ++i) {
    senders.emplace_back([&ready, i] {
      ++ready;
      while (ready < 16) std::this_thread::yield();
      Send(i);
    });
  }
  for (std::thread& sender : senders) sender.join();
  EXPECT_EQ(Dds().LostSamples(), lost);
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
              testing::MatchesRegex("topic manager at Lumenar/local/DDS_MANAGER/1 is away: [a-z][^\n]*\n"
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
  })) << "found again by itself; lost "
      << Dds().LostSamples() - lost;
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
  SubscribeHere(subscriber.in());
  platform_.KillTopicManager();
  testing::internal::CaptureStderr();
  Unsubscribe(subscriber.in());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_THROW(SubscribeHere(subscriber.in()), CORBA::TRANSIENT);
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
    Dds().Unsubscribe("T", Corvanta::DDS_Sub::_nil());
    StartOrb();
    EXPECT_EQ(StatusOf(handle).handle, 0) << "ended when the ORB stopped";
  }
}

}  // namespace
}  // namespace Lumenar::Test
