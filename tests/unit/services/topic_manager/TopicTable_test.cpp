// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/TopicTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "samples.h"

namespace Lumenar::Test {
namespace {

using testing::ElementsAre;

class Table : public testing::Test {
 protected:
  static std::vector<std::string> Names(const TopicTable& table) {
    std::vector<std::string> names;
    for (const auto& status : table.All()) names.push_back(status.topic);
    return names;
  }
  std::vector<SamplePtr> freed_;
};

TEST_F(Table, KeepsTheLastSampleAndCounts) {
  TopicTable table({10, 1 << 20});
  EXPECT_EQ(table.Last("A"), nullptr);
  const SamplePtr last = LongSample(2);
  table.Published("A", LongSample(1), freed_);
  table.Published("A", last, freed_);
  table.Subscribed("A", freed_);
  EXPECT_EQ(table.Last("A"), last);
  const auto status = table.All().at(0);
  EXPECT_EQ(status.published, 2u);
  EXPECT_EQ(status.subscribers, 1u);
}

TEST_F(Table, ATopicThatWasNeverPublishedGoesWithItsSubscribers) {
  TopicTable table({10, 1 << 20});
  table.Subscribed("A", freed_);
  table.Subscribed("A", freed_);
  table.Unsubscribed("A", freed_);
  EXPECT_THAT(Names(table), ElementsAre("A"));
  table.Unsubscribed("A", freed_);
  EXPECT_THAT(Names(table), ElementsAre());
  table.Unsubscribed("A", freed_);  // unknown: nothing happens
}

TEST_F(Table, AFullTableForgetsTheLongestUnpublishedTopicWithoutSubscribers) {
  TopicTable table({3, 1 << 20});
  table.Subscribed("A", freed_);
  table.Published("A", LongSample(1), freed_);
  table.Published("B", LongSample(1), freed_);
  table.Published("C", LongSample(1), freed_);
  table.Published("B", LongSample(2), freed_);
  EXPECT_TRUE(table.Published("D", LongSample(1), freed_));
  EXPECT_THAT(Names(table), ElementsAre("A", "B", "D"));
}

TEST_F(Table, TopicsThatNobodySubscribesToHaveALimitOfTheirOwn) {
  TopicTable table({1000, 1 << 20, 3});
  table.Subscribed("WATCHED", freed_);
  table.Published("WATCHED", LongSample(1), freed_);
  for (int i = 0; i < 100; ++i) table.Published("T" + std::to_string(i), LongSample(i), freed_);
  EXPECT_THAT(Names(table), ElementsAre("T97", "T98", "T99", "WATCHED"));
  EXPECT_EQ(freed_.size(), 97u);
  table.Unsubscribed("WATCHED", freed_);
  EXPECT_THAT(Names(table), ElementsAre("T98", "T99", "WATCHED"));
}

TEST_F(Table, TopicsWithSubscribersGoOnTopOfThoseWithout) {
  TopicTable table({1000, 1 << 20, 2});
  for (int i = 10; i < 30; ++i) table.Subscribed("S" + std::to_string(i), freed_);
  for (int i = 10; i < 30; ++i) EXPECT_TRUE(table.Published("S" + std::to_string(i), LongSample(i), freed_));
  EXPECT_EQ(Names(table).size(), 20u);
  EXPECT_NE(table.Last("S10"), nullptr);
}

TEST_F(Table, ATableFullOfSubscribedTopicsTakesNoNewOne) {
  TopicTable table({2, 1 << 20});
  table.Subscribed("A", freed_);
  table.Subscribed("B", freed_);
  EXPECT_FALSE(table.Subscribed("C", freed_));
  EXPECT_FALSE(table.Published("C", LongSample(1), freed_));
  EXPECT_TRUE(table.Published("A", LongSample(1), freed_));
}

TEST_F(Table, LastSamplesAreBoundedInBytes) {
  TopicTable table({1000, 100000});
  for (int i = 0; i < 20; ++i) table.Published("T" + std::to_string(i), TraceSample(10000), freed_);  // 40 kB each
  EXPECT_THAT(Names(table), ElementsAre("T18", "T19"));
  EXPECT_LE(table.Bytes(), 100000u);
  EXPECT_EQ(freed_.size(), 18u);
}

TEST_F(Table, ASampleBeyondTheBytesIsCountedButNotKept) {
  TopicTable table({1000, 1000});
  table.Subscribed("A", freed_);
  EXPECT_TRUE(table.Published("A", TraceSample(10000), freed_));
  EXPECT_EQ(table.Last("A"), nullptr);
  EXPECT_EQ(table.All().at(0).published, 1u);
  EXPECT_EQ(table.Bytes(), 0u);
}

}  // namespace
}  // namespace Lumenar::Test
