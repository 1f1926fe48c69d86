// SPDX-License-Identifier: Apache-2.0
// The instruments as engines: each in its host, on a platform of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "EngineAttrib.hh"
#include "GuiAble.hh"
#include "HwEnumerate.hh"
#include "instruments/sim/Waveform.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/records/Records.h"
#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Test {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;
using testing::ElementsAre;

class InstrumentEngines : public testing::Test {
 protected:
  InstrumentEngines() {
    platform_.UseInThisProcess();
    orb_ = std::make_unique<Corvanta::ORB_wrapper_base>(localargc, localargv);
  }

  /// The registration object, found under the engine's own name.
  Corvanta::GUI_Able_var Registration(const std::string& name) {
    CORBA::Object_var object = orb_->Resolve({"Lumenar", "local", name, "1"});
    return Corvanta::GUI_Able::_narrow(object);
  }

  std::vector<std::string> ItemsOf(const std::string& engine) {
    Corvanta::ItemSeq_var items = Registration(engine)->Items();
    std::vector<std::string> lines;
    for (CORBA::ULong i = 0; i < items->length(); ++i) {
      lines.push_back(std::string(items[i].name) + " " + items[i].type_name.in() + (items[i].settable ? " set" : ""));
    }
    return lines;
  }

  template <class Interface>
  typename Interface::_var_type Find(const std::string& engine, const std::string& name) {
    Corvanta::ItemSeq_var items = Registration(engine)->Items();
    for (CORBA::ULong i = 0; i < items->length(); ++i) {
      if (name == items[i].name.in()) return Interface::_narrow(items[i].reference);
    }
    ADD_FAILURE() << engine << " has no item " << name;
    return Interface::_nil();
  }

  BT_DATA Trace(const std::string& engine, const std::string& name) {
    Corvanta::EngineBasicTrace_var reading = Find<Corvanta::EngineBasicTrace>(engine, name);
    Corvanta::BASIC_TRACE::BT_DATA_var record = reading->Get();
    return record.in();
  }

  IsolatedPlatform platform_;
  std::unique_ptr<Corvanta::ORB_wrapper_base> orb_;
};

std::vector<float> SamplesOf(const BT_DATA& trace) {
  return {trace.samples.get_buffer(), trace.samples.get_buffer() + trace.samples.length()};
}

std::string UnitsOf(const BT_DATA& trace) { return Value::Units_text(VALUE::UnitsFromCorba(trace.units)); }

std::uint64_t CaptureTime_ns(const BT_DATA& trace) { return std::uint64_t{trace.header[0]} << 32 | trace.header[1]; }

TEST_F(InstrumentEngines, SimStepsByHandThroughSamplesThatAreKnown) {
  platform_.StartEngine("sim", {{"SIM_READINGS", "trace:T:points=16:rate=0:units=dBm:wave=noise:seed=9:xstep=2"}});
  EXPECT_THAT(ItemsOf("SIM"), ElementsAre("T BasicTrace", "T_STEP long set"));
  Corvanta::EngineAttribLong_var step = Find<Corvanta::EngineAttribLong>("SIM", "T_STEP");
  const Sim::Waveform expected({Sim::Wave::Noise, 1, 0, 16, 9});
  std::uint64_t last_time = 0;
  for (unsigned n = 0; n < 5; ++n) {
    if (n > 0) step->Set(100);
    const BT_DATA trace = Trace("SIM", "T");
    std::vector<float> samples(16);
    expected.Fill(n, samples);
    EXPECT_EQ(SamplesOf(trace), samples) << n;
    EXPECT_EQ(trace.sequence_number, n);
    EXPECT_EQ(trace.flags, 0u);
    EXPECT_EQ(trace.x_step, 2);
    EXPECT_EQ(UnitsOf(trace), "dBm");
    EXPECT_GT(CaptureTime_ns(trace), last_time);
    last_time = CaptureTime_ns(trace);
  }
  EXPECT_EQ(step->Get(), 100);
}

