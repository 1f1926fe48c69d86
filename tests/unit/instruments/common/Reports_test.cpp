// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/Reports.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace Lumenar::Instruments {
namespace {

using testing::ElementsAre;

class ReportsTest : public testing::Test {
 protected:
  Reports::Clock::time_point now_{};
  std::vector<std::string> lines_;
  Reports reports_{[this](const std::string& line, Priority) { lines_.push_back(line); }, [this] { return now_; }};
};

TEST_F(ReportsTest, AKindOfLineComesOnceAMinute) {
  EXPECT_TRUE(reports_.Say("a: 'x' after 3 s"));
  EXPECT_FALSE(reports_.Say("a: 'y' after 4 s"));
  EXPECT_TRUE(reports_.Say("b: after 3 s"));
  now_ += std::chrono::seconds(59);
  EXPECT_FALSE(reports_.Say("a: 'z' after 5 s"));
  now_ += std::chrono::seconds(2);
  EXPECT_TRUE(reports_.Say("a: 'x' after 6 s"));
  EXPECT_THAT(lines_, ElementsAre("a: 'x' after 3 s", "b: after 3 s",
                                  "a: 'x' after 6 s (2 more of these since the last line)"));
}

TEST_F(ReportsTest, LinesThatDifferAreKindsOfTheirOwnWhereThatIsWanted) {
  EXPECT_TRUE(reports_.SayAsItIs("reports '-113'"));
  EXPECT_TRUE(reports_.SayAsItIs("reports '-222'"));
  EXPECT_FALSE(reports_.SayAsItIs("reports '-113'"));
}

}  // namespace
}  // namespace Lumenar::Instruments
