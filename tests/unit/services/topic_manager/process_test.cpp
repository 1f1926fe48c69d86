// SPDX-License-Identifier: Apache-2.0
// The topic manager as a process, with subscribers that are slow, stopped, killed.
#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <fstream>
#include <functional>
#include <thread>

#include "platform/wire/sample_calls.h"
#include "tests/support/GiopStream.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TopicRig.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

using TopicManager = TopicRig;

TEST_F(TopicManager, DeliversInOrderToEachSubscriber) {
  TestSubscriberVar first(new TestSubscriber);
  TestSubscriberVar second(new TestSubscriber);
  EXPECT_EQ(Subscribe("T", first.in()), 1) << "handles start at 1";
  Subscribe("T", second.in());
  std::vector<int> expected;
  Corvanta::DDS_Manager_var manager = Manager();
  for (int i = 0; i < 500; ++i) {
    Corvanta::CallPublish(manager, Corvanta::ViewOf(i), "T");
    expected.push_back(i);
  }
  EXPECT_TRUE(first->WaitForCount(500));
  EXPECT_TRUE(second->WaitForCount(500));
  EXPECT_EQ(first->Values(), expected);
  EXPECT_EQ(second->Values(), expected);
}

TEST_F(TopicManager, ASubscriberThatRaisesHasGotItsSample) {
  TestSubscriberVar subscriber(new TestSubscriber([] { throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_YES); }));
  const auto handle = Subscribe("T", subscriber.in());
  for (int i = 0; i < 3; ++i) Publish("T", i);
  EXPECT_TRUE(WaitUntil([&] { return StatusOf(handle).delivered == 3; }));
  EXPECT_THAT(subscriber->Values(), testing::ElementsAre(0, 1, 2));
}

/// It may have taken the sample: the next one goes out, not the same again.
TEST_F(TopicManager, ASubscriberWhoseConnectionBreaksBehindASampleDoesNotGetItAgain) {
  using Corvanta::Test::GiopStream;
  using Corvanta::Test::ScriptedServer;
  std::atomic<int> requests{0};
  ScriptedServer subscriber([&](const Corvanta::MessageHeader& header, std::uint32_t id, unsigned) {
    const GiopStream giop;
    if (header.kind == Corvanta::MessageKind::LocateRequest) {
      const std::string here = Corvanta::Test::Wire(true).Ulong(id).Ulong(1).Bytes();
      return ScriptedServer::Answer{giop.Message(Corvanta::MessageKind::LocateReply, here)};
    }
    const int number = requests++;
    if (number == 1) return ScriptedServer::Answer{"", true};
    return ScriptedServer::Answer{giop.Reply(id, number == 0 ? std::string(1, '\0') : "")};  // a look: it is there
  });
  const CORBA::Object_var object = Orb().Orb()->string_to_object(subscriber.Reference().c_str());
  const Corvanta::DDS_Sub_var reference = Corvanta::DDS_Sub::_unchecked_narrow(object);
  const CORBA::Long handle = Corvanta::DDS_Manager_var(Manager())->Subscribe("T", reference);
  Publish("T", 1);
  EXPECT_TRUE(WaitUntil([&] { return StatusOf(handle).dropped == 1; }));
  Publish("T", 2);
  EXPECT_TRUE(WaitUntil([&] { return StatusOf(handle).delivered == 1; }));
  EXPECT_EQ(requests, 3) << "a look and two samples";
}

struct Raised {
  const char* name;
  std::function<void()> raise;
};

template <class Exception>
Raised Raising(const char* name, CORBA::CompletionStatus completed, CORBA::ULong minor = 0) {
  return {name, [=] { throw Exception(minor, completed); }};
}

