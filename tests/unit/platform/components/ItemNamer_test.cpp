// SPDX-License-Identifier: Apache-2.0
#include "platform/components/ItemNamer.h"

#include <gmock/gmock.h>
#include <malloc.h>

#include <barrier>
#include <set>
#include <thread>
#include <vector>

namespace Corvanta {
namespace {

TEST(ItemNamer, NumbersTheLaterItemsOfOneName) {
  ItemNamer namer("MATHFACTORY/1");
  EXPECT_EQ(namer.Add("RESULT"), "RESULT");
  EXPECT_EQ(namer.Add("SIZE"), "SIZE");
  EXPECT_EQ(namer.Add("RESULT"), "RESULT.2");
  EXPECT_EQ(namer.Add("RESULT"), "RESULT.3");
  EXPECT_EQ(namer.Add("SIZE"), "SIZE.2");
}

TEST(ItemNamer, NeverGivesANameThatSomebodyAskedFor) {
  struct Row {
    std::vector<std::string> asked;
    std::vector<std::string> given;
  };
  const Row rows[] = {
      {{"A", "A.2", "A"}, {"A", "A.2", "A.3"}},
      {{"A.2", "A", "A"}, {"A.2", "A", "A.3"}},
      {{"A", "A", "A.2"}, {"A", "A.2", "A.2.2"}},
      {{"A", "A", "A.2", "A.2"}, {"A", "A.2", "A.2.2", "A.2.3"}},
      {{"A", "A", "A.02", "A.3", "A"}, {"A", "A.2", "A.02", "A.3", "A.4"}},
      {{"A", "A", "A.2x", "A.", "A.99999999999999999999"}, {"A", "A.2", "A.2x", "A.", "A.99999999999999999999"}},
      {{"", "", ""}, {"", ".2", ".3"}},
  };
  for (const Row& row : rows) {
    ItemNamer namer("P/1");
    std::vector<std::string> given;
    for (const std::string& name : row.asked) given.push_back(namer.Add(name));
    EXPECT_EQ(given, row.given);
  }
}

TEST(ItemNamer, ObjectsThatComeAndGoLeaveNothingBehind) {
  ItemNamer namer("P/1");
  const std::size_t before = mallinfo2().uordblks;
  for (int i = 0; i < 100000; ++i) namer.Add("RESULT");
  EXPECT_LT(mallinfo2().uordblks - before, 10000u);
}

TEST(ItemNamer, TopicIsPrefixAndItem) {
  EXPECT_EQ(ItemNamer("MATHFACTORY/1").DDS_Topic("RESULT.2"), "MATHFACTORY/1/RESULT.2");
  EXPECT_EQ(ItemNamer("").DDS_Topic("MATHFACTORY/1"), "MATHFACTORY/1");
}

TEST(ItemNamer, AMarkMakesTopicsThoseOfOneRun) {
  ItemNamer first("MATHFACTORY/1", ItemNamer::MarkOfThisRun()), second("MATHFACTORY/1", ItemNamer::MarkOfThisRun());
  EXPECT_EQ(first.Add("RESULT"), second.Add("RESULT"));
  EXPECT_NE(first.DDS_Topic("RESULT"), second.DDS_Topic("RESULT"));
  EXPECT_THAT(first.DDS_Topic("RESULT"), testing::MatchesRegex("MATHFACTORY/1/RESULT@[0-9a-f]{16}"));
  EXPECT_EQ(ItemNamer::EngineOf(first.DDS_Topic("RESULT")), "MATHFACTORY/1");
}

TEST(ItemNamer_, ATopicTellsItsEngine) {
  EXPECT_EQ(ItemNamer::EngineOf("PROBE/1/WAKEUP"), "PROBE/1");
  EXPECT_EQ(ItemNamer::EngineOf("MATHFACTORY/12/RESULT.2"), "MATHFACTORY/12");
  EXPECT_EQ(ItemNamer::EngineOf("RESULT"), "");
  EXPECT_EQ(ItemNamer::EngineOf(""), "");
}

TEST(ItemNamer, NamesGivenByManyThreadsAreDistinct) {
  constexpr int kThreads = 4;
  constexpr int kNames = 5000;
  ItemNamer namer("P/1");
  std::vector<std::vector<std::string>> given(kThreads);
  std::vector<std::thread> threads;
  std::barrier start(kThreads);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      start.arrive_and_wait();
      for (int i = 0; i < kNames; ++i) given[t].push_back(namer.Add("RESULT"));
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<std::string> distinct;
  for (const auto& names : given) distinct.insert(names.begin(), names.end());
  EXPECT_EQ(distinct.size(), static_cast<std::size_t>(kThreads * kNames));
}

}  // namespace
}  // namespace Corvanta
