// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/SetQueue.h"

#include <gtest/gtest.h>

#include <future>

#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Scpi {
namespace {

using namespace std::chrono_literals;
using Outcome = SetQueue::Outcome;

class SetQueueTest : public testing::Test {
 protected:
  std::future<Outcome> Ask(double number, std::chrono::milliseconds limit = 20s) {
    return std::async(std::launch::async, [this, number, limit] { return queue_.Do({3, number}, limit, [] {}); });
  }

  /// The next wish, once it is there.
  std::optional<SetQueue::Wish> Next() {
    std::optional<SetQueue::Wish> wish;
    EXPECT_TRUE(Lumenar::Test::WaitUntil([&] { return (wish = queue_.Begin()).has_value(); }));
    return wish;
  }

  SetQueue queue_;
};

TEST_F(SetQueueTest, AnOutcomeReachesWhoWaitsForIt) {
  queue_.Open();
  for (const Outcome outcome : {Outcome::Done, Outcome::Refused}) {
    auto answer = Ask(7);
    const auto wish = Next();
    ASSERT_TRUE(wish.has_value());
    EXPECT_EQ(wish->setting, 3u);
    EXPECT_EQ(wish->number, 7);
    queue_.Finish(outcome);
    EXPECT_EQ(answer.get(), outcome);
  }
}

TEST_F(SetQueueTest, ClosedItTakesNothingAndLetsWaitersGo) {
  EXPECT_EQ(Ask(1).get(), Outcome::NotConnected);
  queue_.Open();
  auto under_way = Ask(1);
  Next();
  auto waiting = Ask(2);
  queue_.Close();
  EXPECT_EQ(under_way.get(), Outcome::NotConnected);
  EXPECT_EQ(waiting.get(), Outcome::NotConnected);
}

TEST_F(SetQueueTest, WhatWasNotBegunInTimeIsNeverDone) {
  queue_.Open();
  EXPECT_EQ(Ask(1, 5ms).get(), Outcome::TooLate);
  EXPECT_FALSE(queue_.Begin().has_value());
}

}  // namespace
}  // namespace Lumenar::Scpi
