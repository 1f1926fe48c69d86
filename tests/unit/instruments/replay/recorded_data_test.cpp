// SPDX-License-Identifier: Apache-2.0
// Figures of recorded data, as NumPy computes them from the same files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <numeric>
#include <string>

#include "instruments/replay/load_recording.h"

namespace Lumenar::Replay {
namespace {

using testing::ElementsAre;

std::filesystem::path DataFolder() {
  const char* folder = std::getenv("LUMENAR_RECORDED_DATA");
  return folder != nullptr ? folder : LUMENAR_SHARED_DATA;
}

class RecordedData : public testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(DataFolder())) GTEST_SKIP() << "no recorded data at " << DataFolder();
  }

  static RecordedFile Load(const char* file) { return LoadRecording((DataFolder() / file).string()); }
  static std::vector<float> Sweep(const char* file) { return Load(file).recordings.at(0).sweeps.at(0); }
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

TEST_F(RecordedData, OpenMinusShort) {
  const RecordedFile open = Load("touchstone/P1-MSL_Open_50.s1p");
  EXPECT_NEAR(open.recordings[0].x_step, 1e6, 1e-3);
  const auto difference = Difference(open.recordings[0].sweeps[0], Sweep("touchstone/P1-MSL_Short_50.s1p"));
  ASSERT_EQ(difference.size(), 10000u);
  EXPECT_NEAR(difference[0], 0.00821672, 1e-6);
  EXPECT_NEAR(difference[999], 0.05400386, 1e-6);
  EXPECT_NEAR(Mean(difference), -0.34319862, 1e-6);
  const auto [minimum, maximum] = std::minmax_element(difference.begin(), difference.end());
  EXPECT_EQ(minimum - difference.begin(), 6523);
  EXPECT_EQ(maximum - difference.begin(), 7049);
  EXPECT_NEAR(*minimum, -8.50365489, 1e-5);
  EXPECT_NEAR(*maximum, 2.04834116, 1e-5);
}

TEST_F(RecordedData, ACommentAfterEveryPoint) {
  const RecordedFile ring = Load("touchstone/ring_slot_measured.s1p");
  EXPECT_EQ(ring.recordings[0].sweeps[0].size(), 101u);
  EXPECT_NEAR(ring.recordings[0].x_step, 0.35e9, 1e3);
}

TEST_F(RecordedData, SevenSweeps) {
  const RecordedFile file = Load("rtl_power/sweeps_80M-999M_7x920.csv");
  const auto& sweeps = file.recordings.at(0).sweeps;
  ASSERT_EQ(sweeps.size(), 7u);
  EXPECT_EQ(file.recordings[0].x_step, 1e6);
  ASSERT_TRUE(file.sweeps_per_s);
  EXPECT_NEAR(*file.sweeps_per_s, 6.0 / 220, 1e-12) << "12:29:54 to 12:33:34";
  std::vector<double> average, power, peak;
  for (std::size_t bin = 0; bin < 920; ++bin) {
    std::vector<double> levels, powers;
    for (const auto& sweep : sweeps) levels.push_back(sweep.at(bin));
    for (const double level : levels) powers.push_back(Power(level));
    average.push_back(Mean(levels));
    power.push_back(10 * std::log10(Mean(powers)));
    peak.push_back(*std::max_element(levels.begin(), levels.end()));
  }
  EXPECT_NEAR(Mean(average), -20.507801, 1e-6);
  EXPECT_NEAR(Mean(power), -20.294550, 1e-6);
  EXPECT_NEAR(Mean(peak), -19.719380, 1e-6);
  EXPECT_NEAR(average[707], -9.357, 1e-3);
  EXPECT_NEAR(power[707], 5.827, 1e-3);
}

TEST_F(RecordedData, BinsOfTheFirstSweep) {
  const RecordedFile file = Load("rtl_power/sweeps_80M-999M_7x920.csv");
  const auto& sweeps = file.recordings.at(0).sweeps;
  std::vector<float> at_787_MHz;
  for (const auto& sweep : sweeps) at_787_MHz.push_back(sweep.at(707));
  EXPECT_THAT(at_787_MHz, ElementsAre(-23.18f, -10.85f, 14.2f, -7.01f, -17.25f, -10.72f, -10.69f));
  double sum = 0;
  for (std::size_t bin = 0; bin < 100; ++bin) sum += Power(sweeps[0][bin]);
  EXPECT_NEAR(sum, 3.45016857, 1e-6);
}

TEST_F(RecordedData, TwoScopeChannels) {
  const RecordedFile file = Load("scope/scope_13_1.csv");
  EXPECT_NEAR(file.recordings[0].x_step, 0.2e-6, 1e-12);
  EXPECT_EQ(Value::Units_text(file.recordings[0].units), "V");
  const auto difference = Difference(file.recordings[0].sweeps[0], Sweep("scope/scope_13_2.csv"));
  ASSERT_EQ(difference.size(), 10000u);
  const double mean = Mean(difference);
  EXPECT_NEAR(mean, -0.01713442, 2e-7) << "few levels, so that their rounding to float does not average out";
  double squares = 0;
  for (const double d : difference) squares += (d - mean) * (d - mean);
  EXPECT_NEAR(std::sqrt(squares / static_cast<double>(difference.size())), 0.02422947, 1e-7);
}

TEST_F(RecordedData, Backscatter) {
  const RecordedFile file = Load("otdr/example.csv");
  const auto& levels = file.recordings[0].sweeps[0];
  ASSERT_EQ(levels.size(), 15676u);
  EXPECT_NEAR(file.recordings[0].x_step, 0.15958, 1e-5);
  EXPECT_EQ(*std::min_element(levels.begin(), levels.end()), -63.999f);
  EXPECT_EQ(*std::max_element(levels.begin(), levels.end()), -23.832f);
  EXPECT_NEAR(Mean(levels), -52.15547793, 1e-6);
}

}  // namespace
}  // namespace Lumenar::Replay
