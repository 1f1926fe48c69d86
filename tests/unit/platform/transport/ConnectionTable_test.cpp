// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/ConnectionTable.h"

#include <gtest/gtest.h>

#include <list>

namespace Corvanta {
namespace {

struct Connection final : ServedConnection {
  const PeerStanding& Standing() const noexcept override { return standing; }
  void GiveWay() noexcept override { gave_way = true; }
  PeerStanding standing;
  bool gave_way = false;
};

TEST(ConnectionTable, BelowTheLimitNobodyGivesWay) {
  ConnectionTable table(3);
  std::list<Connection> connections(3);
  for (Connection& connection : connections) EXPECT_FALSE(table.Enter(connection));
  for (const Connection& connection : connections) EXPECT_FALSE(connection.gave_way);
}

TEST(ConnectionTable, WhoLeftMakesRoom) {
  ConnectionTable table(1);
  Connection first, second;
  table.Enter(first);
  table.Leave(first);
  EXPECT_FALSE(table.Enter(second));
  EXPECT_FALSE(first.gave_way);
}

TEST(ConnectionTable, TheLongestSilentGivesWay) {
  ConnectionTable table(2);
  Connection first, second;
  table.Enter(first);
  table.Enter(second);
  first.standing.Heard();
  Connection third, fourth;  // a connection counts as heard of when it begins
  EXPECT_TRUE(table.Enter(third));
  EXPECT_TRUE(second.gave_way);
  EXPECT_FALSE(first.gave_way);
  EXPECT_TRUE(table.Enter(fourth));
  EXPECT_TRUE(first.gave_way) << "half a request is no standing";
}

TEST(ConnectionTable, StrangersGoBeforePeersAtRestAndTheseBeforeRequestsUnderWay) {
  ConnectionTable table(3);
  Connection waiting, resting, stranger, further[3];
  waiting.standing.Heard();
  waiting.standing.Answered();
  waiting.standing.Heard();
  resting.standing.Heard();
  resting.standing.Answered();
  for (Connection* connection : {&waiting, &resting, &stranger}) table.Enter(*connection);
  table.Enter(further[0]);
  EXPECT_TRUE(stranger.gave_way);
  further[0].standing.Answered();
  table.Enter(further[1]);
  EXPECT_TRUE(resting.gave_way);
  EXPECT_FALSE(waiting.gave_way);
}

TEST(ConnectionTable, ALimitOfNoneServesTheLastOne) {
  ConnectionTable table(0);
  Connection first, second;
  EXPECT_FALSE(table.Enter(first));
  EXPECT_TRUE(table.Enter(second));
  EXPECT_TRUE(first.gave_way);
}

}  // namespace
}  // namespace Corvanta