/// The ORB raises the same when it cannot reach somebody; with its mark, the subscriber lets the failure of a call of
/// its own pass. They get samples for longer than an unreachable subscriber is kept.
TEST_F(TopicManager, WhateverASubscriberRaisesItGetsEachSampleOnceAndIsKept) {
  constexpr CORBA::ULong kMarked = 0x41540001;
  const Raised all[] = {Raising<CORBA::TRANSIENT>("TRANSIENT", CORBA::COMPLETED_NO),
                        Raising<CORBA::COMM_FAILURE>("COMM_FAILURE", CORBA::COMPLETED_MAYBE),
                        Raising<CORBA::OBJECT_NOT_EXIST>("OBJECT_NOT_EXIST", CORBA::COMPLETED_NO),
                        Raising<CORBA::TIMEOUT>("TIMEOUT", CORBA::COMPLETED_NO),
                        Raising<CORBA::TRANSIENT>("TRANSIENT of the ORB", CORBA::COMPLETED_NO, kMarked),
                        Raising<CORBA::TRANSIENT>("no connection", CORBA::COMPLETED_NO, kMarked + 1),
                        Raising<CORBA::COMM_FAILURE>("COMM_FAILURE of the ORB", CORBA::COMPLETED_MAYBE, kMarked),
                        Raising<CORBA::TIMEOUT>("TIMEOUT of the ORB", CORBA::COMPLETED_MAYBE, kMarked),
                        Raising<CORBA::OBJECT_NOT_EXIST>("OBJECT_NOT_EXIST of the ORB", CORBA::COMPLETED_NO, kMarked)};
  std::vector<TestSubscriberVar> subscribers;
  std::vector<CORBA::Long> handles;
  for (const Raised& raised : all) {
    subscribers.emplace_back(new TestSubscriber(raised.raise));
    handles.push_back(Subscribe("T", subscribers.back().in()));
  }
  constexpr unsigned kSamples = 40;
  std::vector<int> expected;
  for (unsigned i = 0; i < kSamples; ++i) {
    expected.push_back(static_cast<int>(i));
    Publish("T", expected.back());
    std::this_thread::sleep_for(100ms);  // a rate
  }
  for (std::size_t i = 0; i < subscribers.size(); ++i) {
    EXPECT_TRUE(WaitUntil([&] { return StatusOf(handles[i]).delivered == kSamples; })) << all[i].name;
    EXPECT_EQ(subscribers[i]->Values(), expected) << all[i].name;
    EXPECT_EQ(StatusOf(handles[i]).dropped, 0u) << all[i].name;
  }
}

/// A topic manager that looks at each process each second.
class SilentTopics : public TopicRig {
 protected:
  SilentTopics() {
    platform_.KillTopicManager();
    Restart();
  }
  void KillManager() {
    if (manager_ == nullptr) return;
    manager_->Signal(SIGKILL);
    manager_->WaitForExit();
  }
  void Restart() {
    KillManager();
    manager_ = platform_.Start("topic_manager", {"--look-period", "1"});
    if (!manager_->WaitForLine("topic_manager ready")) throw std::runtime_error(manager_->Error());
  }
  std::size_t Count() {
    Corvanta::DDS_Manager_var manager = Manager();
    return Corvanta::SubscriptionStatusSeq_var(manager->Subscriptions())->length();
  }
  std::unique_ptr<Process> manager_;
};

TEST_F(SilentTopics, SubscribersThatDiedAreDroppedAndTheLivingAreKept) {
  std::vector<CORBA::Long> handles, living;
  const auto killed = StartSubscriber("SILENT", 50, handles);
  const auto alive = StartSubscriber("SILENT", 3, living);
  killed->Signal(SIGKILL);
  killed->WaitForExit();
  EXPECT_TRUE(WaitUntil([&] { return Count() == 3; })) << Count();
  Restart();
  EXPECT_TRUE(WaitUntil([&] { return Count() == 3; })) << "the default of --state keeps them: " << Count();
}

