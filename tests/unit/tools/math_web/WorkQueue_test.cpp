// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/WorkQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "tools/math_web/RateLimit.h"

namespace Lumenar::Web {
namespace {

using std::chrono::milliseconds;

TEST(WorkQueue, DoesJobsInTheirOrder) {
  std::vector<int> done;
  std::promise<void> end;
  WorkQueue queue(1, 10);
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(queue.Add([&done, i] { done.push_back(i); }));
  EXPECT_TRUE(queue.Add([&end] { end.set_value(); }));
  ASSERT_EQ(end.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
  EXPECT_EQ(done, (std::vector{0, 1, 2, 3, 4}));
}

TEST(WorkQueue, RefusesWhatHasNoRoom) {
  std::promise<void> begun, go;
  auto may_go = go.get_future().share();
  WorkQueue queue(1, 2);
  queue.Add([&begun, may_go] {
    begun.set_value();
    may_go.wait();
  });
  begun.get_future().wait();
  EXPECT_TRUE(queue.Add([] {}));
  EXPECT_TRUE(queue.Add([] {}));
  EXPECT_FALSE(queue.Add([] {}));
  EXPECT_EQ(queue.Waiting(), 2u);
  go.set_value();
}

TEST(WorkQueue, StopWaitsForWhatRunsAndForgetsTheRest) {
  std::atomic<int> done{0};
  std::promise<void> begun;
  WorkQueue queue(1, 10);
  queue.Add([&] {
    begun.set_value();
    while (queue.Add([] {})) {  // until it is stopped, or full
    }
    ++done;
  });
  begun.get_future().wait();
  queue.Stop();
  EXPECT_EQ(done, 1);
  EXPECT_FALSE(queue.Add([] {}));
  queue.Stop();
}

TEST(RateLimit, LetsSomeThroughAtOnceAndThenSoManyASecond) {
  RateLimit limit(10, 3);
  RateLimit::Clock::time_point now{std::chrono::hours(1)};
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(limit.Take(now));
  EXPECT_FALSE(limit.Take(now));
  EXPECT_FALSE(limit.Take(now + milliseconds(99)));
  EXPECT_TRUE(limit.Take(now + milliseconds(101)));
  EXPECT_FALSE(limit.Take(now + milliseconds(102)));
}

TEST(RateLimit, APauseGathersNoMoreThanTheMost) {
  RateLimit limit(10, 3);
  const RateLimit::Clock::time_point later{std::chrono::hours(100)};
  int passed = 0;
  while (limit.Take(later)) ++passed;
  EXPECT_EQ(passed, 3);
}

}  // namespace
}  // namespace Lumenar::Web
