// SPDX-License-Identifier: Apache-2.0
// What the math engine bounds, and what is never mixed up after its restart.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
#include <future>
#include <map>
#include <string>
#include <utility>

#include "tests/faults/PeersFault.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;
using Corvanta::MathFactory::Math_var;
using Value::C_Watts;

class EngineLimits : public PeersFault {
 protected:
  EngineLimits() : PeersFault("math.max_objects = 3\nmath.max_history_bytes = 20000\n") {}

  static unsigned long long RefusedBy(Corvanta::MathFactory::Math_ptr math, std::string& last_reason) {
    const Corvanta::MathFactory::RefusalStatus_var status = math->Refusals();
    last_reason = status->last_reason.in();
    return status->refused;
  }
};

TEST_F(EngineLimits, ObjectsAndHistory) {
  DescribeFault("limits of the engine",
                "objects beyond math.max_objects; an Average of SIZE 99 whose samples exceed math.max_history_bytes",
                "CreateMath raises IMP_LIMIT with one line; the sample alone is refused and counted, RESULT and other "
                "objects go on");
  TraceInput input(bench_, "INPUT", Trace(std::vector<float>(1000, 1), C_Watts));
  const Math_var average = Create(Average, Inputs(input));
  const Math_var peak = Create(Peak, Inputs(input));
  const Math_var third = Create(Peak, Inputs(input));
  for (int i = 0; i < 3; ++i) EXPECT_THROW(Math_var(Create(Peak, Inputs(input))), CORBA::IMP_LIMIT);
  EXPECT_EQ(EngineLines("CreateMath refused: there are 3 math objects (math.max_objects)"), 1u);
  factory_->DeleteMath(third->GetId());
  EXPECT_NO_THROW(Math_var(Create(Peak, Inputs(input))));

  const Corvanta::MathFactory::Average_var with_size = Corvanta::MathFactory::Average::_narrow(average);
  const Corvanta::EngineAttribLong_var size = with_size->AttrSize();
  size->Set(99);
  Watcher<BT_DATA> peaks(ResultTopic(peak));
  for (unsigned i = 1; i <= 8; ++i) input = Trace(std::vector<float>(1000, 1), C_Watts, i);
  ASSERT_EQ(peaks.WaitFor(8).size(), 8u) << "an object without a history misses nothing";
  std::string reason;
  ASSERT_TRUE(WaitUntil([&] { return RefusedBy(average, reason) == 5; }))
      << "four samples of 4 kB fit into 20,000 bytes";
  EXPECT_THAT(reason, testing::StartsWith("a limit is reached"));
  EXPECT_EQ(EngineLines("refused 1 sample: a limit is reached"), 1u);
  EXPECT_EQ(SamplesOf(TraceResult(average)), std::vector<float>(1000, 1));

  size->Set(4);  // as many as it holds: from here on one leaves for each that comes
  Watcher<BT_DATA> means(ResultTopic(average));
  for (unsigned i = 0; i < 5; ++i) input = Trace(std::vector<float>(1000, 1), C_Watts, i);
  EXPECT_EQ(means.WaitFor(5).size(), 5u);
  EXPECT_EQ(RefusedBy(average, reason), 5u);
  ReportFigure("the fourth object and the fifth sample of a history refused");
}

class RestartedEngine : public PeersFault {};