TEST_F(SilentTopics, ThoseOfTheStateFileAreLookedAtAsWell) {
  std::vector<CORBA::Long> handles;
  const auto killed = StartSubscriber("SILENT", 50, handles);
  KillManager();
  killed->Signal(SIGKILL);
  killed->WaitForExit();
  Restart();
  EXPECT_EQ(Count(), 50u);
  EXPECT_TRUE(WaitUntil([&] { return Count() == 0; })) << Count();
}

/// Takes samples for several subscriptions of its process in one call, and answers each such call with an exception.
class FailingGroup : public POA_Corvanta::DDS_GroupSub {
 public:
  explicit FailingGroup(CORBA::CompletionStatus completed) : completed_(completed) {}

  Corvanta::HandleSeq* DDS_Group(const Corvanta::SharedSampleSeq&) override {
    throw CORBA::NO_RESOURCES(0, completed_);
  }
  void DDS_Callback(const CORBA::Any&) override { ++singles; }
  CORBA::Long GetId() override { return 0; }

  std::atomic<unsigned> singles{0};

 private:
  const CORBA::CompletionStatus completed_;
};

/// The status of both subscriptions of one subscriber, after a sample went to them in one call that failed.
class SharedCallThatFails : public TopicRig {
 protected:
  bool Ends(FailingGroup& subscriber, std::uint64_t delivered, std::uint64_t dropped) {
    const Corvanta::DDS_Sub_var reference = subscriber._this();
    Corvanta::DDS_Manager_var manager = Manager();
    const CORBA::Long handles[] = {manager->Subscribe("T", reference), manager->Subscribe("T", reference)};
    Publish("T", 1);
    return WaitUntil([&] {
      std::uint64_t all_delivered = 0, all_dropped = 0;
      for (const CORBA::Long handle : handles) {
        const Corvanta::SubscriptionStatus status = StatusOf(handle);
        all_delivered += status.delivered;
        all_dropped += status.dropped;
      }
      return all_delivered == delivered && all_dropped == dropped;
    });
  }
};

TEST_F(SharedCallThatFails, BeforeTheWorkIsMadeUpForSingly) {
  PortableServer::Servant_var<FailingGroup> subscriber(new FailingGroup(CORBA::COMPLETED_NO));
  EXPECT_TRUE(Ends(*subscriber.in(), 2, 0));
  EXPECT_EQ(subscriber->singles, 2u);
}

TEST_F(SharedCallThatFails, AfterItPerhapsIsCountedAndNotSentTwice) {
  PortableServer::Servant_var<FailingGroup> subscriber(new FailingGroup(CORBA::COMPLETED_MAYBE));
  EXPECT_TRUE(Ends(*subscriber.in(), 0, 2));
  EXPECT_EQ(subscriber->singles, 0u);
}

TEST_F(TopicManager, NoDeliveryBeginsAfterUnsubscribe) {
  TestSubscriberVar subscriber(new TestSubscriber);
  TestSubscriberVar witness(new TestSubscriber);
  const auto handle = Subscribe("T", subscriber.in());
  Subscribe("T", witness.in());
  Publish("T", 1);
  EXPECT_TRUE(subscriber->WaitForCount(1));
  Corvanta::DDS_Manager_var manager = Manager();
  manager->Unsubscribe("T", handle);
  manager->Unsubscribe("T", handle);
  manager->Unsubscribe("T", 12345);
  Publish("T", 2);
  EXPECT_TRUE(witness->WaitForCount(2));
  EXPECT_THAT(subscriber->Values(), testing::ElementsAre(1));
}

TEST_F(TopicManager, KeepsTheLastSampleOfATopic) {
  Corvanta::DDS_Manager_var manager = Manager();
  CORBA::Any_var any;
  EXPECT_FALSE(manager->LastSample("T", any.out()));
  Publish("T", 1);
  Publish("T", 2);
  EXPECT_TRUE(manager->LastSample("T", any.out()));
  EXPECT_EQ(std::get<CORBA::Long>(Corvanta::RecordFromAny(any.in())), 2);
  Corvanta::TopicStatusSeq_var topics = manager->Topics();
  ASSERT_EQ(topics->length(), 1u);
  EXPECT_STREQ(topics[0].topic, "T");
  EXPECT_EQ(topics[0].published, 2u);
  EXPECT_EQ(topics[0].subscribers, 0u);
}

