// SPDX-License-Identifier: Apache-2.0
#include "python/src/CallThreads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>

namespace Lumenar::Python {
namespace {

constexpr std::chrono::seconds kLong{30};

TEST(CallThreads, WorkThatThrowsEndsNothingAndCountsAsDone) {
  std::atomic<int> done{0};
  for (int i = 0; i < 10; ++i) {
    CallThreads::Run([&] {
      ++done;
      throw std::runtime_error("the other side is gone");
    });
  }
  EXPECT_TRUE(CallThreads::WaitUntilIdle(kLong));
  EXPECT_EQ(done, 10);
  CallThreads::Run([&] { ++done; });
  EXPECT_TRUE(CallThreads::WaitUntilIdle(kLong));
  EXPECT_EQ(done, 11);
}

}  // namespace
}  // namespace Lumenar::Python
