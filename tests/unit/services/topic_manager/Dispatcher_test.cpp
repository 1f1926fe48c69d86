// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/Dispatcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>

#include "RecordingSubscriber.h"
#include "platform/base/TraceMemory.h"
#include "tests/support/IsolatedPlatform.h"
#include "tests/support/ProcessFigures.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
extern "C" std::size_t
__sanitizer_get_current_allocated_bytes();  // of the sanitizer's library; g++ has no header for it
#endif

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;

TEST(Dispatcher, DeliversAllInOrderToEach) {
  Dispatcher dispatcher(QuickLimits(), kIgnore);
  std::vector<RecorderPtr> recorders;
  for (long handle = 1; handle <= 8; ++handle) {
    recorders.push_back(RecorderPtr(new Recorder));
    dispatcher.Add(handle, "T", "host:1", recorders.back());
  }
  std::vector<int> expected;
  for (int i = 0; i < 500; ++i) {
    dispatcher.Publish("T", LongSample(i));
    expected.push_back(i);
  }
  for (const RecorderPtr& recorder : recorders) {
    ASSERT_TRUE(recorder->WaitForCount(500));
    EXPECT_EQ(recorder->Values(), expected);
  }
}

/// Accepts calls and does not answer them, from `hangs` on, until the gate opens. A look has its time limit.
class Mute : public Subscriber {
 public:
  Mute(Gate& gate, const std::atomic<bool>& hangs) : gate_(gate), hangs_(hangs) {}
  Outcome Deliver(const Corvanta::SampleRecord&) override {
    if (!hangs_) return Outcome::Delivered;
    gate_.Pass();
    return Outcome::TimedOut;
  }
  Outcome Look(std::chrono::milliseconds limit) override {
    if (!hangs_) return Outcome::Delivered;
    gate_.Pass(limit);
    return Outcome::TimedOut;
  }

 private:
  Gate& gate_;
  const std::atomic<bool>& hangs_;
};

/// Hundreds of processes with one subscriber each of "T", which hangs while `hang_` says so, and a good process.
class DispatcherAmongMute : public testing::Test {
 protected:
  ~DispatcherAmongMute() override { gate_.Open(); }

  void AddMute() {
    for (long handle = 1; handle <= 900; ++handle)
      dispatcher_.Add(handle, "T", "mute:" + std::to_string(handle),
                      boost::shared_ptr<Subscriber>(new Mute(gate_, hang_)));
  }
  void AddGood(long handle, const std::string& topic) { dispatcher_.Add(handle, topic, "good:1", good_); }

  Gate gate_;
  std::atomic<bool> hang_{true};
  const RecorderPtr good_{new Recorder};
  Dispatcher dispatcher_{QuickLimits(), kIgnore};
};

TEST_F(DispatcherAmongMute, ThoseThatNeverAnswerLeaveTheWorkersToTheOthers) {
  AddMute();
  AddGood(1000, "GOOD");
  dispatcher_.Publish("GOOD", LongSample(0));
  ASSERT_TRUE(good_->WaitForCount(1));
  AddGood(1001, "T");
  for (int i = 1; i <= 500; ++i) dispatcher_.Publish("T", LongSample(i));
  EXPECT_TRUE(good_->WaitForCount(501));
  EXPECT_LT(dispatcher_.WorkerCount(), 64u);
}

TEST_F(DispatcherAmongMute, ANewSubscriberIsServedSoon) {
  AddMute();
  AddGood(1000, "T");
  dispatcher_.Publish("T", LongSample(0));
  EXPECT_TRUE(good_->WaitForCount(1));
}

/// All have answered a moment ago, and a call of theirs takes longer than the test.
TEST_F(DispatcherAmongMute, ThoseThatHangAtOnceLeaveWorkersToTheOthers) {
  hang_ = false;
  AddMute();
  AddGood(1000, "T");
  dispatcher_.Publish("T", LongSample(0));
  ASSERT_TRUE(WaitUntil([&] {
    const auto all = dispatcher_.Subscriptions();
    return std::all_of(all.begin(), all.end(), [](const auto& status) { return status.delivered == 1; });
  }));
  hang_ = true;
  for (int i = 1; i <= 100; ++i) dispatcher_.Publish("T", LongSample(i));
  EXPECT_TRUE(good_->WaitForCount(101));
}

