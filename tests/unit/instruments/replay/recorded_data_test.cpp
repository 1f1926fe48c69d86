// SPDX-License-Identifier: Apache-2.0
// Figures of recorded data, as a program of its own computed them from the same files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>

#include "instruments/replay/load_recording.h"
#include "tests/support/RecordedFigures.h"

namespace Lumenar::Replay {
namespace {

using testing::ElementsAre;

class RecordedData : public testing::TestWithParam<Test::RecordedFigures> {
 protected:
  static RecordedFile Load(const std::string& file) { return LoadRecording(GetParam().File(file)); }
  static std::vector<float> Sweep(const std::string& file) { return Load(file).recordings.at(0).sweeps.at(0); }
};

std::vector<double> Difference(const std::vector<float>& a, const std::vector<float>& b) {
  std::vector<double> difference;
  for (std::size_t i = 0; i < a.size(); ++i) difference.push_back(static_cast<double>(a[i]) - b.at(i));
  return difference;
}

template <class Number>
double Mean(const std::vector<Number>& numbers) {
  return std::accumulate(numbers.begin(), numbers.end(), 0.0) / static_cast<double>(numbers.size());
}

double Power(double level) { return std::pow(10, level / 10); }

TEST_P(RecordedData, OpenMinusShort) {
  const auto& expected = GetParam().reflection;
  const RecordedFile open = Load(expected.open);
  EXPECT_NEAR(open.recordings[0].x_step, 1e6, 1e-3);
  const auto difference = Difference(open.recordings[0].sweeps[0], Sweep(expected.shorted));
  ASSERT_EQ(difference.size(), expected.points);
  for (const auto& [index, level] : expected.differences) EXPECT_NEAR(difference[index], level, 1e-6) << index;
  EXPECT_NEAR(Mean(difference), expected.mean, 1e-6);
  const auto [minimum, maximum] = std::minmax_element(difference.begin(), difference.end());
  EXPECT_EQ(minimum - difference.begin(), expected.lowest.index);
  EXPECT_EQ(maximum - difference.begin(), expected.highest.index);
  EXPECT_NEAR(*minimum, expected.lowest.level, 1e-5);
  EXPECT_NEAR(*maximum, expected.highest.level, 1e-5);
}

TEST_P(RecordedData, ACommentAfterEveryPoint) {
  const RecordedFile ring = Load(GetParam().ring_slot);
  EXPECT_EQ(ring.recordings[0].sweeps[0].size(), 101u);
  EXPECT_NEAR(ring.recordings[0].x_step, 0.35e9, 1e3);
}

TEST_P(RecordedData, SevenSweeps) {
  const auto& expected = GetParam().sweeps;
  const RecordedFile file = Load(expected.file);
  const auto& sweeps = file.recordings.at(0).sweeps;
  ASSERT_EQ(sweeps.size(), 7u);
  EXPECT_EQ(file.recordings[0].x_step, 1e6);
  ASSERT_TRUE(file.sweeps_per_s);
  EXPECT_NEAR(*file.sweeps_per_s, 6.0 / 220, 1e-12) << "12:29:54 to 12:33:34";
  std::vector<double> average, power, peak;
  for (std::size_t bin = 0; bin < expected.bins; ++bin) {
    std::vector<double> levels, powers;
    for (const auto& sweep : sweeps) levels.push_back(sweep.at(bin));
    for (const double level : levels) powers.push_back(Power(level));
    average.push_back(Mean(levels));
    power.push_back(10 * std::log10(Mean(powers)));
    peak.push_back(*std::max_element(levels.begin(), levels.end()));
  }
  EXPECT_NEAR(Mean(average), expected.mean_of_levels, 1e-6);
  EXPECT_NEAR(Mean(power), expected.mean_of_powers, 1e-6);
  EXPECT_NEAR(Mean(peak), expected.mean_of_peaks, 1e-6);
  EXPECT_NEAR(average[expected.loud_bin], -9.357, 1e-3);
  EXPECT_NEAR(power[expected.loud_bin], 5.827, 1e-3);
}

TEST_P(RecordedData, BinsOfTheFirstSweep) {
  const auto& expected = GetParam().sweeps;
  const RecordedFile file = Load(expected.file);
  const auto& sweeps = file.recordings.at(0).sweeps;
  std::vector<float> at_787_MHz;
  for (const auto& sweep : sweeps) at_787_MHz.push_back(sweep.at(expected.loud_bin));
  EXPECT_THAT(at_787_MHz, ElementsAre(-23.18f, -10.85f, 14.2f, -7.01f, -17.25f, -10.72f, -10.69f));
  double sum = 0;
  for (std::size_t bin = 0; bin < expected.summed_bins; ++bin) sum += Power(sweeps[0][bin]);
  EXPECT_NEAR(sum, expected.sum, 1e-6 * expected.sum);
}

TEST_P(RecordedData, TwoScopeChannels) {
  const auto& expected = GetParam().scope;
  const RecordedFile file = Load(expected.first);
  EXPECT_NEAR(file.recordings[0].x_step, expected.step_s, 1e-12);
  EXPECT_EQ(Value::Units_text(file.recordings[0].units), "V");
  const auto difference = Difference(file.recordings[0].sweeps[0], Sweep(expected.second));
  ASSERT_EQ(difference.size(), expected.points);
  const double mean = Mean(difference);
  EXPECT_NEAR(mean, expected.mean_V, 2e-7) << "few levels, so that their rounding to float does not average out";
  double squares = 0;
  for (const double d : difference) squares += (d - mean) * (d - mean);
  EXPECT_NEAR(std::sqrt(squares / static_cast<double>(difference.size())), expected.deviation_V, 1e-7);
}

TEST_P(RecordedData, Backscatter) {
  const auto& expected = GetParam().fibre;
  const RecordedFile file = Load(expected.file);
  const auto& levels = file.recordings[0].sweeps[0];
  ASSERT_EQ(levels.size(), expected.points);
  EXPECT_NEAR(file.recordings[0].x_step, 0.15958, 1e-5);
  EXPECT_EQ(*std::min_element(levels.begin(), levels.end()), static_cast<float>(expected.lowest));
  EXPECT_EQ(*std::max_element(levels.begin(), levels.end()), static_cast<float>(expected.highest));
  EXPECT_NEAR(Mean(levels), expected.mean, 3e-6);
}

INSTANTIATE_TEST_SUITE_P(Sets, RecordedData, testing::ValuesIn(Test::RecordedSets()),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace Lumenar::Replay
