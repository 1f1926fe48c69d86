// SPDX-License-Identifier: Apache-2.0
#include "instruments/probe/WakeupTimer.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Probe {
namespace {

using Test::WaitUntil;

TEST(WakeupTimer, ASecondStartDoesNothing) {
  WakeupHistory history(kTimerPeriod_ns);
  WakeupTimer timer(history);
  timer.Start();
  timer.Start();
  EXPECT_TRUE(WaitUntil([&] { return !history.Measured_us().empty(); }));
}

TEST(WakeupTimer, MayBeStoppedBesideItsStart) {
  constexpr int kRounds = 200;
  for (int round = 0; round < kRounds; ++round) {
    WakeupHistory history(kTimerPeriod_ns);
    WakeupTimer timer(history);
    std::thread stopping([&] { timer.Stop(); });
    timer.Start();
    stopping.join();
    timer.Start();
    timer.Stop();
    EXPECT_LT(history.Measured_us().size(), WakeupHistory::kPeriods) << "it has ended long before";
  }
}

}  // namespace
}  // namespace Lumenar::Probe