TEST_F(TopicManager, RefusesWhatMakesNoSense) {
  Corvanta::DDS_Manager_var manager = Manager();
  TestSubscriberVar servant(new TestSubscriber);
  Corvanta::DDS_Sub_var subscriber = servant->_this();
  CORBA::Any text;
  text <<= "text";
  const std::string long_name(1025, 'x');
  EXPECT_THROW(manager->Publish(text, "T"), CORBA::BAD_PARAM);
  EXPECT_THROW(Publish("", 1), CORBA::BAD_PARAM);
  EXPECT_THROW(Publish(long_name, 1), CORBA::BAD_PARAM);
  EXPECT_THROW(manager->Subscribe("T", Corvanta::DDS_Sub::_nil()), CORBA::BAD_PARAM);
  EXPECT_THROW(manager->Subscribe("", subscriber), CORBA::BAD_PARAM);
  EXPECT_THROW(manager->Subscribe(long_name.c_str(), subscriber), CORBA::BAD_PARAM);
  Publish(std::string(1024, 'x'), 1);
}

TEST_F(TopicManager, AStoppedProcessDelaysNobodyAndGoesOnAfterwards) {
  std::vector<CORBA::Long> handles;
  const auto stopped = StartSubscriber("T", 30, handles);
  ASSERT_EQ(handles.size(), 30u);
  TestSubscriberVar healthy(new TestSubscriber);
  Subscribe("T", healthy.in());
  stopped->Signal(SIGSTOP);
  const auto time = TimeOf([&] {
    for (int i = 0; i < 20; ++i) Publish("T", i);
    EXPECT_TRUE(healthy->WaitForCount(20));
  });
  EXPECT_LT(time, 900ms) << "before the first time limit";
  EXPECT_TRUE(WaitUntil([&] { return StatusOf(handles[29]).stalled; })) << "the mark is shared by the process";
  stopped->Signal(SIGCONT);
  EXPECT_TRUE(WaitUntil([&] { return !StatusOf(handles[0]).stalled && StatusOf(handles[0]).queued == 0; }));
  Publish("T", 1000);
  EXPECT_TRUE(stopped->WaitForLine("sample 1000"));
}

TEST_F(TopicManager, AFullQueueDropsItsOldestSamples) {
  std::vector<CORBA::Long> handles;
  const auto stopped = StartSubscriber("T", 1, handles);
  stopped->Signal(SIGSTOP);
  Corvanta::DDS_Manager_var manager = Manager();
  for (int i = 0; i < 1200; ++i) Corvanta::CallPublish(manager, Corvanta::ViewOf(i), "T");
  const auto status = StatusOf(handles.at(0));
  EXPECT_LE(status.queued, 1000u);
  EXPECT_GE(status.dropped, 199u);
  stopped->Signal(SIGCONT);
  EXPECT_TRUE(stopped->WaitForLine("sample 1199"));
}

TEST_F(TopicManager, AKilledSubscriberIsDropped) {
  std::vector<CORBA::Long> handles;
  const auto killed = StartSubscriber("T", 2, handles);
  TestSubscriberVar healthy(new TestSubscriber);
  Subscribe("T", healthy.in());
  killed->Signal(SIGKILL);
  killed->WaitForExit();
  int value = 0;
  EXPECT_TRUE(WaitUntil([&] {
    Publish("T", value++);
    return StatusOf(handles[0]).handle == 0 && StatusOf(handles[1]).handle == 0;
  }));
  EXPECT_TRUE(healthy->WaitForCount(static_cast<std::size_t>(value)));
  EXPECT_THAT(platform_.TopicManager().Out(), HasSubstr("dropped: it cannot be reached"));
}

