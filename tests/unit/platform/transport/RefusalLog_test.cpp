// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/RefusalLog.h"

#include <gmock/gmock.h>

#include <vector>

namespace Corvanta {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;

class RefusalLogTest : public testing::Test {
 protected:
  std::vector<std::string> lines_;
  RefusalLog log_{[this](const std::string& line) { lines_.push_back(line); }};
  RefusalLog::Time start_{seconds(1000)};
};

TEST_F(RefusalLogTest, WritesOneLineForEachCauseAndMinute) {
  for (int i = 0; i < 60; ++i) log_.Say("a", "a refused", start_ + seconds(i));
  log_.Say("b", "b refused", start_ + seconds(5));
  log_.Say("a", "a refused", start_ + seconds(60));
  log_.Say("a", "a refused", start_ + seconds(120));
  EXPECT_THAT(lines_,
              ElementsAre("a refused", "b refused", "a refused (59 more since the last such line)", "a refused"));
}

TEST_F(RefusalLogTest, CausesBeyondTheLimitShareOneLine) {
  for (std::size_t i = 0; i < RefusalLog::kMaxCauses + 100; ++i) log_.Say(std::to_string(i), std::to_string(i), start_);
  EXPECT_LE(lines_.size(), RefusalLog::kMaxCauses + 1);
  log_.Say("new", "new refused", start_ + RefusalLog::kPause);
  EXPECT_EQ(lines_.back(), "new refused") << "old causes are forgotten";
}

}  // namespace
}  // namespace Corvanta
