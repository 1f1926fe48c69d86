// SPDX-License-Identifier: Apache-2.0
// Which sockets have not gone.
#include "platform/transport/LiveSockets.h"

#include <gtest/gtest.h>

namespace Corvanta {
namespace {

TEST(LiveSockets, HaveWhatEnteredAndHasNotLeft) {
  LiveSockets sockets;
  const int one = 0, other = 0;
  EXPECT_FALSE(sockets.Has(&one));
  sockets.Enter(&one);
  EXPECT_TRUE(sockets.Has(&one));
  EXPECT_FALSE(sockets.Has(&other));
  sockets.Leave(&one);
  EXPECT_FALSE(sockets.Has(&one));
}

}  // namespace
}  // namespace Corvanta