TEST(Dispatcher, HungSubscribersDelayNobodyElse) {
  Gate gate;
  const RecorderPtr healthy(new Recorder);
  std::vector<RecorderPtr> hung;
  Dispatcher dispatcher(QuickLimits(), kIgnore);
  for (long handle = 1; handle <= 20; ++handle) {
    hung.push_back(RecorderPtr(new Recorder(&gate)));
    dispatcher.Add(handle, "T", "hung:" + std::to_string(handle), hung.back());
  }
  dispatcher.Add(100, "T", "healthy:1", healthy);
  for (int i = 0; i < 10; ++i) dispatcher.Publish("T", LongSample(i));
  EXPECT_TRUE(healthy->WaitForCount(10));
  EXPECT_TRUE(WaitUntil([&] { return dispatcher.WorkerCount() > 20; })) << "a worker for each that hangs";
  EXPECT_FALSE(WaitUntil([&] { return dispatcher.WorkerCount() <= 20; }, 10 * QuickLimits().idle_limit))
      << "and at rest, some for the others";
  gate.Open();
  for (const RecorderPtr& recorder : hung) EXPECT_TRUE(recorder->WaitForCount(10));
  EXPECT_TRUE(WaitUntil([&] { return dispatcher.WorkerCount() <= QuickLimits().workers; })) << "idle workers end";
}

TEST(Dispatcher, AHungProcessTakesFewWorkers) {
  Gate gate;
  std::vector<RecorderPtr> hung;
  Dispatcher dispatcher(QuickLimits(), kIgnore);
  for (long handle = 1; handle <= 100; ++handle) {
    hung.push_back(RecorderPtr(new Recorder(&gate)));
    dispatcher.Add(handle, "T", "hung:1", hung.back());
  }
  dispatcher.Publish("T", LongSample(1));
  const RecorderPtr healthy(new Recorder);
  dispatcher.Add(101, "T", "healthy:1", healthy);
  dispatcher.Publish("T", LongSample(2));
  EXPECT_TRUE(healthy->WaitForCount(1));
  EXPECT_LT(dispatcher.WorkerCount(), 16u);
  gate.Open();
  for (const RecorderPtr& recorder : hung) EXPECT_TRUE(recorder->WaitForCount(2));
}

TEST(Dispatcher, RemoveNeverWaitsAndNothingBeginsAfterIt) {
  Gate gate;
  const RecorderPtr hung(new Recorder(&gate));
  Dispatcher dispatcher(QuickLimits(), kIgnore);
  dispatcher.Add(1, "T", "host:1", hung);
  for (int i = 0; i < 5; ++i) dispatcher.Publish("T", LongSample(i));
  ASSERT_TRUE(WaitUntil([&] { return hung->Begun() == 1; }));
  EXPECT_FALSE(dispatcher.Remove(1, "another topic"));
  EXPECT_TRUE(dispatcher.Remove(1, "T"));
  EXPECT_FALSE(dispatcher.Remove(1, "T"));
  dispatcher.Publish("T", LongSample(9));
  gate.Open();
  EXPECT_TRUE(hung->WaitForCount(1));
  EXPECT_TRUE(dispatcher.Stop(10s));
  EXPECT_EQ(hung->Begun(), 1);
}

TEST(Dispatcher, AFullQueueDropsTheOldestAndCounts) {
  Gate gate;
  const RecorderPtr slow(new Recorder(&gate));
  Dispatcher::Limits limits = QuickLimits();
  limits.schedule.queue.samples = 3;
  Dispatcher dispatcher(limits, kIgnore);
  dispatcher.Add(1, "T", "host:1", slow);
  dispatcher.Publish("T", LongSample(0));
  ASSERT_TRUE(WaitUntil([&] { return slow->Begun() == 1; }));
  for (int i = 1; i <= 10; ++i) dispatcher.Publish("T", LongSample(i));
  const auto status = dispatcher.Subscriptions().at(0);
  EXPECT_EQ(status.queued, 3u);
  EXPECT_EQ(status.dropped, 7u);
  gate.Open();
  EXPECT_TRUE(slow->WaitForCount(4));
  EXPECT_THAT(slow->Values(), testing::ElementsAre(0, 8, 9, 10));
}

class Failing : public Subscriber {
 public:
  explicit Failing(Outcome outcome) : outcome_(outcome) {}
  Outcome Deliver(const Corvanta::SampleRecord&) override { return outcome_; }

 private:
  const Outcome outcome_;
};