TEST_F(TopicManager, AStoppedProcessIsDroppedWhenItsSilenceLastsTooLong) {
  platform_.KillTopicManager();
  const auto manager = platform_.Start("topic_manager", {"--stall-limit", "100", "--silence-limit", "1"});
  ASSERT_TRUE(manager->WaitForLine("topic_manager ready"));
  std::vector<CORBA::Long> handles;
  const auto stopped = StartSubscriber("T", 3, handles);
  stopped->Signal(SIGSTOP);
  int value = 0;
  EXPECT_TRUE(WaitUntil([&] {
    Publish("T", value++);
    return StatusOf(handles[0]).handle == 0 && StatusOf(handles[1]).handle == 0 && StatusOf(handles[2]).handle == 0;
  }));
  EXPECT_THAT(manager->Out(), HasSubstr("dropped: it has not answered for too long"));
}

TEST_F(TopicManager, ASubscriberThatNoLongerExistsIsDroppedAtOnce) {
  TestSubscriberVar subscriber(new TestSubscriber);
  const auto handle = Subscribe("T", subscriber.in());
  Corvanta::ORB_base::DeactivateObject(subscriber.in());
  Publish("T", 1);
  EXPECT_TRUE(WaitUntil([&] { return StatusOf(handle).handle == 0; }, 1s));
}

TEST_F(TopicManager, SubscriptionsStandAgainAfterARestart) {
  TestSubscriberVar subscriber(new TestSubscriber);
  const auto handle = Subscribe("T", subscriber.in());
  const auto ended = Subscribe("T", subscriber.in());
  Corvanta::DDS_Manager_var(Manager())->Unsubscribe("T", ended);
  platform_.KillTopicManager();
  platform_.StartTopicManager();
  EXPECT_EQ(StatusOf(handle).handle, handle);
  Publish("T", 7);
  EXPECT_TRUE(subscriber->WaitForCount(1));
  EXPECT_THAT(subscriber->Values(), testing::ElementsAre(7));
  EXPECT_GT(Subscribe("T", subscriber.in()), ended) << "a handle is never used again";
}

TEST_F(TopicManager, ASecondManagerIsRefused) {
  const auto second = platform_.Start("topic_manager", {});
  EXPECT_EQ(second->WaitForExit(), 1);
  EXPECT_EQ(second->Error(), "topic_manager: another topic manager is registered at Lumenar/local/DDS_MANAGER/1\n");
  Publish("T", 1);
}

TEST_F(TopicManager, SigtermEndsItAlsoWhileASubscriberHangs) {
  std::vector<CORBA::Long> handles;
  const auto stopped = StartSubscriber("T", 1, handles);
  stopped->Signal(SIGSTOP);
  Publish("T", 1);
  platform_.TopicManager().Signal(SIGTERM);
  EXPECT_EQ(platform_.TopicManager().WaitForExit(), 0);
  EXPECT_EQ(platform_.TopicManager().Error(), "");
  EXPECT_THROW(Manager(), CORBA::Exception) << "its name is gone";
  stopped->Signal(SIGCONT);
}

TEST_F(TopicManager, ADamagedStateFileCostsWhatIsDamagedOnly) {
  const auto state = platform_.Directory() / "damaged";
  std::ofstream(state) << "garbage\n";
  platform_.TopicManager().Signal(SIGTERM);
  platform_.TopicManager().WaitForExit();
  const auto manager = platform_.Start("topic_manager", {"--state", state.string()});
  EXPECT_TRUE(manager->WaitForLine("topic_manager ready"));
  EXPECT_THAT(manager->Error(), HasSubstr("damaged:1: damaged"));
}

}  // namespace
}  // namespace Lumenar::Test