TEST_F(InstrumentEngines, SimScalarsLongsAndSettings) {
  platform_.StartEngine("sim", {{"SIM_READINGS",
                                 "value:V:rate=0:wave=count:units=V:error=0.5;long:L:rate=0:wave=count:offset=2;"
                                 "setting:S:value=3:upper=5"}});
  EXPECT_THAT(ItemsOf("SIM"),
              ElementsAre("V ValueDouble", "V_STEP long set", "L long", "L_STEP long set", "S long set"));
  Find<Corvanta::EngineAttribLong>("SIM", "V_STEP")->Set(1);
  Find<Corvanta::EngineAttribLong>("SIM", "L_STEP")->Set(1);
  const Corvanta::VALUE_DOUBLE::VALUE value = Find<Corvanta::EngineReadingValueDouble>("SIM", "V")->Get();
  EXPECT_EQ(value.val, 1);
  EXPECT_EQ(value.minus_err, -0.5);
  EXPECT_EQ(value.plus_err, 0.5);
  EXPECT_EQ(Find<Corvanta::EngineReadingLong>("SIM", "L")->Get(), 3);
  Corvanta::EngineAttribLong_var setting = Find<Corvanta::EngineAttribLong>("SIM", "S");
  EXPECT_EQ(setting->Get(), 3);
  setting->Set(5);
  EXPECT_EQ(setting->Get(), 5);
  EXPECT_THROW(setting->Set(6), Corvanta::LimitsExceeded);
}

TEST_F(InstrumentEngines, SimRunsAtItsRate) {
  platform_.StartEngine("sim", {{"SIM_READINGS", "trace:T:points=2:rate=200"}});
  EXPECT_TRUE(WaitUntil([&] { return Trace("SIM", "T").sequence_number >= 20; }));
}

TEST_F(InstrumentEngines, ReplayPublishesEverySweepInTurn) {
  const std::string folder = LUMENAR_SAMPLE_RECORDINGS;
  platform_.StartEngine("replay",
                        {{"REPLAY_FILES", folder + "/spectrum.csv:" + folder + "/two_port.s2p"}, {"REPLAY_RATE", "0"}});
  EXPECT_THAT(ItemsOf("REPLAY"), ElementsAre("SPECTRUM BasicTrace", "SPECTRUM_STEP long set", "TWO_PORT_S11 BasicTrace",
                                             "TWO_PORT_S21 BasicTrace", "TWO_PORT_S12 BasicTrace",
                                             "TWO_PORT_S22 BasicTrace", "TWO_PORT_STEP long set"));
  Corvanta::EngineAttribLong_var step = Find<Corvanta::EngineAttribLong>("REPLAY", "SPECTRUM_STEP");
  EXPECT_THAT(SamplesOf(Trace("REPLAY", "SPECTRUM")), ElementsAre(-10, -20, -30, -40));
  step->Set(1);
  EXPECT_THAT(SamplesOf(Trace("REPLAY", "SPECTRUM")), ElementsAre(-11, -21, -31, -41));
  step->Set(2);
  const BT_DATA again = Trace("REPLAY", "SPECTRUM");
  EXPECT_THAT(SamplesOf(again), ElementsAre(-10, -20, -30, -40)) << "the recording starts again";
  EXPECT_EQ(again.sequence_number, 2u);
  EXPECT_EQ(again.x_step, 1e6);
  EXPECT_EQ(UnitsOf(again), "dB(10^2 %)") << "of a unit, for RelativeSubtract";
}

TEST_F(InstrumentEngines, ReplayOnceStaysAtTheLastSweep) {
  const std::string file = std::string(LUMENAR_SAMPLE_RECORDINGS) + "/spectrum.csv";
  platform_.StartEngine("replay", {{"REPLAY_FILES", file}, {"REPLAY_RATE", "0"}, {"REPLAY_LOOP", "once"}});
  Corvanta::EngineAttribLong_var step = Find<Corvanta::EngineAttribLong>("REPLAY", "SPECTRUM_STEP");
  for (int i = 0; i < 3; ++i) step->Set(i);
  EXPECT_EQ(Trace("REPLAY", "SPECTRUM").sequence_number, 1u);
}

