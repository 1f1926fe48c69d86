// SPDX-License-Identifier: Apache-2.0
#include "platform/base/PeriodicTask.h"

#include <gtest/gtest.h>

#include <optional>

namespace Lumenar {
namespace {

using Clock = PeriodicTask::Clock;
using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::seconds;

/// Counts steps, and waits for them.
class Steps {
 public:
  void Count() {
    Lock lock(mutex_);
    ++count_;
    changed_.NotifyAll();
  }

  int Done() {
    Lock lock(mutex_);
    return count_;
  }

  bool ReachWithin(int count, milliseconds limit) {
    Lock lock(mutex_);
    const auto end = Clock::now() + limit;
    for (auto now = Clock::now(); count_ < count && now < end; now = Clock::now()) changed_.WaitFor(mutex_, end - now);
    return count_ >= count;
  }

  bool Reach(int count) { return ReachWithin(count, seconds(10)); }

 private:
  Mutex mutex_;
  Condition changed_;
  int count_ GUARDED_BY(mutex_) = 0;
};

PeriodicTask::Step Each(Steps& steps, std::chrono::nanoseconds pause) {
  return [&steps, pause] {
    steps.Count();
    return Clock::now() + pause;
  };
}

TEST(PeriodicTask, StepsWhenTheLastStepSaidUntilStopped) {
  Steps steps;
  PeriodicTask task(Each(steps, milliseconds(1)));
  EXPECT_FALSE(steps.ReachWithin(1, milliseconds(5))) << "before Start";
  task.Start();
  EXPECT_TRUE(steps.Reach(3));
  task.Stop();
  const int stopped_at = steps.Done();
  EXPECT_FALSE(steps.ReachWithin(stopped_at + 1, milliseconds(20)));
}

TEST(PeriodicTask, BeginsAfterThePauseOfItsStart) {
  Steps steps;
  const auto begin = Clock::now();
  PeriodicTask task(Each(steps, hours(1)));
  task.Start(milliseconds(20));
  ASSERT_TRUE(steps.Reach(1));
  EXPECT_GE(Clock::now() - begin, milliseconds(20));
}

TEST(PeriodicTask, IsWokenOutOfItsPause) {
  Steps steps;
  PeriodicTask task(Each(steps, hours(1)));
  task.Start(hours(1));
  task.Wake();
  ASSERT_TRUE(steps.Reach(1));
  task.Wake();
  EXPECT_TRUE(steps.Reach(2));
}

TEST(PeriodicTask, WokenInAStepMakesAnother) {
  Steps steps;
  PeriodicTask* self = nullptr;
  PeriodicTask task([&] {
    steps.Count();
    if (steps.Done() == 1) self->Wake();
    return Clock::now() + hours(1);
  });
  self = &task;
  task.Start();
  EXPECT_TRUE(steps.Reach(2));
  EXPECT_FALSE(steps.ReachWithin(3, milliseconds(20)));
}

TEST(PeriodicTask, ALongPauseDoesNotDelayStop) {
  Steps steps;
  PeriodicTask task(Each(steps, hours(1)));
  task.Start();
  ASSERT_TRUE(steps.Reach(1));
  const auto begin = Clock::now();
  task.Stop();
  EXPECT_LT(Clock::now() - begin, seconds(10));
}

TEST(PeriodicTask, StopWaitsForTheStepThatRuns) {
  Steps begun, ended;
  {
    PeriodicTask task([&] {
      begun.Count();
      ended.ReachWithin(1, milliseconds(20));  // long enough for Stop to find it running
      ended.Count();
      return Clock::now() + hours(1);
    });
    task.Start();
    ASSERT_TRUE(begun.Reach(1));
  }
  EXPECT_EQ(ended.Done(), 1);
}

TEST(PeriodicTask, EndsWhenAStepSaysSo) {
  Steps steps;
  PeriodicTask task([&]() -> std::optional<Clock::time_point> {
    steps.Count();
    if (steps.Done() == 2) return std::nullopt;
    return Clock::now();
  });
  task.Start();
  ASSERT_TRUE(steps.Reach(2));
  task.Wake();
  EXPECT_FALSE(steps.ReachWithin(3, milliseconds(20)));
}

TEST(PeriodicTask, DoesNotStartAfterStop) {
  Steps steps;
  PeriodicTask task(Each(steps, milliseconds(1)));
  task.Stop();
  task.Start();
  EXPECT_FALSE(steps.ReachWithin(1, milliseconds(20)));
}

}  // namespace
}  // namespace Lumenar
