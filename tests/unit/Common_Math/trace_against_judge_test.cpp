// SPDX-License-Identifier: Apache-2.0
// Random traces, random operations in sequence: the engine's traces against the judge, bit for bit.
#include <gtest/gtest.h>

#include "tests/support/trace_steps.h"

namespace Lumenar::Test {
namespace {

using Sample = Value::Value_object<float>;

class TraceAgainstJudge : public testing::TestWithParam<unsigned> {};

TEST_P(TraceAgainstJudge, RandomOperationsGiveTheSameBitsLinesAndExceptions) {
  RandomTraces random(GetParam());
  CapturedOutput written;
  for (int round = 0; round < 400; ++round) {
    std::ostringstream judged_lines;
    const int size = random.Size();
    const auto size_of_other = [&] { return random.Pick(12) == 0 ? random.Size() : size; };
    Pair a(random.Trace(size), judged_lines);
    Pair b(random.Trace(size_of_other()), judged_lines);
    std::string history;
    for (int step = 0; step < 6; ++step) {
      static constexpr int kFactors[] = {1, 2,        3,        -7,        99,
                                         0, 16777216, 16777217, -33554432, std::numeric_limits<int>::min()};
      const std::vector<int> numbers{kFactors[random.Pick(10)], random.Pick(80) - 10, random.Pick(80) - 10};
      const int operation = random.Pick(kOperations);
      const BT_DATA fresh = random.Trace(size_of_other());
      history.append(" ").append(std::to_string(operation));
      SCOPED_TRACE("seed " + std::to_string(GetParam()) + " round " + std::to_string(round) + " operations" + history);

      const std::string expected = Outcome([&] { return Step(operation, a.judged, b.judged, fresh, numbers); });
      const std::string got = Outcome([&] { return Step(operation, a.trace, b.trace, fresh, numbers); });
      ASSERT_EQ(got, expected);
      ASSERT_EQ(written.Take(), judged_lines.str());
      judged_lines.str("");
      for (Pair* pair : {&a, &b}) {
        ASSERT_EQ(pair->trace.ListSize(), pair->judged.list.size());
        // Looking at a stale list would refresh it.
        const std::vector<Sample> none;
        const bool stale = pair->judged.refresh_needed;
        ASSERT_EQ("", FirstDifference(Picture(pair->trace.record, stale ? none : pair->trace.SampleValues()),
                                      Picture(pair->judged.record, stale ? none : ValuesOf(pair->judged.list))));
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, TraceAgainstJudge, testing::Values(1u, 2u, 3u, 4u, 5u));

}  // namespace
}  // namespace Lumenar::Test
