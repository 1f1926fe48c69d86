// SPDX-License-Identifier: Apache-2.0
// The library's demonstration device, from its packets to the result of a math object.
#include <cmath>
#include <nlohmann/json.hpp>
#include <numbers>
#include <sstream>

#include "tests/system/sigrok/SigrokFixture.h"

namespace Lumenar::Test {
namespace {

using testing::HasSubstr;

constexpr std::size_t kPoints = 1000;
constexpr double kTolerance = 4e-7;  // of 10 V: half of what two neighbouring floats differ by there

double Sine(std::size_t i) { return 10 * std::sin(2 * std::numbers::pi * static_cast<double>(i % 20) / 20); }

void ExpectSine(const std::vector<float>& samples, double tolerance = kTolerance) {
  ASSERT_EQ(samples.size(), kPoints);
  for (std::size_t i = 0; i < samples.size(); ++i) ASSERT_NEAR(samples[i], Sine(i), tolerance) << i;
}

std::int64_t CaptureTime_ns(const BT_DATA& trace) {
  return static_cast<std::int64_t>(std::uint64_t{trace.header[0]} << 32 | trace.header[1]);
}

/// Mean time between traces, which the first and the last tell.
double Interval_ms(const std::vector<BT_DATA>& traces) {
  const auto span_ns = static_cast<double>(CaptureTime_ns(traces.back()) - CaptureTime_ns(traces.front()));
  return span_ns / 1e6 / static_cast<double>(traces.size() - 1);
}

class DemoDevice : public SigrokFixture {};

TEST_F(DemoDevice, AStreamIsCutIntoTracesWithoutALoss) {
  Process& engine = StartSigrok(Demo("samplerate=20k"));
  ExpectReading(engine, "A1_VOLTAGE_DC");
  const Watcher<BT_DATA> watcher(TopicOf("A1_VOLTAGE_DC"));
  const auto traces = watcher.WaitFor(40);
  ASSERT_GE(traces.size(), 40u);
  for (std::size_t i = 0; i < traces.size(); ++i) {
    ExpectSine(SamplesOf(traces[i]));
    EXPECT_EQ(traces[i].sequence_number, traces[0].sequence_number + i);
    EXPECT_EQ(UnitsOf(traces[i]), Value::Make_unit(Value::U_Volt));
    EXPECT_DOUBLE_EQ(traces[i].x_step, 5e-5);
    EXPECT_EQ(traces[i].header[2], static_cast<CORBA::ULong>(Value::U_Second));
  }
  EXPECT_NEAR(Interval_ms(traces), 50, 10) << "20,000 samples a second are 20 traces";
  EXPECT_EQ(engine.Error(), "SIGROK: demo:logic_channels=0:analog_channels=2 measures\n");
}

TEST_F(DemoDevice, AStreamIsCutIntoAsManyPointsAsWereAskedFor) {
  Settings settings = Demo("samplerate=20k");
  settings["SIGROK_POINTS"] = "250";
  Process& engine = StartSigrok(settings);
  ExpectReading(engine, "A1_VOLTAGE_DC");
  const Watcher<BT_DATA> watcher(TopicOf("A1_VOLTAGE_DC"));
  const auto traces = watcher.WaitFor(20);
  ASSERT_GE(traces.size(), 20u);
  for (std::size_t i = 0; i < traces.size(); ++i) {
    const auto samples = SamplesOf(traces[i]);
    ASSERT_EQ(samples.size(), 250u);
    const std::size_t first = traces[i].sequence_number * std::size_t{250};  // 12 periods and a half each
    for (std::size_t k = 0; k < samples.size(); ++k) ASSERT_NEAR(samples[k], Sine(first + k), kTolerance) << i;
  }
}

TEST_F(DemoDevice, WithOnePointEachSampleIsANumber) {
  Settings settings = Demo("samplerate=50");
  settings["SIGROK_POINTS"] = "1";
  Process& engine = StartSigrok(settings);
  ExpectReading(engine, "A1_VOLTAGE_DC");
  EXPECT_THAT(engine.Out(), HasSubstr("SIGROK: A1_VOLTAGE_DC: numbers in V"));
  const Watcher<Scalar> watcher(TopicOf("A1_VOLTAGE_DC"));
  const auto numbers = watcher.WaitFor(40);
  ASSERT_GE(numbers.size(), 40u);
  std::size_t first = 0;
  while (first < 20 && std::abs(numbers[0].val - Sine(first)) + std::abs(numbers[1].val - Sine(first + 1)) > 1e-5)
    ++first;
  ASSERT_LT(first, 20u) << numbers[0].val;
  for (std::size_t i = 0; i < 40; ++i) EXPECT_NEAR(numbers[i].val, Sine(first + i), kTolerance) << i;
}

TEST_F(DemoDevice, FramesOfAThousandComeTenTimesASecond) {
  Process& engine = StartSigrok(Demo("samplerate=20k:limit_frames=1000000"));
  ExpectReading(engine, "A1_VOLTAGE_DC");
  const Watcher<BT_DATA> watcher(TopicOf("A1_VOLTAGE_DC"));
  const auto traces = watcher.WaitFor(20);
  ASSERT_GE(traces.size(), 20u);
  for (const BT_DATA& trace : traces) EXPECT_EQ(trace.samples.length(), kPoints);
  EXPECT_NEAR(Interval_ms(traces), 100, 20);
}

TEST_F(DemoDevice, AnAverageOverItIsTheSameWave) {
  Process& engine = StartSigrok(Demo("samplerate=20k"));
  ExpectReading(engine, "A1_VOLTAGE_DC");
  Mathctl({"create", "Average", "SIGROK/1/A1_VOLTAGE_DC"});
  Mathctl({"set", "math:0", "SIZE", "5"});
  const std::string topic = nlohmann::json::parse(Mathctl({"list", "--json"})).at("topic");
  const Watcher<BT_DATA> watcher(topic);
  const auto results = watcher.WaitFor(8);
  ASSERT_GE(results.size(), 8u);
  ExpectSine(SamplesOf(results.back()), 10 * kTolerance);  // sums of floats
}

TEST_F(DemoDevice, ItsRateIsSetWhileItMeasures) {
  Settings settings = Demo("samplerate=20k");
  settings["SIGROK_ATTRIBUTES"] = "samplerate,A1.offset";
  Process& engine = StartSigrok(settings);
  ExpectReading(engine, "A1_VOLTAGE_DC");
  const Watcher<BT_DATA> watcher(TopicOf("A1_VOLTAGE_DC"));
  watcher.WaitFor(1);
  Mathctl({"set", "SIGROK/1/SAMPLERATE", "40000"});
  EXPECT_THAT(Mathctl({"get", "SIGROK/1/SAMPLERATE"}), HasSubstr("40000 Hz"));
  EXPECT_TRUE(WaitUntil([&] { return std::abs(watcher.All().back().x_step - 2.5e-5) < 1e-12; }));
  Mathctl({"set", "SIGROK/1/SAMPLERATE", "1e12"}, 1);
  EXPECT_THAT(engine.Out(), HasSubstr("SIGROK: SAMPLERATE is not set: 1000000000000 is not from 1 to 1000000000"));
  EXPECT_THAT(Mathctl({"get", "SIGROK/1/SAMPLERATE"}), HasSubstr("40000 Hz")) << "as before";
}

TEST_F(DemoDevice, AnEndThatItWasToldIsNoLoss) {
  Process& engine = StartSigrok(Demo("samplerate=20k:limit_samples=5000"));
  ExpectReading(engine, "A1_VOLTAGE_DC");
  EXPECT_TRUE(
      engine.WaitForLine("SIGROK: demo:logic_channels=0:analog_channels=2 has measured what it was told to; its "
                         "readings keep their value"));
  EXPECT_THAT(Mathctl({"get", "SIGROK/1/A1_VOLTAGE_DC"}), HasSubstr("1000"));
  engine.Signal(SIGTERM);
  EXPECT_EQ(engine.WaitForExit(), 0);
}

TEST_F(DemoDevice, AllChannelsAreReadingsWithoutASettingThatNamesThem) {
  Process& engine = StartSigrok({{"SIGROK_DEVICE", "demo:analog_channels=3"}, {"SIGROK_CONFIG", "samplerate=10k"}});
  for (const char* name : {"A0_VOLTAGE_DC", "A1_VOLTAGE_DC", "A2_VOLTAGE_DC"}) ExpectReading(engine, name);
  EXPECT_THAT(engine.Out(), testing::Not(HasSubstr("D0"))) << "logic channels are off";
}

TEST_F(DemoDevice, EndsSoonWhenItIsToldTo) {
  Process& engine = StartSigrok(Demo("samplerate=20k"));
  ExpectReading(engine, "A1_VOLTAGE_DC");
  engine.Signal(SIGTERM);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(engine.WaitForExit(), 0) << engine.Error();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(3));
  EXPECT_THAT(engine.Error(), HasSubstr("Lumenar::SigrokInit Join: Got terminate signal\n"));
}

// The library's own program reads the device, too: another reader of the same wave.
TEST_F(DemoDevice, AnotherReaderSeesTheSameWave) {
  if (std::system("command -v sigrok-cli >/dev/null") != 0) GTEST_SKIP() << "sigrok-cli is not there";
  const auto file = platform_.Directory() / "wave.sr";
  Process reader({"sigrok-cli", "-d", "demo:logic_channels=0:analog_channels=2", "-C", "A1", "--config",
                  "samplerate=20k", "--samples", "1000", "-o", file.string()});
  ASSERT_EQ(reader.WaitForExit(kPatience), 0) << reader.Error();
  Process as_text({"sigrok-cli", "-i", file.string(), "-O", "csv"});
  ASSERT_EQ(as_text.WaitForExit(kPatience), 0) << as_text.Error();
  std::istringstream lines(as_text.Out());
  std::vector<double> others;
  for (std::string line; std::getline(lines, line);)
    if (!line.empty() && line.find_first_not_of("+-.0123456789e") == std::string::npos)
      others.push_back(std::stod(line));
  Process& engine = StartSigrok(Demo("samplerate=20k"));
  ExpectReading(engine, "A1_VOLTAGE_DC");
  const Watcher<BT_DATA> watcher(TopicOf("A1_VOLTAGE_DC"));
  const auto traces = watcher.WaitFor(1);
  ASSERT_FALSE(traces.empty());
  const auto ours = SamplesOf(traces.front());
  ASSERT_EQ(others.size(), ours.size());
  for (std::size_t i = 0; i < ours.size(); ++i) EXPECT_NEAR(ours[i], others[i], 5e-5) << i << ", of six digits";
}

}  // namespace
}  // namespace Lumenar::Test
