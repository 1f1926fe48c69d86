// SPDX-License-Identifier: Apache-2.0
// Recorded measurements through the running engine, against figures computed with NumPy from the same files.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <numeric>

#include "instruments/replay/load_recording.h"
#include "tests/system/EngineFixture.h"

namespace Lumenar::Test {
namespace {

using Replay::Recording;

/// dB of a plain ratio, written as 100 percent, for an operation that asks for a unit.
constexpr Value::Units kRatio_dB = Value::Make_unit(Value::U_Percent, 1, 2, true);

std::filesystem::path DataFolder() {
  const char* folder = std::getenv("LUMENAR_RECORDED_DATA");
  return folder != nullptr ? folder : SHARED_DATA;
}

Recording Load(const char* file) { return Replay::LoadRecording((DataFolder() / file).string()).recordings.at(0); }

double Mean(const std::vector<float>& samples) {
  return std::accumulate(samples.begin(), samples.end(), 0.0) / static_cast<double>(samples.size());
}

class RecordedData : public testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(DataFolder())) GTEST_SKIP() << "no recorded data at " << DataFolder();
    rig_ = std::make_unique<Rig>();
  }

  /// An engine to feed; made only where there is data.
  struct Rig : EngineFixture {
    void TestBody() override {}
    using EngineFixture::bench_;
    using EngineFixture::Create;
    using EngineFixture::Inputs;
    using EngineFixture::ResultTopic;
    using EngineFixture::ScalarResult;
    using EngineFixture::TraceResult;
  };

  /// RESULT after all sweeps of a recording went through an object of one input.
  std::vector<float> ResultOverSweeps(MathType type, const Recording& recording, int size) {
    TraceInput input(rig_->bench_, "SWEEPS", Trace(recording.sweeps.front(), recording.units));
    Corvanta::MathFactory::Math_var math = rig_->Create(type, Rig::Inputs(input));
    if (type == Average) {
      Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
      Corvanta::EngineAttribLong_var(average->AttrSize())->Set(size);
    }
    Watcher<BT_DATA> results(Rig::ResultTopic(math));
    for (std::size_t i = 1; i < recording.sweeps.size(); ++i) input = Trace(recording.sweeps[i], recording.units);
    EXPECT_EQ(results.WaitFor(recording.sweeps.size() - 1).size(), recording.sweeps.size() - 1);
    return SamplesOf(Rig::TraceResult(math));
  }

  std::unique_ptr<Rig> rig_;
};

TEST_F(RecordedData, OpenMinusShortInDecibels) {
  TraceInput open(rig_->bench_, "OPEN", Trace(Load("touchstone/P1-MSL_Open_50.s1p").sweeps[0], kRatio_dB));
  TraceInput shorted(rig_->bench_, "SHORT", Trace(Load("touchstone/P1-MSL_Short_50.s1p").sweeps[0], kRatio_dB));
  Corvanta::MathFactory::Math_var math = rig_->Create(RelativeSubtract, Rig::Inputs(open, shorted));
  const std::vector<float> difference = SamplesOf(Rig::TraceResult(math));
  ASSERT_EQ(difference.size(), 10000u);
  EXPECT_NEAR(difference[0], 0.00821672, 1e-6);
  EXPECT_NEAR(difference[999], 0.05400386, 1e-6);
  EXPECT_NEAR(Mean(difference), -0.34319862, 1e-6);
  EXPECT_EQ(std::min_element(difference.begin(), difference.end()) - difference.begin(), 6523);
  EXPECT_EQ(std::max_element(difference.begin(), difference.end()) - difference.begin(), 7049);
  EXPECT_NEAR(difference[6523], -8.50365489, 1e-5);
  EXPECT_NEAR(difference[7049], 2.04834116, 1e-5);
}

TEST_F(RecordedData, SevenSweepsAveragedInLinearPower) {
  const auto mean = ResultOverSweeps(Average, Load("rtl_power/sweeps_80M-999M_7x920.csv"), 7);
  ASSERT_EQ(mean.size(), 920u);
  EXPECT_NEAR(Mean(mean), -20.294550, 1e-4);
  EXPECT_NEAR(mean[707], 5.827, 1e-3);
}

TEST_F(RecordedData, SevenSweepsHeldAtTheirPeak) {
  const auto peak = ResultOverSweeps(Peak, Load("rtl_power/sweeps_80M-999M_7x920.csv"), 0);
  EXPECT_NEAR(Mean(peak), -19.719380, 1e-5);
  EXPECT_NEAR(peak[707], 14.2, 1e-5);
}

TEST_F(RecordedData, SumOfTheFirstHundredBins) {
  const Recording sweeps = Load("rtl_power/sweeps_80M-999M_7x920.csv");
  TraceInput trace(rig_->bench_, "SWEEP", Trace(sweeps.sweeps[0], sweeps.units));
  LongInput start(rig_->bench_, "START", 0);
  LongInput stop(rig_->bench_, "STOP", 99);
  Corvanta::MathFactory::Math_var math = rig_->Create(CumulativeAdd, Rig::Inputs(trace, start, stop));
  EXPECT_NEAR(Rig::ScalarResult(math).val, 5.378403, 1e-5);
}

TEST_F(RecordedData, DifferenceOfTwoOscilloscopeChannels) {
  const Recording first = Load("scope/scope_13_1.csv");
  const Recording second = Load("scope/scope_13_2.csv");
  TraceInput a(rig_->bench_, "CHANNEL", Trace(first.sweeps[0], first.units));
  TraceInput b(rig_->bench_, "CHANNEL", Trace(second.sweeps[0], second.units));
  Corvanta::MathFactory::Math_var math = rig_->Create(Subtract, Rig::Inputs(a, b));
  const std::vector<float> difference = SamplesOf(Rig::TraceResult(math));
  const double mean = Mean(difference);
  double squares = 0;
  for (float sample : difference) squares += (sample - mean) * (sample - mean);
  EXPECT_NEAR(mean, -0.01713442, 1e-6);
  EXPECT_NEAR(std::sqrt(squares / static_cast<double>(difference.size())), 0.02422947, 1e-6);
  EXPECT_EQ(UnitsOf(Rig::TraceResult(math)), Value::Make_unit(Value::U_Volt));
}

TEST_F(RecordedData, BackscatterLevelsOfAFibre) {
  const auto levels = ResultOverSweeps(Peak, Load("otdr/example.csv"), 0);
  ASSERT_EQ(levels.size(), 15676u);
  EXPECT_NEAR(*std::min_element(levels.begin(), levels.end()), -63.999, 1e-5);
  EXPECT_NEAR(*std::max_element(levels.begin(), levels.end()), -23.832, 1e-5);
  EXPECT_NEAR(Mean(levels), -52.15547793, 1e-5);
}

}  // namespace
}  // namespace Lumenar::Test
