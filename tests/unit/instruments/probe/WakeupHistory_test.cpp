// SPDX-License-Identifier: Apache-2.0
#include "instruments/probe/WakeupHistory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "instruments/probe/WakeupTimer.h"

namespace Lumenar::Probe {
namespace {

using testing::Each;
using testing::ElementsAre;

constexpr std::int64_t kMillisecond = 1'000'000;

std::vector<float> Last(const WakeupHistory& history, std::size_t count) {
  const std::vector<float> all = history.Lateness_us();
  return {all.end() - static_cast<std::ptrdiff_t>(count), all.end()};
}

TEST(WakeupHistory, BeginsWithZeros) {
  const std::vector<float> lateness = WakeupHistory(kMillisecond).Lateness_us();
  EXPECT_EQ(lateness.size(), 1001u);
  EXPECT_THAT(lateness, Each(0.0f));
}

TEST(WakeupHistory, KeepsTheOrderAndTheLast1001) {
  WakeupHistory history(kMillisecond);
  std::int64_t deadline = kMillisecond;
  for (int i = 1; i <= 1500; ++i) deadline = history.WokeUp(deadline, deadline + i * 100);
  const std::vector<float> lateness = history.Lateness_us();
  EXPECT_FLOAT_EQ(lateness.front(), 50.0f) << "wake-up 500 of 1500";
  EXPECT_FLOAT_EQ(lateness.back(), 150.0f);
}

TEST(WakeupHistory, TellsHowManyItHasMeasured) {
  WakeupHistory history(kMillisecond);
  EXPECT_TRUE(history.Measured_us().empty());
  std::int64_t deadline = kMillisecond;
  for (int i = 1; i <= 2; ++i) deadline = history.WokeUp(deadline, deadline + i * 1000);
  EXPECT_THAT(history.Measured_us(), ElementsAre(1, 2));
  for (int i = 0; i < 2000; ++i) deadline = history.WokeUp(deadline, deadline);
  EXPECT_EQ(history.Measured_us().size(), WakeupHistory::kPeriods);
}

TEST(WakeupHistory, AStallCountsForEveryPeriodThatItCovered) {
  WakeupHistory history(kMillisecond);
  EXPECT_EQ(history.WokeUp(10 * kMillisecond, 13'250'000), 14 * kMillisecond);
  EXPECT_THAT(Last(history, 5), ElementsAre(0, 3250, 2250, 1250, 250));
}

TEST(WakeupHistory, ExactlyOneLaterDeadlineIsCovered) {
  WakeupHistory history(kMillisecond);
  EXPECT_EQ(history.WokeUp(10 * kMillisecond, 11 * kMillisecond), 12 * kMillisecond);
  EXPECT_THAT(Last(history, 3), ElementsAre(0, 1000, 0));
}

TEST(WakeupHistory, AnEarlyWakeUpIsNegative) {
  WakeupHistory history(kMillisecond);
  EXPECT_EQ(history.WokeUp(10 * kMillisecond, 9'999'500), 11 * kMillisecond);
  EXPECT_THAT(Last(history, 2), ElementsAre(0, -0.5f));
}

TEST(SpreadOf, CountsEachMicrosecondInPercent) {
  const std::vector<float> spread = SpreadOf(std::vector<float>{-3, 0.9f, 1, 1.99f, 999.9f, 1000, 5000, 7});
  ASSERT_EQ(spread.size(), WakeupHistory::kPeriods);
  EXPECT_EQ(spread[0], 25);
  EXPECT_EQ(spread[1], 25);
  EXPECT_EQ(spread[7], 12.5f);
  EXPECT_EQ(spread[999], 12.5f);
  EXPECT_EQ(spread[1000], 25) << "the last point holds all that came later";
  EXPECT_EQ(std::accumulate(spread.begin(), spread.end(), 0.0f), 100);
  EXPECT_THAT(SpreadOf({}), Each(0.0f));
}

// Point by point this would take hours.
TEST(WakeupHistory, YearsAwayAreBoundedWork) {
  WakeupHistory history(kMillisecond);
  const std::int64_t years = 3'000'000'000'000 * kMillisecond;
  EXPECT_EQ(history.WokeUp(kMillisecond, kMillisecond + years), 2 * kMillisecond + years);
  const std::vector<float> lateness = history.Lateness_us();
  EXPECT_EQ(lateness.front(), 1'000'000.0f);
  EXPECT_EQ(lateness.back(), 0.0f);
}

TEST(LevelsOf, TenTimesTheLogarithmAndAFloor) {
  const std::vector<float> levels = LevelsOf(std::vector<float>{1, 10, 1000, 0.001f, 0, -5});
  EXPECT_THAT(levels, ElementsAre(0, 10, 30, -30, -30, -30));
}

/// A clock that wakes sleepers as late as a list says, then asks for the end.
class ScriptedClock : public MonotonicClock {
 public:
  ScriptedClock(std::vector<std::int64_t> lateness_ns, std::atomic<bool>& stop)
      : lateness_ns_(std::move(lateness_ns)), stop_(stop) {}

  std::int64_t Now_ns() override { return now_ns_; }

  void SleepUntil(std::int64_t deadline_ns) override {
    deadlines_ns.push_back(deadline_ns);
    now_ns_ = deadline_ns + lateness_ns_.at(next_++);
    stop_ = next_ == lateness_ns_.size();
  }

  std::vector<std::int64_t> deadlines_ns;

 private:
  const std::vector<std::int64_t> lateness_ns_;
  std::atomic<bool>& stop_;
  std::size_t next_ = 0;
  std::int64_t now_ns_ = 5 * kMillisecond;
};

TEST(MeasureWakeups, LatenessDoesNotAddUpOverPeriods) {
  std::atomic<bool> stop{false};
  ScriptedClock clock({10'000, 2'500'000, 20'000, 0}, stop);
  WakeupHistory history(kTimerPeriod_ns);
  MeasureWakeups(clock, history, stop);
  EXPECT_THAT(clock.deadlines_ns,
              ElementsAre(6 * kMillisecond, 7 * kMillisecond, 10 * kMillisecond, 11 * kMillisecond));
  EXPECT_THAT(Last(history, 7), ElementsAre(0, 10, 2500, 1500, 500, 20, 0));
}

TEST(WakeupTimer, MeasuresThisMachine) {
  SystemClock clock;
  WakeupHistory history(kTimerPeriod_ns);
  std::atomic<bool> stop{true};
  MeasureWakeups(clock, history, stop);
  EXPECT_THAT(history.Lateness_us(), Each(0.0f)) << "stopped before the first sleep";
  const std::int64_t deadline_ns = clock.Now_ns() + 2 * kTimerPeriod_ns;
  clock.SleepUntil(deadline_ns);
  EXPECT_GE(clock.Now_ns(), deadline_ns);
}

}  // namespace
}  // namespace Lumenar::Probe
