// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/trace_columns.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <ostream>
#include <vector>

namespace Lumenar::Web {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsNan;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

View Wide(std::uint32_t columns, std::optional<double> from = {}, std::optional<double> to = {}) {
  return {columns, from, to, Scale::AsIs};
}

std::vector<float> Counting(std::size_t points) {
  std::vector<float> samples(points);
  std::iota(samples.begin(), samples.end(), 0.0F);
  return samples;
}

TEST(TraceColumns, NoPeakIsLostWhereverItStands) {
  std::vector<float> samples(1'000'001, -100.0F);
  for (const std::size_t place : {0UL, 1UL, 499'999UL, 714'285UL, 999'999UL, 1'000'000UL}) {
    samples[place] = 7;
    const Columns columns = Thin(samples, {}, Wide(1400));
    ASSERT_EQ(columns.count, 1400u);
    ASSERT_EQ(columns.values.size(), 2800u);
    const auto highest = std::max_element(columns.values.begin(), columns.values.end());
    EXPECT_EQ(*highest, 7) << place;
    EXPECT_EQ(std::count(columns.values.begin(), columns.values.end(), 7.0F), 1) << "in its own column alone";
    const auto column = static_cast<double>(highest - columns.values.begin()) / 2;
    const double x = columns.x + std::floor(column) * columns.step;
    EXPECT_NEAR(x, static_cast<double>(place), columns.step / 2 + 1) << "and where it stands";
    samples[place] = -100;
  }
}

TEST(TraceColumns, EachColumnHasTheExtremesOfItsPoints) {
  const std::vector<float> samples = {1, 5, 2, 8, 0, 3, 9, 4, 7, 6};
  const Columns columns = Thin(samples, {100, 10}, Wide(2));
  EXPECT_FALSE(columns.whole);
  EXPECT_THAT(columns.values, ElementsAre(0, 8, 3, 9));
  EXPECT_EQ(columns.x, 120) << "the middle of points 0 to 4";
  EXPECT_EQ(columns.step, 50);
}

TEST(TraceColumns, PointsThatHaveRoomAreSentThemselves) {
  const Columns columns = Thin(Counting(10), {5, 0.5}, Wide(5));
  EXPECT_TRUE(columns.whole);
  EXPECT_EQ(columns.count, 10u);
  EXPECT_EQ(columns.x, 5);
  EXPECT_EQ(columns.step, 0.5);
  EXPECT_EQ(columns.values, Counting(10));
}

TEST(TraceColumns, OfAnyLengthAndWidthNoMoreThanTwiceTheColumnsCome) {
  for (std::size_t points = 0; points < 70; ++points) {
    const auto samples = Counting(points);
    for (std::uint32_t width = 0; width < 40; ++width) {
      const Columns columns = Thin(samples, {}, Wide(width));
      ASSERT_LE(columns.values.size(), 2u * width) << points << " points";
      ASSERT_EQ(columns.values.size(), columns.count * (columns.whole ? 1u : 2u));
      if (points == 0 || width == 0) continue;
      EXPECT_EQ(*std::min_element(columns.values.begin(), columns.values.end()), 0) << points << ", " << width;
      EXPECT_EQ(*std::max_element(columns.values.begin(), columns.values.end()), static_cast<float>(points - 1));
    }
  }
}

TEST(TraceColumns, NaNDoesNotCountAndInfinitiesDo) {
  const std::vector<float> samples = {kNaN, 3, kNaN, 1, kNaN, kNaN, kNaN, kNaN, kInfinity, 2, -kInfinity, kNaN};
  const Columns columns = Thin(samples, {}, Wide(3));
  ASSERT_EQ(columns.values.size(), 6u);
  EXPECT_EQ(columns.values[0], 1);
  EXPECT_EQ(columns.values[1], 3);
  EXPECT_THAT(columns.values[2], IsNan());
  EXPECT_THAT(columns.values[3], IsNan());
  EXPECT_EQ(columns.values[4], -kInfinity);
  EXPECT_EQ(columns.values[5], kInfinity);
}

TEST(TraceColumns, OfOneInfinityAloneBothExtremesAreIt) {
  for (const float infinity : {kInfinity, -kInfinity}) {
    const std::vector<float> samples(20, infinity);
    EXPECT_THAT(Thin(samples, {}, Wide(1)).values, ElementsAre(infinity, infinity));
  }
}

TEST(TraceColumns, NegativeNumbersCountOnlyWhereTheyHaveDecibels) {
  const std::vector<float> samples = {-5, 1, 4, -0.0F, -1, -2, -3, -4};
  EXPECT_THAT(Thin(samples, {}, Wide(2), false).values, ElementsAre(-5, 4, -4, -1));
  const auto without = Thin(samples, {}, Wide(2), true).values;
  EXPECT_EQ(without[0], 0) << "minus zero stays";
  EXPECT_EQ(without[1], 4);
  EXPECT_THAT(without[2], IsNan());
}

struct RangeRow {
  const char* why;
  Axis axis;
  std::optional<double> from, to;
  std::size_t begin, end;
};

void PrintTo(const RangeRow& row, std::ostream* stream) { *stream << row.why; }

class Ranges : public testing::TestWithParam<RangeRow> {};

TEST_P(Ranges, HaveOneMorePointOnEitherSide) {
  const RangeRow& row = GetParam();
  const PointRange range = PointsBetween(row.axis, 100, row.from, row.to);
  EXPECT_EQ(range.begin, row.begin) << row.why;
  EXPECT_EQ(range.end, row.end) << row.why;
}

INSTANTIATE_TEST_SUITE_P(TraceColumns, Ranges,
                         testing::Values(RangeRow{"no limits", {}, {}, {}, 0, 100},
                                         RangeRow{"from", {}, 90.5, {}, 90, 100}, RangeRow{"to", {}, {}, 9.5, 0, 11},
                                         RangeRow{"both", {}, 20.5, 29.5, 20, 31},
                                         RangeRow{"other way round", {}, 29.5, 20.5, 20, 31},
                                         RangeRow{"an axis in MHz", {88e6, 1e6}, 98.5e6, 99.5e6, 10, 13},
                                         RangeRow{"a falling axis", {100, -1}, 50.5, 60.5, 39, 51},
                                         RangeRow{"a falling axis without limits", {100, -1}, {}, {}, 0, 100},
                                         RangeRow{"far left", {}, -1e300, -1e299, 0, 0},
                                         RangeRow{"far right", {}, 1e299, 1e300, 100, 100},
                                         RangeRow{"around everything", {}, -1e300, 1e300, 0, 100}),
                         [](const auto& test) { return "Row" + std::to_string(test.index); });

TEST(TraceColumns, ARangeOutsideTheTraceHasNoPoints) {
  const Columns columns = Thin(Counting(100), {}, Wide(50, 1000, 2000));
  EXPECT_EQ(columns.count, 0u);
  EXPECT_THAT(columns.values, IsEmpty());
}

TEST(TraceColumns, AZoomedRangeShowsItsPoints) {
  const Columns columns = Thin(Counting(1000), {}, Wide(100, 500, 505));
  EXPECT_TRUE(columns.whole);
  EXPECT_THAT(columns.values, ElementsAre(500, 501, 502, 503, 504, 505));
  EXPECT_EQ(columns.x, 500);
}

}  // namespace
}  // namespace Lumenar::Web
