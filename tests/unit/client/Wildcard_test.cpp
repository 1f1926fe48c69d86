// SPDX-License-Identifier: Apache-2.0
#include "client/Wildcard.h"

#include <gtest/gtest.h>

#include <string>

namespace Lumenar::Client {
namespace {

TEST(WildcardFits, Table) {
  struct Row {
    const char* pattern;
    const char* name;
    bool fits;
  };
  const Row kRows[] = {
      {"", "", true},
      {"", "a", false},
      {"*", "", true},
      {"*", "PROBE/1/WAKEUP", true},
      {"?", "", false},
      {"?", "a", true},
      {"??", "a", false},
      {"PROBE/1/*", "PROBE/1/WAKEUP", true},
      {"PROBE/1/*", "PROBE/10/WAKEUP", false},
      {"probe/?/wake*", "PROBE/1/WAKEUP", true},
      {"*UP", "PROBE/1/WAKEUP", true},
      {"*UP", "PROBE/1/WAKEUP_DB", false},
      {"*a*b", "aaab", true},
      {"*a*b*", "ba", false},
      {"a**b", "ab", true},
      {"math:*", "math:12", true},
      {"math:?", "math:12", false},
      {"plain", "plain", true},
      {"plain", "plainer", false},
  };
  for (const Row& row : kRows)
    EXPECT_EQ(WildcardFits(row.pattern, row.name), row.fits) << row.pattern << ' ' << row.name;
}

// Where each * tried each length, this would not end.
TEST(WildcardFits, ManyStarsCostLittle) {
  std::string pattern;
  for (int i = 0; i < 1000; ++i) pattern += "*a";
  EXPECT_FALSE(WildcardFits(pattern + "b", std::string(2000, 'a')));
  EXPECT_TRUE(WildcardFits(pattern, std::string(2000, 'a')));
}

TEST(IsWildcard, Table) {
  EXPECT_TRUE(IsWildcard("PROBE/*"));
  EXPECT_TRUE(IsWildcard("math:?"));
  EXPECT_FALSE(IsWildcard("PROBE/1"));
  EXPECT_FALSE(IsWildcard(""));
}

}  // namespace
}  // namespace Lumenar::Client
