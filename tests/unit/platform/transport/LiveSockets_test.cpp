// SPDX-License-Identifier: Apache-2.0
// A socket that is in use does not go, and one that has gone is not used.
#include "platform/transport/LiveSockets.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <latch>
#include <thread>

namespace Corvanta {
namespace {

TEST(LiveSockets, OnlyOneThatHasNotGoneIsUsed) {
  LiveSockets sockets;
  const int one = 0, other = 0;
  const auto is_used = [&](const int& socket) {
    bool used = false;
    EXPECT_EQ(sockets.With(&socket, [&used] { used = true; }), used);
    return used;
  };
  EXPECT_FALSE(is_used(one));
  sockets.Enter(&one);
  EXPECT_TRUE(is_used(one));
  EXPECT_FALSE(is_used(other));
  sockets.Leave(&one);
  EXPECT_FALSE(is_used(one));
}

TEST(LiveSockets, WhoLeavesWaitsForWhoUsesIt) {
  LiveSockets sockets;
  const int socket = 0;
  sockets.Enter(&socket);
  std::latch in_use(1);
  std::promise<void> go_on;
  std::atomic<bool> has_left{false};
  std::thread user([&] {
    sockets.With(&socket, [&] {
      in_use.count_down();
      go_on.get_future().wait();
      EXPECT_FALSE(has_left);
    });
  });
  in_use.wait();
  std::thread leaver([&] {
    sockets.Leave(&socket);
    has_left = true;
  });
  go_on.set_value();
  user.join();
  leaver.join();
  EXPECT_TRUE(has_left);
  EXPECT_FALSE(sockets.With(&socket, [] {}));
}

/// Each socket is a number that its owner changes on the way out: whoever used one that has gone would read a changed one, or
/// freed memory.
TEST(LiveSockets, ManyComeAndGoWhileTheyAreUsed) {
  constexpr int kRounds = 20000;
  LiveSockets sockets;
  std::atomic<int*> last{nullptr};
  std::atomic<bool> ended{false};
  std::thread user([&] {
    while (!ended) sockets.With(last.load(), [&] { EXPECT_EQ(*last.load(), 7); });
  });
  int socket = 7;
  last = &socket;
  for (int round = 0; round < kRounds; ++round) {
    socket = 7;
    sockets.Enter(&socket);
    sockets.Leave(&socket);
    socket = 0;
  }
  ended = true;
  user.join();
}

}  // namespace
}  // namespace Corvanta