TEST_F(RestartedEngine, TopicsOfItsOwn) {
  DescribeFault("math engine restarted",
                "SIGKILL a math engine whose RESULT an object of another engine follows, and start it again",
                "no topic of its new objects is one of its former ones: the follower keeps its value");
  platform_.StartEngine("math_factory_hh");
  ScalarInput first(bench_, "FIRST", ScalarOf(1, C_Watts)), second(bench_, "SECOND", ScalarOf(2, C_Watts));
  const Math_var former = Create(Peak, Inputs(first));
  const std::string former_topic = ResultTopic(former);
  Corvanta::MathFactory::Interfaces_var other_engine = bench_.Factory("2");
  Corvanta::MathFactory::ReadingAttribSeq inputs;
  inputs.length(1);
  inputs[0] = former->AttrResult();
  Corvanta::EngineAttribEnum_var(other_engine->AttrType())->Set(Peak);
  const Math_var follower = other_engine->CreateMath(inputs);

  engine_.Signal(SIGKILL);
  engine_.WaitForExit();
  platform_.StartEngine("math_factory_hh");
  factory_ = bench_.Factory();
  const Math_var successor = Create(Peak, Inputs(second));
  EXPECT_NE(ResultTopic(successor), former_topic);
  Watcher<Scalar> results(ResultTopic(successor));
  second = ScalarOf(1000, C_Watts);
  EXPECT_EQ(results.WaitFor(1).size(), 1u);
  EXPECT_EQ(ScalarResult(follower).val, 1);
  ReportFigure(fmt::format("{} and {}", former_topic, ResultTopic(successor)));
}

class ManyCallers : public PeersFault {};

TEST_F(ManyCallers, OverOneHungReading) {
  DescribeFault("many callers, one hung reading", "100 CreateMath at once over a reading whose process is stopped",
                "each ends after one time limit");
  Process& sim = StartSim();
  const auto hung = SimInputs();
  Corvanta::MathFactory::Interfaces_var patient = bench_.Factory();
  Corvanta::ORB_base::SetCallTimeout(patient, 20s);
  sim.Signal(SIGSTOP);
  std::vector<std::future<std::chrono::milliseconds>> callers;
  for (int i = 0; i < 100; ++i) {
    callers.push_back(std::async(std::launch::async, [&] {
      return TimeOf([&] { EXPECT_THROW(Math_var(patient->CreateMath(hung)), CORBA::TIMEOUT); });
    }));
  }
  auto longest = 0ms;
  for (auto& caller : callers) longest = std::max(longest, caller.get());
  sim.Signal(SIGCONT);
  EXPECT_LT(longest, 1900ms) << "less than two limits";
  EXPECT_TRUE(WaitUntil([&] { return ObjectCount() == 0; }));
  ReportFigure(fmt::format("limit 1000 ms, longest call {} ms", longest.count()));
}

/// Engines are waited for a part of the time limit that calls have here.
class StartBesideDeadEnumeration : public PeersFault {
 protected:
  Process& StartPatientEngine(const std::string& library, std::map<std::string, std::string> environment = {}) {
    const auto settings = platform_.Directory() / "patient.conf";
    std::ofstream(settings) << "orb.call_timeout_ms = 60000\n";
    environment["LUMENAR_TRANSPORT_CONF"] = settings.string();
    return platform_.StartEngine(library, std::move(environment));
  }
};

TEST_F(StartBesideDeadEnumeration, TheEngineStarts) {
  DescribeFault(
      "hardware enumeration dead at start-up",
      "SIGSTOP, then SIGKILL hardware enumeration, and start a math engine and an instrument each time, with a "
      "time limit of calls of a minute",
      "they say that it was not found, and start within seconds");
  for (const int fault : {SIGSTOP, SIGKILL}) {
    if (fault == SIGKILL) {
      platform_.KillHwEnumeration();
    } else {
      platform_.HwEnumeration().Signal(fault);
    }
    Process& engine = StartPatientEngine("math_factory_hh");
    EXPECT_THAT(engine.Out(), testing::HasSubstr("Math engine : Hw enum interface narrow failed.\n"
                                                 "Math engine : Hw enum interface hwenum_ptr is null.\n"));
    EXPECT_TRUE(engine.IsRunning());
    Process& instrument = StartPatientEngine("sim", {{"SIM_READINGS", "trace:A"}});
    EXPECT_THAT(instrument.Out(), testing::HasSubstr("Lumenar::SimInit not announced to hardware enumeration: "));
    EXPECT_TRUE(instrument.IsRunning());
  }
}

}  // namespace
}  // namespace Lumenar::Test
