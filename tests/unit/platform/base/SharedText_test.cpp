// SPDX-License-Identifier: Apache-2.0
#include "platform/base/SharedText.h"

#include <gtest/gtest.h>

#include <string>

namespace Lumenar {
namespace {

TEST(SharedText, CopiesAreTheSameText) {
  const SharedText topic(std::string("PROBE/1/WAKEUP_DB"));
  const SharedText copy = topic;
  EXPECT_EQ(copy, "PROBE/1/WAKEUP_DB");
  EXPECT_EQ(copy.c_str(), topic.c_str()) << "one memory, not another with the same letters";
}

TEST(SharedText, IsEmptyAtFirstAndTakesATextLater) {
  SharedText topic;
  EXPECT_EQ(topic.Text(), "");
  topic = "A/1/B";
  EXPECT_EQ(topic.Text(), "A/1/B");
}

}  // namespace
}  // namespace Lumenar
