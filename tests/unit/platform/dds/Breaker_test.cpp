// SPDX-License-Identifier: Apache-2.0
#include "platform/dds/Breaker.h"

#include <gtest/gtest.h>

namespace Corvanta {
namespace {

using namespace std::chrono_literals;

const Breaker::Time kStart{1000s};

TEST(Breaker, AllowsATryEach250Milliseconds) {
  Breaker breaker;
  breaker.WentAway(kStart, false);
  EXPECT_FALSE(breaker.BeginTry(kStart + 249ms));
  EXPECT_TRUE(breaker.BeginTry(kStart + 250ms));
  breaker.Failed(kStart + 250ms);
  EXPECT_FALSE(breaker.BeginTry(kStart + 499ms));
  EXPECT_TRUE(breaker.BeginTry(kStart + 500ms));
}

TEST(Breaker, OneTryAtATime) {
  Breaker breaker;
  EXPECT_TRUE(breaker.BeginTry(kStart));
  EXPECT_FALSE(breaker.BeginTry(kStart + 1h));
  breaker.CameBack();
  EXPECT_TRUE(breaker.BeginTry(kStart));
}

TEST(Breaker, ABrokenConnectionMayBeTriedAtOnce) {
  Breaker breaker;
  breaker.WentAway(kStart, true);
  EXPECT_TRUE(breaker.BeginTry(kStart));
}

TEST(Breaker, TriesThatTakeLongComeRarely) {
  Breaker breaker;
  EXPECT_TRUE(breaker.BeginTry(kStart));
  breaker.Failed(kStart + 200ms);
  EXPECT_FALSE(breaker.BeginTry(kStart + 999ms));
  EXPECT_TRUE(breaker.BeginTry(kStart + 1000ms));
  breaker.Failed(kStart + 61s);
  EXPECT_FALSE(breaker.BeginTry(kStart + 70999ms));
  EXPECT_TRUE(breaker.BeginTry(kStart + 71s)) << "ten seconds at most";
}

TEST(Breaker, AnUrgentTryIsNotPutOff) {
  Breaker breaker;
  breaker.WentAway(kStart, false);
  breaker.BeginUrgentTry(kStart);
  EXPECT_FALSE(breaker.BeginTry(kStart + 1s)) << "it is under way";
  breaker.Failed(kStart);
  EXPECT_TRUE(breaker.BeginTry(kStart + 250ms));
}

}  // namespace
}  // namespace Corvanta
