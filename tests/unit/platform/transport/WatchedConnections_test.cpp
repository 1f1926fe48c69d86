// SPDX-License-Identifier: Apache-2.0
// Which connections have not gone, and memory that stays until the thread that watches has come round. That a connection goes while
// it is told of is what the attacks on the wire do, under the address sanitizer.
#include "platform/transport/WatchedConnections.h"

#include <gtest/gtest.h>

#include <new>

namespace Corvanta {
namespace {

TEST(WatchedConnections, AreFoundUntilTheyGo) {
  WatchedConnections watched;
  int sockets[2], connections[2];  // their addresses alone matter
  const auto socket = [&](int i) { return reinterpret_cast<const omni::SocketHolder*>(&sockets[i]); };
  const auto connection = [&](int i) { return reinterpret_cast<omni::giopConnection*>(&connections[i]); };
  EXPECT_EQ(watched.Find(socket(0)), nullptr);
  watched.Enter(socket(0), connection(0));
  watched.Enter(socket(1), connection(1));
  EXPECT_EQ(watched.Find(socket(0)), connection(0));
  watched.Leave(socket(0));
  EXPECT_EQ(watched.Find(socket(0)), nullptr);
  EXPECT_EQ(watched.Find(socket(1)), connection(1));
}

TEST(WatchedConnections, MemoryIsThereUntilTheNextRound) {
  WatchedConnections watched;
  auto* const memory = static_cast<int*>(::operator new(sizeof(int)));
  *memory = 7;
  watched.Keep(memory);
  EXPECT_EQ(*memory, 7);
  watched.FreeKept();
  watched.FreeKept();               // once only
  watched.Keep(::operator new(1));  // given back at the end
}

}  // namespace
}  // namespace Corvanta
