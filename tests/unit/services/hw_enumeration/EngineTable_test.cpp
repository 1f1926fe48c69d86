// SPDX-License-Identifier: Apache-2.0
#include "services/hw_enumeration/EngineTable.h"

#include <gtest/gtest.h>

namespace Lumenar::Test {
namespace {

const EngineTable::Key kEngine("math_factory.engine", 3);

TEST(EngineTable, KeepsTheProgressOfAnEngine) {
  EngineTable table;
  const auto announcement = table.Announce(kEngine);
  ASSERT_TRUE(announcement);
  EXPECT_EQ(table.Entries().at(kEngine).progress, "");
  EXPECT_TRUE(table.Report(kEngine, *announcement, "12.5"));
  EXPECT_TRUE(table.Report(kEngine, *announcement, "100"));
  EXPECT_EQ(table.Entries().at(kEngine).progress, "100");
}

TEST(EngineTable, ASecondAnnouncementReplacesTheFirst) {
  EngineTable table;
  const auto first = table.Announce(kEngine);
  table.Report(kEngine, *first, "50");
  const auto second = table.Announce(kEngine);
  EXPECT_EQ(table.Entries().size(), 1u);
  EXPECT_EQ(table.Entries().at(kEngine).progress, "");
  EXPECT_FALSE(table.Report(kEngine, *first, "60")) << "the first is nobody's any more";
  EXPECT_TRUE(table.Report(kEngine, *second, "70"));
}

TEST(EngineTable, InstancesOfAnEngineAreApart) {
  EngineTable table;
  table.Announce({"a", 1});
  table.Announce({"a", 2});
  EXPECT_EQ(table.Entries().size(), 2u);
}

TEST(EngineTable, IsBounded) {
  EngineTable table;
  for (long i = 0; i < static_cast<long>(EngineTable::kMaxEngines); ++i) ASSERT_TRUE(table.Announce({"a", i}));
  EXPECT_FALSE(table.Announce({"b", 0}));
  EXPECT_TRUE(table.Announce({"a", 0})) << "a known one still finds its place";
}

TEST(EngineTable, TextsAreShortAndPrintable) {
  EXPECT_TRUE(EngineTable::IsNameGood("math_factory.engine"));
  EXPECT_TRUE(EngineTable::IsNameGood(std::string(256, 'x')));
  EXPECT_TRUE(EngineTable::IsProgressGood("12.5"));
  for (const std::string& bad : {std::string(), std::string("a\nb"), std::string("\x1b[2J"), std::string("\x7f")}) {
    EXPECT_FALSE(EngineTable::IsNameGood(bad)) << bad;
    EXPECT_FALSE(EngineTable::IsProgressGood(bad)) << bad;
  }
  EXPECT_FALSE(EngineTable::IsNameGood(std::string(257, 'x')));
  EXPECT_FALSE(EngineTable::IsProgressGood(std::string(33, '1')));
}

}  // namespace
}  // namespace Lumenar::Test