TEST(Dispatcher, SaysWhomItDropped) {
  std::atomic<long> dropped{0};
  Dispatcher::Limits limits = QuickLimits();
  limits.schedule.unreachable_limit = 150ms;
  Dispatcher dispatcher(limits, [&](long handle, const std::string& topic, const std::string& address, Outcome) {
    EXPECT_EQ(topic, "T");
    EXPECT_EQ(address, "host:1");
    dropped += handle;
  });
  dispatcher.Add(1, "T", "host:1", boost::shared_ptr<Subscriber>(new Failing(Outcome::Gone)));
  dispatcher.Add(20, "T", "host:1", boost::shared_ptr<Subscriber>(new Failing(Outcome::Unreachable)));
  dispatcher.Publish("T", LongSample(1));
  EXPECT_TRUE(WaitUntil([&] { return dropped == 21; }));
  EXPECT_THAT(dispatcher.Subscriptions(), testing::IsEmpty());
}

class Throwing : public Subscriber {
 public:
  Outcome Deliver(const Corvanta::SampleRecord&) override {
    ++calls;
    throw std::runtime_error("its own affair");
  }
  std::atomic<int> calls{0};
};

TEST(Dispatcher, AnExceptionCountsAsDelivered) {
  const boost::shared_ptr<Throwing> subscriber(new Throwing);
  Dispatcher dispatcher(QuickLimits(), kIgnore);
  dispatcher.Add(1, "T", "host:1", subscriber);
  for (int i = 0; i < 3; ++i) dispatcher.Publish("T", LongSample(i));
  EXPECT_TRUE(WaitUntil([&] { return dispatcher.Subscriptions().at(0).delivered == 3; }));
  EXPECT_EQ(subscriber->calls, 3);
}

TEST(Dispatcher, StopTellsOfDeliveriesUnderWay) {
  Gate gate;
  const RecorderPtr hung(new Recorder(&gate));
  Dispatcher dispatcher(QuickLimits(), kIgnore);
  dispatcher.Add(1, "T", "host:1", hung);
  dispatcher.Publish("T", LongSample(1));
  ASSERT_TRUE(WaitUntil([&] { return hung->Begun() == 1; }));
  EXPECT_FALSE(dispatcher.Stop(10ms));
  gate.Open();
  EXPECT_TRUE(dispatcher.Stop(10s));
}

#ifdef __GLIBC__
/// The memory that this process holds: as the system counts it, or, where a sanitizer's allocator keeps freed memory to
/// itself, as that allocator counts what is in use.
long HeldBytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return static_cast<long>(__sanitizer_get_current_allocated_bytes());
#else
  return 1024 * ResidentMemory_kB(::getpid());
#endif
}

/// A sample of a mebibyte, each page of which is in use.
SamplePtr Mebibyte() {
  Corvanta::BASIC_TRACE::BT_DATA trace{};
  trace.samples.length(1u << 18);
  for (CORBA::ULong i = 0; i < trace.samples.length(); ++i) trace.samples[i] = 1;
  return SamplePtr(new Corvanta::SampleRecord(std::move(trace)));
}

/// One that is gone once the gate opens.
class Leaving : public Subscriber {
 public:
  explicit Leaving(Gate& gate) : gate_(gate) {}
  Outcome Deliver(const Corvanta::SampleRecord&) override {
    gate_.Pass();
    return Outcome::Gone;
  }

 private:
  Gate& gate_;
};

TEST(Dispatcher, TheMemoryOfADroppedSubscriberGoesBackToTheSystem) {
  KeepTraceMemory();
  Dispatcher::Limits limits = QuickLimits();
  limits.give_back_pause = 100ms;
  Gate gate;
  Dispatcher dispatcher(limits, kIgnore);
  dispatcher.Add(1, "T", "there:1", boost::shared_ptr<Subscriber>(new Leaving(gate)));
  GiveBackMemory();  // what earlier tests left
  const long before = HeldBytes();
  constexpr long kQueue = 40;
  for (long i = 0; i < kQueue; ++i) dispatcher.Publish("T", Mebibyte());
  const SamplePtr above = Mebibyte();  // at the end of the heap: what is below is not given back as a matter of course
  EXPECT_GT(HeldBytes() - before, kQueue << 20);
  gate.Open();
  long handle = 1;
  EXPECT_TRUE(WaitUntil([&] {  // also while one after the other is dropped
    dispatcher.Add(++handle, "GOES", "there:1", boost::shared_ptr<Subscriber>(new Failing(Outcome::Gone)));
    dispatcher.Publish("GOES", LongSample(1));
    return HeldBytes() - before < (kQueue << 20) / 4;
  })) << HeldBytes() - before;
}
#endif

}  // namespace
}  // namespace Lumenar::Test
