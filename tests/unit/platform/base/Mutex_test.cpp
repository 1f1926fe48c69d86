// SPDX-License-Identifier: Apache-2.0
#include "platform/base/Mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace Lumenar {
namespace {

TEST(Mutex, OneThreadAtATime) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 20000;
  Mutex mutex;
  long sum = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        Lock lock(mutex);
        ++sum;
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(sum, static_cast<long>(kThreads) * kRounds);
}

TEST(Condition, WakesAllThatWait) {
  Mutex mutex;
  Condition condition;
  bool go = false;
  std::atomic<int> through{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i)
    threads.emplace_back([&] {
      Lock lock(mutex);
      while (!go) condition.Wait(mutex);
      ++through;
    });
  {
    Lock lock(mutex);
    go = true;
    condition.NotifyAll();
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(through, 3);
}

TEST(Condition, AWaitWithALimitEndsByItself) {
  Mutex mutex;
  Condition condition;
  Lock lock(mutex);
  const auto start = std::chrono::steady_clock::now();
  while (condition.WaitFor(mutex, std::chrono::milliseconds(20))) {}
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(19));
}

TEST(Condition, AWaitOverTheEndOfASecondIsNotShorter) {
  constexpr std::chrono::nanoseconds kLong{999'999'999};  // its end lies in the next second, whatever the clock shows
  Mutex mutex;
  Condition condition;
  Lock lock(mutex);
  const auto start = std::chrono::steady_clock::now();
  while (condition.WaitFor(mutex, kLong)) {}
  EXPECT_GE(std::chrono::steady_clock::now() - start, kLong);
}

}  // namespace
}  // namespace Lumenar
