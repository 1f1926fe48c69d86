// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/names.h"

#include <gmock/gmock.h>

namespace Corvanta {
namespace {

using testing::ElementsAre;

TEST(Names, SplitAtEachSlashOrAtTheFirstOnes) {
  EXPECT_THAT(Components("A"), ElementsAre("A"));
  EXPECT_THAT(Components("A/B/C"), ElementsAre("A", "B", "C"));
  EXPECT_THAT(Components("A/B/C", 2), ElementsAre("A", "B/C"));
  EXPECT_THAT(Components("A/", 2), ElementsAre("A", ""));
}

TEST(Names, StandInTheContextOfAllEngines) {
  EXPECT_THAT(LocalPath("PROBE"), ElementsAre("Lumenar", "local", "PROBE"));
  EXPECT_THAT(LocalPath("PROBE/12"), ElementsAre("Lumenar", "local", "PROBE", "12"));
  EXPECT_THAT(LocalPath(kTopicManager), ElementsAre("Lumenar", "local", "DDS_MANAGER", "1"));
  EXPECT_THAT(LocalPath(kHardwareEnumeration), ElementsAre("Lumenar", "local", "HWENUM_ABLE", "1"));
  EXPECT_EQ(LocalPathText(kFirstMathFactory), "Lumenar/local/MATHFACTORY/1");
}

TEST(Names, LoseTheirInstance) {
  EXPECT_EQ(NameWithoutInstance("PROBE/1"), "PROBE");
  EXPECT_EQ(NameWithoutInstance("PROBE"), "PROBE");
}

}  // namespace
}  // namespace Corvanta
