// SPDX-License-Identifier: Apache-2.0
// What instruments measure, as readings, and math objects over them.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <set>

#include "platform/units/Units.h"
#include "tests/support/ScpiFixture.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

class ScpiReadings : public ScpiFixture {
 protected:
  std::string Analyser(const std::string& more) const {
    return fmt::format(
        "connect = {}\nstart = *CLS ; :FORM REAL,32 ; :FORM:BORD SWAP\n[trace LEVEL]\nquery = :TRAC? TRACE1\n"
        "unit = dBm\nx = :SENS:FREQ:STAR? :SENS:FREQ:STOP?\nx_unit = Hz\n{}",
        server_.Analyser(), more);
  }

  /// The eight sweeps that the server has, in the form that was asked for last, as it sends them.
  std::set<std::string> SweepsOfServer() const {
    std::set<std::string> blocks;
    for (int i = 0; i < 8; ++i) blocks.insert(ScpiServer::Ask(server_.Analyser(), ":FORM ASC;:TRAC? TRACE1"));
    return blocks;
  }
};

/// The levels of different sweeps differ by decibels, those of one by the way into linear numbers and back.
bool AreOneSweep(const BT_DATA& one, const BT_DATA& other) {
  if (one.samples.length() != other.samples.length()) return false;
  for (CORBA::ULong i = 0; i < one.samples.length(); ++i)
    if (!(std::abs(one.samples[i] - other.samples[i]) < 1e-3f)) return false;
  return true;
}

/// A sweep as the server wrote it in numbers, as samples.
std::string SamplesOfText(const std::string& text) {
  std::string bytes;
  for (std::size_t at = 0; at < text.size(); at = std::min(text.find(',', at), text.size() - 1) + 1) {
    const float number = std::stof(text.substr(at, 20));
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
  }
  return bytes;
}

TEST_F(ScpiReadings, AMultimetersNumberHasUnitAndBand) {
  StartScpi(
      fmt::format("connect = {}\n[scalar VOLTAGE]\nquery = :MEAS:VOLT:DC?\nunit = V\nrate = 50\n"
                  "error = 0.01 % + 0.0005\n",
                  server_.Multimeter()));
  const Scalar voltage = ScalarNow("VOLTAGE");
  EXPECT_NEAR(voltage.val, 5, 0.011);
  EXPECT_NEAR(voltage.plus_err, voltage.val * 1e-4 + 0.0005, 1e-12);
  EXPECT_EQ(voltage.minus_err, -voltage.plus_err);
  EXPECT_EQ(Value::Units_text(UnitsOf(voltage)), "V");
  EXPECT_TRUE(WaitUntil([&] { return ScalarNow("VOLTAGE").val != voltage.val; })) << "it goes on";
  EXPECT_TRUE(scpi_->WaitForLine("scpi: " + server_.Multimeter() + ": connected to 'Lumenar,Multimeter,0,1.0'"));
  EXPECT_EQ(scpi_->Error(), "");
}

TEST_F(ScpiReadings, AnAnalysersSweepHasUnitAndAxis) {
  StartScpi(Analyser("rate = 50\n"));
  const BT_DATA trace = TraceNow("LEVEL");
  ASSERT_EQ(trace.samples.length(), 10001u);
  EXPECT_EQ(Value::Units_text(UnitsOf(trace)), "dBm");
  EXPECT_EQ(trace.x_step, 1e5);
  EXPECT_EQ(trace.header[2], static_cast<unsigned>(Value::U_Hertz));
  EXPECT_NEAR(trace.samples[5000], -30, 2.1);
  EXPECT_NEAR(trace.samples[0], -90, 2.1);
  EXPECT_TRUE(WaitUntil([&] { return TraceNow("LEVEL").sequence_number > trace.sequence_number + 5; }));
}

