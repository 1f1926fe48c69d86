// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/ShutdownListeners.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>

namespace Corvanta {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ShutdownListeners, RunNewestFirstAndOnce) {
  ShutdownListeners listeners;
  std::vector<int> order;
  for (int i = 1; i <= 3; ++i) listeners.Add([&order, i] { order.push_back(i); });
  EXPECT_TRUE(listeners.Run());
  EXPECT_FALSE(listeners.Run());
  EXPECT_THAT(order, ElementsAre(3, 2, 1));
}

TEST(ShutdownListeners, ARemovedOneDoesNotRun) {
  ShutdownListeners listeners;
  std::vector<int> order;
  listeners.Add([&order] { order.push_back(1); });
  const long second = listeners.Add([&order] { order.push_back(2); });
  listeners.Remove(second);
  listeners.Remove(second);
  listeners.Run();
  EXPECT_THAT(order, ElementsAre(1));
}

TEST(ShutdownListeners, OneMayRemoveItselfAndOthersAndAskForShutdown) {
  ShutdownListeners listeners;
  std::vector<int> order;
  const long first = listeners.Add([&order] { order.push_back(1); });
  long second = 0;
  second = listeners.Add([&] {
    listeners.Remove(second);
    listeners.Remove(first);
    EXPECT_FALSE(listeners.Run());
  });
  EXPECT_TRUE(listeners.Run());
  EXPECT_THAT(order, IsEmpty());
}

TEST(ShutdownListeners, RemovingWaitsForTheOneThatRuns) {
  ShutdownListeners listeners;
  std::promise<void> began;
  std::promise<void> go_on;
  std::atomic<bool> ended{false};
  const long token = listeners.Add([&] {
    began.set_value();
    go_on.get_future().wait();
    ended = true;
  });
  std::thread runner([&listeners] { listeners.Run(); });
  began.get_future().wait();
  auto removal = std::async(std::launch::async, [&] { listeners.Remove(token); });
  EXPECT_EQ(removal.wait_for(std::chrono::milliseconds(30)), std::future_status::timeout) << "the listener still runs";
  go_on.set_value();
  removal.get();
  EXPECT_TRUE(ended);
  runner.join();
}

}  // namespace
}  // namespace Corvanta
