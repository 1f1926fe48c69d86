// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Lumenar::Mathctl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(AlignedLines, AlignsColumnsByCharacters) {
  EXPECT_THAT(AlignedLines({{"READING", "KIND"}, {"A", "long"}, {"PROBE/1/WAKEUP", "x"}}),
              ElementsAre("READING         KIND", "A               long", "PROBE/1/WAKEUP  x"));
  EXPECT_THAT(AlignedLines({{"\xc2\xb5s", "a"}, {"ms", "b"}}), ElementsAre("\xc2\xb5s  a", "ms  b"));
}

TEST(AlignedLines, LeavesNoTrailingBlanksAndTakesRaggedRows) {
  EXPECT_THAT(AlignedLines({{"a", "", ""}, {"bb"}, {"c", "d", "e"}}), ElementsAre("a", "bb", "c   d  e"));
  EXPECT_THAT(AlignedLines({{}}), ElementsAre(""));
  EXPECT_THAT(AlignedLines({}), IsEmpty());
}

}  // namespace
}  // namespace Lumenar::Mathctl
