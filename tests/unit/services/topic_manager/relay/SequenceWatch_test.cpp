// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/relay/SequenceWatch.h"

#include <gtest/gtest.h>

namespace Corvanta {
namespace {

constexpr SequenceWatch::Publisher kOne{1};
constexpr SequenceWatch::Publisher kTwo{2};

TEST(SequenceWatch, TellsNewMissingAndRepeated) {
  SequenceWatch watch;
  const struct {
    SequenceWatch::Publisher publisher;
    std::uint64_t sequence;
    bool is_new;
    std::uint64_t missing;
    const char* why;
  } steps[] = {
      {kOne, 7, true, 0, "the first may be any"},
      {kOne, 8, true, 0, "the next"},
      {kOne, 8, false, 0, "again"},
      {kOne, 3, false, 0, "late"},
      {kOne, 12, true, 3, "9 to 11 are missing"},
      {kTwo, 1, true, 0, "another publisher"},
      {kOne, 13, true, 0, "goes on"},
  };
  for (const auto& step : steps) {
    const auto verdict = watch.Heard(step.publisher, step.sequence);
    EXPECT_EQ(verdict.is_new, step.is_new) << step.why;
    EXPECT_EQ(verdict.missing, step.missing) << step.why;
  }
}

TEST(SequenceWatch, ForgetsThePublisherThatWasQuietLongest) {
  SequenceWatch watch;
  for (std::size_t i = 0; i < SequenceWatch::kMaxPublishers; ++i) {
    watch.Heard({static_cast<std::uint8_t>(i), 1}, 10);
  }
  watch.Heard({0, 1}, 11);  // so that number 1 is the quietest
  watch.Heard({0, 2}, 10);
  EXPECT_FALSE(watch.Heard({0, 1}, 11).is_new) << "still known";
  EXPECT_FALSE(watch.Heard({2, 1}, 10).is_new) << "still known";
  EXPECT_TRUE(watch.Heard({1, 1}, 10).is_new) << "forgotten";
}

}  // namespace
}  // namespace Corvanta
