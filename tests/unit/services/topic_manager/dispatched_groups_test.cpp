// SPDX-License-Identifier: Apache-2.0
// Several subscriptions of a process, delivered to in one call.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "RecordingSubscriber.h"
#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;

/// A process whose subscribers take their samples in one call; the first one's is a slow one, so that the others' pile
/// up meanwhile.
class GroupProcess {
 public:
  class Member : public Subscriber {
   public:
    explicit Member(GroupProcess& process) : process_(process) {}
    bool TakesGroups() const override { return true; }
    Outcome Deliver(const Corvanta::SampleRecord& sample) override {
      ++process_.singles;
      if (ValueOf(sample) == kFirst) process_.gate.Pass();
      return Outcome::Delivered;
    }
    Outcome DeliverGroup(const std::vector<Shared>& samples, std::set<long>& not_taken) override {
      return process_.Take(samples, not_taken);
    }

   private:
    GroupProcess& process_;
  };

  static constexpr int kFirst = -1;

  Outcome Take(const std::vector<Subscriber::Shared>& samples, std::set<long>& not_taken) {
    ++groups;
    Lock lock(mutex_);
    for (const Subscriber::Shared& shared : samples)
      for (const long handle : shared.handles) {
        if (handle == refuses) {
          not_taken.insert(handle);
        } else {
          taken_[handle].push_back(ValueOf(*shared.sample));
        }
      }
    return outcome;
  }
  std::map<long, std::vector<int>> Taken() const {
    Lock lock(mutex_);
    return taken_;
  }

  Gate gate;
  long refuses = 0;
  Outcome outcome = Outcome::Delivered;
  std::atomic<int> groups{0};
  std::atomic<int> singles{0};

 private:
  mutable Mutex mutex_;
  std::map<long, std::vector<int>> taken_ GUARDED_BY(mutex_);
};

/// One worker, held up by the first sample, then finds four subscriptions of a process ready.
class GroupDispatch : public testing::Test {
 protected:
  void Run() {
    Dispatcher::Limits limits = QuickLimits();
    limits.workers = limits.max_workers = 1;
    dispatcher_.emplace(limits, [this](long handle, auto&&...) {
      Lock lock(mutex_);
      dropped_.push_back(handle);
    });
    dispatcher_->Add(100, "FIRST", "host:1", boost::shared_ptr<Subscriber>(new GroupProcess::Member(process_)));
    dispatcher_->Publish("FIRST", LongSample(GroupProcess::kFirst));
    ASSERT_TRUE(WaitUntil([&] { return process_.singles == 1; }));
    for (long handle = 1; handle <= 4; ++handle)
      dispatcher_->Add(handle, handle <= 3 ? "T" : "U", "host:1",
                       boost::shared_ptr<Subscriber>(new GroupProcess::Member(process_)));
    dispatcher_->Publish("T", LongSample(5));
    dispatcher_->Publish("U", LongSample(6));
    process_.gate.Open();
  }
  std::uint64_t Delivered() {
    std::uint64_t all = 0;
    for (const auto& status : dispatcher_->Subscriptions()) all += status.delivered;
    return all;
  }
  std::vector<long> Dropped() {
    Lock lock(mutex_);
    return dropped_;
  }

  GroupProcess process_;
  Mutex mutex_;
  std::vector<long> dropped_ GUARDED_BY(mutex_);
  std::optional<Dispatcher> dispatcher_;
};

TEST_F(GroupDispatch, OneCallServesAllThatAreReady) {
  Run();
  EXPECT_TRUE(WaitUntil([&] { return Delivered() == 5; }));
  EXPECT_EQ(process_.groups, 1);
  EXPECT_EQ(process_.singles, 1);
  const std::map<long, std::vector<int>> expected{{1, {5}}, {2, {5}}, {3, {5}}, {4, {6}}};
  EXPECT_EQ(process_.Taken(), expected);
}

TEST_F(GroupDispatch, WhoDidNotTakeItsSampleGetsACallOfItsOwn) {
  process_.refuses = 2;
  Run();
  EXPECT_TRUE(WaitUntil([&] { return Delivered() == 5; }));
  EXPECT_EQ(process_.groups, 1);
  EXPECT_EQ(process_.singles, 2);
}

TEST_F(GroupDispatch, ThatTheOneCalledIsGoneSaysNothingOfTheOthers) {
  process_.outcome = Outcome::Gone;
  Run();
  EXPECT_TRUE(WaitUntil([&] { return Delivered() == 4; })) << "the first, and three by calls of their own";
  EXPECT_THAT(Dropped(), testing::ElementsAre(1));
  EXPECT_EQ(process_.singles, 4);
}

}  // namespace
}  // namespace Lumenar::Test