/// Each sweep arrives bit for bit in whatever pieces the network delivers it.
TEST_F(ScpiReadings, PiecesOfASweepArePutTogether) {
#ifdef LUMENAR_SHORT_READS
  StartScpi(Analyser("rate = 20\n"), {{"LD_PRELOAD", LUMENAR_SHORT_READS}});
  const Watcher<BT_DATA> watcher(TopicOf("LEVEL"));
  const auto traces = watcher.WaitFor(20);
  ASSERT_GE(traces.size(), 20u);
  EXPECT_EQ(scpi_->Error(), "");
  scpi_->Signal(SIGTERM);  // it no longer asks for blocks when the form is changed
  scpi_->WaitForExit();
  std::set<std::string> expected;
  for (const std::string& sweep : SweepsOfServer()) expected.insert(SamplesOfText(sweep));
  EXPECT_EQ(expected.size(), 8u);
  for (const BT_DATA& trace : traces) {
    ASSERT_EQ(trace.samples.length(), 10001u);
    float largest_difference = 1;
    for (const std::string& sweep : expected) {
      float difference = 0;
      for (CORBA::ULong i = 0; i < trace.samples.length(); ++i) {
        float number = 0;
        std::memcpy(&number, sweep.data() + i * sizeof number, sizeof number);
        difference = std::max(difference, std::abs(number - trace.samples[i]));
      }
      largest_difference = std::min(largest_difference, difference);
    }
    EXPECT_LT(largest_difference, 1e-4f) << "one of the eight, which the server writes with seven digits";
  }
#else
  GTEST_SKIP() << "needs a library before all others";
#endif
}

/// Every sweep reaches RESULT: an Average of one sample publishes each as it is.
TEST_F(ScpiReadings, NoneOfFiftySweepsASecondIsLost) {
  constexpr std::size_t kSweeps = 100;
  StartScpi(Analyser("rate = 50\n"));
  Corvanta::EngineReadingBase_var reading = Item<Corvanta::EngineReadingBase>("LEVEL");
  Corvanta::MathFactory::ReadingAttribSeq inputs;
  inputs.length(1);
  inputs[0] = reading;
  Corvanta::MathFactory::Math_var math = Create(Average, inputs);
  Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
  Corvanta::EngineAttribLong_var size = average->AttrSize();
  size->Set(1);
  const Watcher<BT_DATA> results(ResultTopic(math)), sweeps(TopicOf("LEVEL"));
  const auto published = sweeps.WaitFor(kSweeps);
  const auto averaged = results.WaitFor(kSweeps);
  ASSERT_GE(published.size(), kSweeps);
  ASSERT_GE(averaged.size(), kSweeps);
  for (std::size_t i = 1; i < published.size(); ++i)
    ASSERT_EQ(published[i].sequence_number, published[i - 1].sequence_number + 1);
  // The server's sweeps differ from each other and come again after eight.
  std::size_t first = 0;
  while (first < 8 && !AreOneSweep(averaged[first], published[0])) ++first;
  ASSERT_LT(first, 8u);
  for (std::size_t i = 0; i + first < kSweeps; ++i)
    ASSERT_TRUE(AreOneSweep(averaged[first + i], published[i])) << "sweep " << i;
}

TEST_F(ScpiReadings, TextRealsAndScaledNumbersAreTheSameSweep) {
  StartScpi(
      Analyser("rate = 50\n[trace SCALED]\nquery = :TRAC? TRACE1\nscale = 2 ; offset = 100 ; zero = -1\nx = "
               "0.5\nx_unit = ms\n"));
  const BT_DATA scaled = TraceNow("SCALED");
  EXPECT_NEAR(scaled.samples[5000], (-30 + 1) * 2 + 100, 4.2);
  EXPECT_DOUBLE_EQ(scaled.x_step, 0.5e-3);
  EXPECT_EQ(scaled.header[2], static_cast<unsigned>(Value::U_Second));
}

TEST_F(ScpiReadings, SeveralDevicesShareAnEngine) {
  const auto file = (platform_.Directory() / "dmm.scpi").string();
  WriteText(file, "[scalar VOLTAGE]\nquery = :MEAS:VOLT:DC?\nunit = V\n");
  StartScpiWith(fmt::format("A={}@{} ; B={}@{} ; spectrum_analyser@{}", file, server_.Multimeter(), file,
                            server_.Multimeter(), server_.Analyser()));
  EXPECT_TRUE(WaitUntil([&] { return Items().size() == 5; }, 20s)) << scpi_->Error();
  EXPECT_THAT(Items(), UnorderedElementsAre("A_VOLTAGE ValueDouble", "B_VOLTAGE ValueDouble", "LEVEL BasicTrace",
                                            "CENTER ValueDouble set", "SPAN ValueDouble set"));
}

}  // namespace
}  // namespace Lumenar::Test
