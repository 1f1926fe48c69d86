// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/steady_rate.h"

#include <gtest/gtest.h>
#include <omniORB4/CORBA.h>

#include <atomic>
#include <new>
#include <stdexcept>

#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Instruments {
namespace {

using std::chrono::milliseconds;
using Test::WaitUntil;

struct DeadlineCase {
  const char* what;
  int deadline_ms, now_ms, next_ms;
};

TEST(SteadyRate, NextDeadlineIsOnTheGridAndNotInThePast) {
  const DeadlineCase cases[] = {
      {"in time", 100, 100, 110},
      {"woken early", 100, 99, 110},
      {"a little late", 100, 109, 110},
      {"late by one period", 100, 110, 120},
      {"late by many periods", 100, 1234, 1240},
  };
  for (const auto& test : cases) {
    const auto next = NextDeadline(PeriodicTask::Clock::time_point(milliseconds(test.deadline_ms)),
                                   PeriodicTask::Clock::time_point(milliseconds(test.now_ms)), milliseconds(10));
    EXPECT_EQ(next.time_since_epoch(), milliseconds(test.next_ms)) << test.what;
  }
}

TEST(SteadyRate, RunsAtOnceAndAgainUntilStopped) {
  std::atomic<int> runs{0};
  PeriodicTask task(AtSteadyRate(milliseconds(1), [&] { return ++runs > 0; }));
  EXPECT_EQ(runs, 0);
  task.Start();
  EXPECT_TRUE(WaitUntil([&] { return runs >= 3; }));
  task.Stop();
  const int stopped_at = runs;
  EXPECT_FALSE(WaitUntil([&] { return runs != stopped_at; }, milliseconds(20)));
}

TEST(SteadyRate, ALongPeriodDoesNotDelayStop) {
  std::atomic<int> runs{0};
  PeriodicTask task(AtSteadyRate(std::chrono::hours(1), [&] { return ++runs > 0; }));
  task.Start();
  ASSERT_TRUE(WaitUntil([&] { return runs == 1; }));
  const auto begin = PeriodicTask::Clock::now();
  task.Stop();
  EXPECT_LT(PeriodicTask::Clock::now() - begin, std::chrono::seconds(10));
}

TEST(SteadyRate, EndsWhenTheFunctionSaysSoOrThrows) {
  std::atomic<int> runs{0}, throws{0};
  PeriodicTask once(AtSteadyRate(milliseconds(1), [&] { return ++runs < 2; }));
  PeriodicTask thrower(
      AtSteadyRate(milliseconds(1), [&]() -> bool { throw std::runtime_error(std::to_string(++throws)); }));
  once.Start();
  thrower.Start();
  EXPECT_TRUE(WaitUntil([&] { return runs == 2 && throws == 1; }));
  EXPECT_FALSE(WaitUntil([&] { return runs != 2 || throws != 1; }, milliseconds(20)));
}

TEST(SteadyRate, WantOfMemoryCostsThatRunAloneAndIsSaidOnce) {
  testing::internal::CaptureStderr();
  std::atomic<int> runs{0};
  PeriodicTask task(AtSteadyRate(milliseconds(1), [&] {
    const int run = ++runs;
    if (run <= 2) throw std::bad_alloc();
    if (run == 3) throw CORBA::NO_MEMORY();
    return true;
  }));
  task.Start();
  EXPECT_TRUE(WaitUntil([&] { return runs >= 6; }));
  task.Stop();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "instrument: no memory for a sample; the next is tried\n");
}

TEST(SteadyRate, PeriodOfARateIsBounded) {
  EXPECT_EQ(PeriodOf(1000).count(), 1'000'000);
  EXPECT_EQ(PeriodOf(1e-300).count(), 100'000'000'000'000'000);
}

}  // namespace
}  // namespace Lumenar::Instruments
