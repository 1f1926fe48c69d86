// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/LargeAnswer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <thread>

namespace Corvanta {
namespace {

std::uint64_t TakenByAll() { return SendBudget::OfProcess().Taken(); }

TEST(LargeAnswer, CountsFromItsAnnouncementToItsEnd) {
  const std::uint64_t before = TakenByAll();
  LargeAnswer::Announce(LargeAnswer::kSmall);
  EXPECT_EQ(TakenByAll(), before + LargeAnswer::kSmall);
  LargeAnswer::Announce(3 * LargeAnswer::kSmall);
  EXPECT_EQ(TakenByAll(), before + 3 * LargeAnswer::kSmall) << "a thread builds one answer at a time";
  LargeAnswer::End();
  EXPECT_EQ(TakenByAll(), before);
  LargeAnswer::End();
  EXPECT_EQ(TakenByAll(), before) << "once";
  EXPECT_FALSE(LargeAnswer::WasRefused());
}

TEST(LargeAnswer, ASmallOneDoesNotCount) {
  const std::uint64_t before = TakenByAll();
  LargeAnswer::Announce(LargeAnswer::kSmall - 1);
  EXPECT_EQ(TakenByAll(), before);
}

TEST(LargeAnswer, AThreadThatEndsGivesBackWhatItHas) {
  const std::uint64_t before = TakenByAll();
  std::thread([&] {
    LargeAnswer::Announce(LargeAnswer::kSmall);
    EXPECT_EQ(TakenByAll(), before + LargeAnswer::kSmall);
  }).join();
  EXPECT_EQ(TakenByAll(), before);
}

}  // namespace
}  // namespace Corvanta
