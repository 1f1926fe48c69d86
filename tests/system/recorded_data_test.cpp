// SPDX-License-Identifier: Apache-2.0
// Recorded measurements through the running engine, against figures that a program of its own computed from the same
// files.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "instruments/replay/load_recording.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/RecordedFigures.h"

namespace Lumenar::Test {
namespace {

using Replay::Recording;

/// dB of a plain ratio, written as 100 percent, for an operation that asks for a unit.
constexpr Value::Units kRatio_dB = Value::Make_unit(Value::U_Percent, 1, 2, true);

double Mean(const std::vector<float>& samples) {
  return std::accumulate(samples.begin(), samples.end(), 0.0) / static_cast<double>(samples.size());
}

class RecordedData : public EngineFixture, public testing::WithParamInterface<RecordedFigures> {
 protected:
  static Recording Load(const std::string& file) {
    return Replay::LoadRecording(GetParam().File(file)).recordings.at(0);
  }

  /// RESULT after all sweeps of a recording went through an object of one input.
  std::vector<float> ResultOverSweeps(MathType type, const Recording& recording, int size) {
    TraceInput input(bench_, "SWEEPS", Trace(recording.sweeps.front(), recording.units));
    Corvanta::MathFactory::Math_var math = Create(type, Inputs(input));
    if (type == Average) {
      Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
      Corvanta::EngineAttribLong_var(average->AttrSize())->Set(size);
    }
    Watcher<BT_DATA> results(ResultTopic(math));
    for (std::size_t i = 1; i < recording.sweeps.size(); ++i) input = Trace(recording.sweeps[i], recording.units);
    EXPECT_EQ(results.WaitFor(recording.sweeps.size() - 1).size(), recording.sweeps.size() - 1);
    return SamplesOf(TraceResult(math));
  }
};

TEST_P(RecordedData, OpenMinusShortInDecibels) {
  const auto& expected = GetParam().reflection;
  TraceInput open(bench_, "OPEN", Trace(Load(expected.open).sweeps[0], kRatio_dB));
  TraceInput shorted(bench_, "SHORT", Trace(Load(expected.shorted).sweeps[0], kRatio_dB));
  Corvanta::MathFactory::Math_var math = Create(RelativeSubtract, Inputs(open, shorted));
  const std::vector<float> difference = SamplesOf(TraceResult(math));
  ASSERT_EQ(difference.size(), expected.points);
  for (const auto& [index, level] : expected.differences) EXPECT_NEAR(difference[index], level, 1e-6) << index;
  EXPECT_NEAR(Mean(difference), expected.mean, 1e-6);
  EXPECT_EQ(std::min_element(difference.begin(), difference.end()) - difference.begin(), expected.lowest.index);
  EXPECT_EQ(std::max_element(difference.begin(), difference.end()) - difference.begin(), expected.highest.index);
  EXPECT_NEAR(difference[expected.lowest.index], expected.lowest.level, 1e-5);
  EXPECT_NEAR(difference[expected.highest.index], expected.highest.level, 1e-5);
}

TEST_P(RecordedData, SevenSweepsAveragedInLinearPower) {
  const auto& expected = GetParam().sweeps;
  const auto mean = ResultOverSweeps(Average, Load(expected.file), 7);
  ASSERT_EQ(mean.size(), expected.bins);
  EXPECT_NEAR(Mean(mean), expected.mean_of_powers, 1e-4);
  EXPECT_NEAR(mean[expected.loud_bin], 5.827, 1e-3);
}

TEST_P(RecordedData, SevenSweepsHeldAtTheirPeak) {
  const auto& expected = GetParam().sweeps;
  const auto peak = ResultOverSweeps(Peak, Load(expected.file), 0);
  EXPECT_NEAR(Mean(peak), expected.mean_of_peaks, 1e-5);
  EXPECT_NEAR(peak[expected.loud_bin], 14.2, 1e-5);
}

TEST_P(RecordedData, SumOfTheFirstBins) {
  const auto& expected = GetParam().sweeps;
  const Recording sweeps = Load(expected.file);
  TraceInput trace(bench_, "SWEEP", Trace(sweeps.sweeps[0], sweeps.units));
  LongInput start(bench_, "START", 0);
  LongInput stop(bench_, "STOP", static_cast<int>(expected.summed_bins) - 1);
  Corvanta::MathFactory::Math_var math = Create(CumulativeAdd, Inputs(trace, start, stop));
  EXPECT_NEAR(ScalarResult(math).val, 10 * std::log10(expected.sum), 1e-5);
}

TEST_P(RecordedData, DifferenceOfTwoOscilloscopeChannels) {
  const auto& expected = GetParam().scope;
  const Recording first = Load(expected.first);
  const Recording second = Load(expected.second);
  TraceInput a(bench_, "CHANNEL", Trace(first.sweeps[0], first.units));
  TraceInput b(bench_, "CHANNEL", Trace(second.sweeps[0], second.units));
  Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(a, b));
  const std::vector<float> difference = SamplesOf(TraceResult(math));
  const double mean = Mean(difference);
  double squares = 0;
  for (float sample : difference) squares += (sample - mean) * (sample - mean);
  EXPECT_NEAR(mean, expected.mean_V, 1e-6);
  EXPECT_NEAR(std::sqrt(squares / static_cast<double>(difference.size())), expected.deviation_V, 1e-6);
  EXPECT_EQ(UnitsOf(TraceResult(math)), Value::Make_unit(Value::U_Volt));
}

TEST_P(RecordedData, BackscatterLevelsOfAFibre) {
  const auto& expected = GetParam().fibre;
  const auto levels = ResultOverSweeps(Peak, Load(expected.file), 0);
  ASSERT_EQ(levels.size(), expected.points);
  EXPECT_NEAR(*std::min_element(levels.begin(), levels.end()), expected.lowest, 1e-5);
  EXPECT_NEAR(*std::max_element(levels.begin(), levels.end()), expected.highest, 1e-5);
  EXPECT_NEAR(Mean(levels), expected.mean, 1e-5);
}

INSTANTIATE_TEST_SUITE_P(Sets, RecordedData, testing::ValuesIn(RecordedSets()),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace Lumenar::Test
