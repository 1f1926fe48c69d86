// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/TraceBySample.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Lumenar::Test {
namespace {

constexpr Value::Units kSampleWatt = Value::C_Watts;
constexpr Value::Units kSampleMilliwatt = Value::Make_unit(Value::U_Watt, 1, -3);
constexpr Value::Units kSample_dBW = Value::Make_unit(Value::U_Watt, 1, 0, true);

/// A trace in watts, its list, and its steps.
struct SteppedTrace {
  explicit SteppedTrace(std::vector<float> numbers) : samples(std::move(numbers)) {
    list.Refresh(samples.size(), kSampleWatt);
  }
  float Entry(std::size_t i) const { return list.At(i, samples.data()).Get_value(); }
  Value::Units UnitAt(std::size_t i) const { return list.At(i, samples.data()).Get_unit(); }

  std::vector<float> samples;
  SampleList list;
  TraceBySample steps{list, samples.data()};
};

TEST(TraceBySample, AnOperandIsBroughtIntoTheUnitOfTheFirstEntry) {
  SteppedTrace trace({1, 2});
  const std::vector<float> operand{1000, 500};
  trace.steps.Apply(&TraceBySample::Sample::operator+=, {operand.data(), kSampleMilliwatt});
  EXPECT_EQ(trace.samples, (std::vector<float>{2, 2.5f}));
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(trace.Entry(i), trace.samples[i]);
    EXPECT_EQ(trace.UnitAt(i), kSampleWatt);
  }
}

TEST(TraceBySample, SamplesBeforeTheOneThatFailsKeepTheirNewValues) {
  SteppedTrace trace({1e-30f, 1e38f, 3});
  EXPECT_THROW(trace.steps.Apply(&TraceBySample::Sample::operator/=, 1e-10f), std::out_of_range);
  EXPECT_EQ(trace.samples, (std::vector<float>{1e-30f / 1e-10f, 1e38f, 3}));
  EXPECT_EQ(trace.Entry(1), 1e38f);
}

TEST(TraceBySample, ThePeakIsTheLargerOfTwoAndKeepsItsOwnUnit) {
  SteppedTrace mine({1, 5, 3});
  const std::vector<float> theirs{4000, 2000, 3000};
  SampleList other;
  other.Refresh(theirs.size(), kSampleMilliwatt);
  mine.steps.HoldPeak(other, theirs.data());
  EXPECT_EQ(mine.samples, (std::vector<float>{4, 5, 3})) << "in the unit of the trace";
  EXPECT_EQ(mine.Entry(0), 4000);
  EXPECT_EQ(mine.UnitAt(0), kSampleMilliwatt);
  EXPECT_EQ(mine.UnitAt(1), kSampleWatt);
  EXPECT_EQ(mine.UnitAt(2), kSampleWatt) << "equal ones stay";
}

TEST(TraceBySample, DecibelsOfWhatHasNoLogarithmAreThoseOfTheSmallestNumber) {
  SteppedTrace trace({10, 0, -7});
  trace.steps.AddDecibels(kSample_dBW);
  EXPECT_EQ(trace.samples[0], 10.0f);
  EXPECT_EQ(trace.samples[1], trace.samples[2]);
  EXPECT_NEAR(trace.samples[1], -379.2978f, 1e-3f) << "10 log10 of 1.175494e-38";
  trace.steps.RemoveDecibels(kSampleWatt);
  EXPECT_EQ(trace.samples[0], 10.0f);
  EXPECT_EQ(trace.UnitAt(0), kSampleWatt);
}

TEST(TraceBySample, LevelsAreSubtractedRelatively) {
  SteppedTrace trace({10, 7});
  trace.steps.AddDecibels(kSample_dBW);
  const std::vector<float> operand{4, 1};
  const std::vector<float> before = trace.samples;
  trace.steps.SubtractRelatively({operand.data(), kSample_dBW});
  EXPECT_EQ(trace.samples, (std::vector<float>{before[0] - 4, before[1] - 1}));
}

TEST(TraceBySample, ASumTakesEntriesInTheirOrder) {
  const SteppedTrace trace({1e8f, 1, 1, -1e8f});
  EXPECT_EQ(TraceBySample::Sum(trace.list, trace.samples.data(), 0, 3).Get_value(), 0.0f)
      << "the ones are lost beside the large number";
  EXPECT_EQ(TraceBySample::Sum(trace.list, trace.samples.data(), 1, 2).Get_value(), 2.0f);
  EXPECT_EQ(TraceBySample::Sum(trace.list, trace.samples.data(), 3, 3).Get_value(), -1e8f);
}

TEST(TraceBySample, OnlyWhatHasNoLogarithmIsRaised) {
  const auto raised = [](float number) { return RaisedToPositive({number, kSampleWatt, 0, 0}).Get_value(); };
  EXPECT_EQ(raised(0), std::numeric_limits<float>::min());
  EXPECT_EQ(raised(-3), std::numeric_limits<float>::min());
  EXPECT_EQ(raised(1e-44f), 1e-44f);
  EXPECT_NE(raised(std::numeric_limits<float>::quiet_NaN()), raised(std::numeric_limits<float>::quiet_NaN()));
}

}  // namespace
}  // namespace Lumenar::Test
