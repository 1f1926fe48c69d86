// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/relay/CycloneRelay.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace Corvanta {
namespace {

constexpr std::size_t kBytes = 400;  // that a sample is said to take

/// A relay that nobody listens to, with room for two samples.
class RelayQueue : public testing::Test {
 protected:
  static CycloneRelay::Options Small() {
    CycloneRelay::Options options;
    options.domain = 20 + static_cast<unsigned>(::getpid() % 200);
    options.topics = {"T"};
    options.queue_bytes = 2 * kBytes;
    return options;
  }

  void Send(int count) {
    for (int i = 0; i < count; ++i) relay_.Send("T", sample_, kBytes);
    all_ += static_cast<std::uint64_t>(count);
  }

  std::uint64_t NotSent() const { return relay_.Count().not_sent; }

  bool WaitUntilAllAreGone() {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (relay_.Count().sent + NotSent() < all_) {
      if (std::chrono::steady_clock::now() > end) return false;
      std::this_thread::yield();
    }
    return true;
  }

  const CycloneRelay::RecordPtr sample_{new SampleRecord(std::in_place_type<CORBA::Long>, 1)};
  CycloneRelay relay_{Small(), [](const std::string&, SampleRecord&&) {}};
  std::uint64_t all_ = 0;
};

TEST_F(RelayQueue, WhatWasDroppedTakesNoRoomAnyMore) {
  Send(10000);
  ASSERT_TRUE(WaitUntilAllAreGone());
  const std::uint64_t dropped = NotSent();
  EXPECT_GT(dropped, 0u) << "the queue was full";
  for (int i = 0; i < 200; ++i) {
    Send(2);
    ASSERT_TRUE(WaitUntilAllAreGone());
  }
  EXPECT_EQ(NotSent(), dropped) << "there was room for two";
}

}  // namespace
}  // namespace Corvanta
