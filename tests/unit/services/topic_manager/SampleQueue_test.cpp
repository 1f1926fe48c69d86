// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/SampleQueue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "samples.h"

namespace Lumenar::Test {
namespace {

std::vector<int> ValuesOf(const std::vector<SamplePtr>& samples) {
  std::vector<int> values;
  for (const SamplePtr& sample : samples) values.push_back(ValueOf(*sample));
  return values;
}

std::vector<int> Drain(SampleQueue& queue) {
  std::vector<int> values;
  while (const SamplePtr sample = queue.Pop()) values.push_back(ValueOf(*sample));
  return values;
}

TEST(SampleQueue, KeepsTheOrder) {
  SampleQueue queue({10, 1 << 20});
  std::vector<SamplePtr> dropped;
  for (int i = 0; i < 5; ++i) queue.Push(LongSample(i), dropped);
  EXPECT_THAT(Drain(queue), testing::ElementsAre(0, 1, 2, 3, 4));
  EXPECT_THAT(dropped, testing::IsEmpty());
  EXPECT_EQ(queue.Pop(), nullptr);
}

TEST(SampleQueue, DropsTheOldestWhenItIsFull) {
  SampleQueue queue({3, 1 << 20});
  std::vector<SamplePtr> dropped;
  for (int i = 0; i < 5; ++i) queue.Push(LongSample(i), dropped);
  EXPECT_THAT(ValuesOf(dropped), testing::ElementsAre(0, 1));
  EXPECT_THAT(Drain(queue), testing::ElementsAre(2, 3, 4));
}

TEST(SampleQueue, IsBoundedInBytes) {
  SampleQueue queue({1000, 100000});
  std::vector<SamplePtr> dropped;
  for (int i = 0; i < 10; ++i) queue.Push(TraceSample(10000), dropped);  // 40 kB each
  EXPECT_EQ(queue.Size(), 2u);
  EXPECT_EQ(dropped.size(), 8u);
  EXPECT_LE(queue.Bytes(), 100000u);
  queue.Pop();
  queue.Pop();
  EXPECT_EQ(queue.Bytes(), 0u);
}

TEST(SampleQueue, TakesASampleThatIsLargerThanTheLimit) {
  SampleQueue queue({10, 1000});
  std::vector<SamplePtr> dropped;
  queue.Push(LongSample(1), dropped);
  queue.Push(TraceSample(10000), dropped);
  EXPECT_EQ(queue.Size(), 1u);
  EXPECT_EQ(dropped.size(), 1u);
}

TEST(SampleQueue, WhatIsPutBackIsTheOldest) {
  SampleQueue queue({3, 1 << 20});
  std::vector<SamplePtr> dropped;
  for (int i = 0; i < 3; ++i) queue.Push(LongSample(i), dropped);
  queue.PutBack(queue.Pop(), dropped);
  EXPECT_THAT(dropped, testing::IsEmpty());
  const SamplePtr taken = queue.Pop();
  queue.Push(LongSample(3), dropped);
  queue.PutBack(taken, dropped);
  EXPECT_THAT(ValuesOf(dropped), testing::ElementsAre(0));
  EXPECT_THAT(Drain(queue), testing::ElementsAre(1, 2, 3));
}

}  // namespace
}  // namespace Lumenar::Test