TEST_F(InstrumentEngines, ABadRecordingIsOneLineAndNoEngine) {
  const std::string file = (platform_.Directory() / "bad.s1p").string();
  std::ofstream(file) << "# GHz S RI R 50\n1 2\n";
  auto host = platform_.Start("engine_host", {BuiltEngineLibrary("replay").string()}, {{"REPLAY_FILES", file}});
  EXPECT_EQ(host->WaitForExit(), 1);
  EXPECT_EQ(host->Error(), "Lumenar::ReplayInit new: Caught exception " + file + ":2: expected 3 numbers, found 2\n");
  EXPECT_EQ(host->Out(), "Lumenar::ReplayInit createEngine\n");
  EXPECT_THAT(orb_->List({"Lumenar", "local", "REPLAY"}), ElementsAre()) << "no name is left behind";
}

TEST_F(InstrumentEngines, ProbeMeasuresThisMachine) {
  platform_.StartEngine("probe", {{"PROBE_RATE", "50"}});
  EXPECT_THAT(ItemsOf("PROBE"),
              testing::IsSupersetOf({"WAKEUP BasicTrace", "WAKEUP_DB BasicTrace", "START long set", "STOP long set",
                                     "CPU_LOAD ValueDouble", "MEMORY_FREE ValueDouble"}));
  EXPECT_TRUE(WaitUntil([&] { return Trace("PROBE", "WAKEUP").samples[0] > 0; })) << "1,001 periods have passed";
  const BT_DATA wakeup = Trace("PROBE", "WAKEUP");
  EXPECT_EQ(wakeup.samples.length(), 1001u);
  EXPECT_EQ(UnitsOf(wakeup), "us");
  EXPECT_EQ(wakeup.x_step, 1e-3);
  EXPECT_GT(wakeup.sequence_number, 10u);
  const BT_DATA level = Trace("PROBE", "WAKEUP_DB");
  EXPECT_EQ(UnitsOf(level), "dB(us)");
  EXPECT_GE(level.samples[0], -30);
  Corvanta::EngineAttribLong_var stop = Find<Corvanta::EngineAttribLong>("PROBE", "STOP");
  EXPECT_EQ(stop->Get(), 1000);
  EXPECT_THROW(stop->Set(1001), Corvanta::LimitsExceeded);
  stop->Set(500);
  EXPECT_EQ(stop->Get(), 500);
  const Corvanta::VALUE_DOUBLE::VALUE load = Find<Corvanta::EngineReadingValueDouble>("PROBE", "CPU_LOAD")->Get();
  EXPECT_GE(load.val, 0);
  EXPECT_LE(load.val, 100);
  EXPECT_LT(load.minus_err, 0);
}

TEST_F(InstrumentEngines, AnInstrumentAnnouncesItselfAndEndsWithASignal) {
  Process& sim = platform_.StartEngine("sim", {{"SIM_READINGS", "trace:T:rate=500"}});
  CORBA::Object_var object = orb_->Resolve({"Lumenar", "local", "HWENUM_ABLE", "1"});
  Corvanta::HwEnumerate_Able_var service = Corvanta::HwEnumerate_Able::_narrow(object);
  Corvanta::EngineProgressSeq_var engines = service->Engines();
  ASSERT_EQ(engines->length(), 1u);
  EXPECT_STREQ(engines[0u].engine, "sim.engine");
  EXPECT_STREQ(engines[0u].progress, "100");
  sim.Signal(SIGTERM);
  EXPECT_EQ(sim.WaitForExit(), 0);
  EXPECT_THAT(sim.Out(), testing::StartsWith("Lumenar::SimInit createEngine\n"));
  EXPECT_EQ(sim.Error(), "Lumenar::SimInit Join: Got terminate signal\n");
  EXPECT_THAT(orb_->List({"Lumenar", "local", "SIM"}), ElementsAre());
}

TEST(InstrumentEnginesAlone, RunWithoutTopicManagerAndHardwareEnumeration) {
  IsolatedPlatform::Options options;
  options.topic_manager = false;
  options.hw_enumeration = false;
  IsolatedPlatform platform(options);
  Process& sim = platform.StartEngine("sim", {{"SIM_READINGS", "trace:T:rate=500"}});
  EXPECT_THAT(sim.Out(), testing::HasSubstr("Lumenar::SimInit not announced to hardware enumeration: "));
  sim.Signal(SIGTERM);
  EXPECT_EQ(sim.WaitForExit(), 0);
}

}  // namespace
}  // namespace Lumenar::Test
