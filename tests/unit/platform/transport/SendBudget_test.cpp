// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/SendBudget.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace Corvanta {
namespace {

using namespace std::chrono_literals;
using Account = SendBudget::Account;

struct Sender final : WaitingSender {
  void GiveUp() noexcept override { gave_up = true; }
  bool gave_up = false;
};

TEST(SendBudget, WhatFitsIsTakenAndReturned) {
  SendBudget budget(100);
  Account one, other;
  EXPECT_TRUE(budget.Take(one, 60, 0ms));
  EXPECT_TRUE(budget.Take(other, 40, 0ms));
  EXPECT_EQ(budget.Taken(), 100u);
  budget.Return(one);
  budget.Return(one);
  EXPECT_EQ(budget.Taken(), 40u);
  EXPECT_TRUE(budget.Take(other, 100, 0ms)) << "instead of what it had";
  EXPECT_EQ(budget.Taken(), 100u);
}

TEST(SendBudget, WhatDoesNotFitInTimeIsRefused) {
  SendBudget budget(100);
  Account one, other;
  EXPECT_TRUE(budget.Take(one, 60, 0ms));
  EXPECT_FALSE(budget.Take(other, 41, 5ms));
  EXPECT_EQ(budget.Taken(), 60u);
}

TEST(SendBudget, AnAnswerBeyondTheLimitIsBuiltAlone) {
  SendBudget budget(100);
  Account one, other;
  EXPECT_TRUE(budget.Take(one, 1000, 0ms));
  EXPECT_FALSE(budget.Take(other, 1, 1ms));
  budget.Return(one);
  EXPECT_TRUE(budget.Take(other, 1, 0ms));
}

TEST(SendBudget, TheLongestWaitingPeersAreGivenUp) {
  SendBudget budget(100);
  Sender senders[3];
  Account accounts[3], further;
  for (Account& account : accounts) ASSERT_TRUE(budget.Take(account, 30, 0ms));
  {
    SendBudget::Wait first(budget, senders[0], accounts[0], 10), second(budget, senders[1], accounts[1], 10);
    const SendBudget::Wait again(budget, senders[2], accounts[2], 10);
    auto taken = std::async(std::launch::async, [&] { return budget.Take(further, 50, 10s); });
    ASSERT_EQ(taken.wait_for(20ms), std::future_status::timeout) << "their memory is not back yet";
    EXPECT_TRUE(first.IsGivenUp());
    EXPECT_TRUE(second.IsGivenUp());
    EXPECT_FALSE(senders[2].gave_up);
    budget.Return(accounts[0]);
    budget.Return(accounts[1]);
    EXPECT_TRUE(taken.get());
  }
  EXPECT_EQ(budget.Taken(), 80u);
}

TEST(SendBudget, WhoWaitedAgainAfterProgressIsYounger) {
  SendBudget budget(100);
  Sender stuck, slow;
  Account stuck_account, slow_account, further;
  ASSERT_TRUE(budget.Take(stuck_account, 50, 0ms));
  ASSERT_TRUE(budget.Take(slow_account, 50, 0ms));
  { const SendBudget::Wait before(budget, slow, slow_account, 50); }
  const SendBudget::Wait waits(budget, stuck, stuck_account, 50), again(budget, slow, slow_account, 20);
  EXPECT_FALSE(budget.Take(further, 1, 1ms));
  EXPECT_TRUE(stuck.gave_up);
  EXPECT_FALSE(slow.gave_up);
}

TEST(SendBudget, WhoTookSomethingAMomentAgoIsNotGivenUp) {
  SendBudget budget(100, 200ms);
  Sender slow;
  Account account, further;
  ASSERT_TRUE(budget.Take(account, 100, 0ms));
  const auto began = std::chrono::steady_clock::now();
  const SendBudget::Wait waits(budget, slow, account, 100);
  auto taken = std::async(std::launch::async, [&] { return budget.Take(further, 1, 10s); });
  while (!waits.IsGivenUp() && std::chrono::steady_clock::now() - began < 10s) std::this_thread::yield();
  EXPECT_GE(std::chrono::steady_clock::now() - began, 200ms);
  EXPECT_TRUE(slow.gave_up) << "it takes nothing for longer than a reader";
  budget.Return(account);
  EXPECT_TRUE(taken.get());
}

TEST(SendBudget, AnAnswerThatNobodyAnnouncedCountsWhileItWaits) {
  SendBudget budget(100);
  Sender announced, other;
  Account account, unannounced;
  ASSERT_TRUE(budget.Take(account, 60, 0ms));
  const SendBudget::Wait waits(budget, announced, account, 60);
  {
    const SendBudget::Wait further(budget, other, unannounced, 70);
    EXPECT_EQ(budget.Taken(), 130u);
    EXPECT_TRUE(announced.gave_up);
    EXPECT_FALSE(other.gave_up) << "the one that has just begun to wait";
  }
  budget.Return(unannounced);
  EXPECT_EQ(budget.Taken(), 60u);
}

}  // namespace
}  // namespace Corvanta
