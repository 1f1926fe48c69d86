// SPDX-License-Identifier: Apache-2.0
#include "client/Nearest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Lumenar::Client {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(EditDistance, Table) {
  struct Row {
    const char* a;
    const char* b;
    std::size_t distance;
  };
  const Row kRows[] = {
      {"", "", 0},          {"a", "", 1},         {"list", "list", 0},  {"list", "LIST", 0},
      {"lst", "list", 1},   {"lsit", "list", 1},  {"watch", "wach", 1}, {"kitten", "sitting", 3},
      {"abcdef", "xyz", 6}, {"abcdefgh", "a", 7}, {"ca", "abc", 3},
  };
  for (const Row& row : kRows) {
    EXPECT_EQ(EditDistance(row.a, row.b, 10), row.distance) << row.a << ' ' << row.b;
    EXPECT_EQ(EditDistance(row.b, row.a, 10), row.distance) << row.b << ' ' << row.a;
  }
  EXPECT_EQ(EditDistance("abcdef", "xyz", 2), 3u) << "beyond the limit it is not told how far";
}

TEST(EditDistance, WordsThatNobodyTypesCostNothing) {
  const std::string long_word(1000000, 'a'), other = long_word + 'b';
  EXPECT_EQ(EditDistance(long_word, other, 8), 9u);
  EXPECT_EQ(EditDistance(long_word, long_word, 8), 0u);
}

TEST(Nearest, TheNearestFirstAndThreeAtMost) {
  const std::vector<std::string> verbs{"list", "get", "set", "reset", "delete", "list"};
  EXPECT_THAT(Nearest("lst", verbs), ElementsAre("list"));
  EXPECT_THAT(Nearest("rset", verbs), ElementsAre("set", "reset"));
  EXPECT_THAT(Nearest("bet", verbs), ElementsAre("get", "set"));
  EXPECT_THAT(Nearest("frobnicate", verbs), IsEmpty());
  EXPECT_THAT(Nearest("", verbs), IsEmpty());
  EXPECT_THAT(Nearest("TESTBENCH/LEVL", {"TESTBENCH/TRACE", "TESTBENCH/LEVEL"}), ElementsAre("TESTBENCH/LEVEL"));
  EXPECT_THAT(Nearest("aaaa", {"aaab", "aaac", "aaad", "aaae"}), ElementsAre("aaab", "aaac", "aaad"));
}

TEST(NearText, Table) {
  EXPECT_EQ(NearText({}), "");
  EXPECT_EQ(NearText({"a"}), "; near: a");
  EXPECT_EQ(NearText({"a", "b"}), "; near: a, b");
}

}  // namespace
}  // namespace Lumenar::Client
