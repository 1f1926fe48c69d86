// SPDX-License-Identifier: Apache-2.0
// Peers that go: a client, an input's process, the topic manager. The engine lives on.
#include <gmock/gmock.h>

#include <csignal>

#include "GuiAble.hh"
#include "tests/support/EngineFixture.h"

namespace Lumenar::Test {
namespace {

using Value::C_Watts;
using Peers = EngineFixture;

std::size_t CountLines(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

Corvanta::EngineReadingBase_ptr FirstItemOf(Corvanta::ORB_wrapper& orb, const std::string& engine_name) {
  for (const std::string& instance : orb.List({"Lumenar", "local", "GUI_ABLE"})) {
    CORBA::Object_var object = orb.Resolve({"Lumenar", "local", "GUI_ABLE", instance});
    Corvanta::GUI_Able_var registration = Corvanta::GUI_Able::_narrow(object);
    CORBA::String_var name = registration->EngineName();
    if (engine_name != name.in()) continue;
    Corvanta::ItemSeq_var items = registration->Items();
    for (CORBA::ULong i = 0; i < items->length(); ++i) {
      if (std::string(items[i].type_name) == "BasicTrace")
        return Corvanta::EngineReadingBase::_duplicate(items[i].reference);
    }
  }
  return Corvanta::EngineReadingBase::_nil();
}

/// The one input of an object: the first trace of an engine.
Corvanta::MathFactory::ReadingAttribSeq FirstTraceOf(Corvanta::ORB_wrapper& orb, const std::string& engine_name) {
  Corvanta::MathFactory::ReadingAttribSeq inputs;
  inputs.length(1);
  inputs[0] = FirstItemOf(orb, engine_name);
  EXPECT_FALSE(CORBA::is_nil(inputs[0])) << engine_name;
  return inputs;
}

TEST_F(Peers, AReadingWhoseProcessIsGoneIsRefusedWithTheOrbsException) {
  Process& probe = platform_.StartEngine("probe");
  const auto inputs = FirstTraceOf(bench_.Orb(), "PROBE/1");
  Corvanta::MathFactory::Math_var math = Create(Peak, inputs);
  probe.Signal(SIGKILL);
  probe.WaitForExit();
  EXPECT_THROW(Create(Peak, inputs), CORBA::SystemException);
  EXPECT_GT(TraceResult(math).samples.length(), 0u) << "the object of the dead input keeps its last result";
  EXPECT_TRUE(engine_.IsRunning());
}

TEST_F(Peers, AKilledInputProcessIsNotedOnceAndItsReturnBringsTheSamplesBack) {
  Process& probe = platform_.StartEngine("probe");
  const auto inputs = FirstTraceOf(bench_.Orb(), "PROBE/1");
  Corvanta::MathFactory::Math_var peak = Create(Peak, inputs);
  Corvanta::MathFactory::Math_var average = Create(Average, inputs);
  probe.Signal(SIGKILL);
  probe.WaitForExit();
  ASSERT_TRUE(WaitUntil([&] {
    return CountLines(engine_.Error(), "engine PROBE/1, which supplies inputs, is away: ") == 1;
  })) << engine_.Error();
  EXPECT_GT(TraceResult(peak).samples.length(), 0u);

  Watcher<BT_DATA> results(ResultTopic(peak));
  platform_.StartEngine("probe");
  EXPECT_TRUE(WaitUntil([&] {
    return CountLines(engine_.Error(), "engine PROBE/1, which supplies inputs, is back\n") == 1;
  })) << engine_.Error();
  EXPECT_FALSE(results.WaitFor(1).empty()) << "the new process publishes on the same topics";
  EXPECT_EQ(CountLines(engine_.Error(), "\n"), 2u) << engine_.Error();
}

TEST_F(Peers, AnEngineIsWatchedNoLongerThanAMathObjectNeedsIt) {
  Process& probe = platform_.StartEngine("probe");
  Process& other = platform_.StartEngine("sim", {{"SIM_READINGS", "trace:T:points=16:rate=0"}});
  Corvanta::MathFactory::Math_var deleted = Create(Peak, FirstTraceOf(bench_.Orb(), "PROBE/1"));
  Corvanta::MathFactory::Math_var kept = Create(Peak, FirstTraceOf(bench_.Orb(), "SIM/1"));
  factory_->DeleteMath(deleted->GetId());
  for (Process* process : {&probe, &other}) {
    process->Signal(SIGKILL);
    process->WaitForExit();
  }
  EXPECT_TRUE(WaitUntil([&] {
    return CountLines(engine_.Error(), "engine SIM/1, which supplies inputs, is away: ") == 1;
  })) << engine_.Error();
  EXPECT_EQ(CountLines(engine_.Error(), "PROBE/1"), 0u) << engine_.Error();
}

TEST_F(Peers, AKilledSubscriberOfAResultDisturbsNobody) {
  ScalarInput input(bench_, "INPUT", ScalarOf(1, C_Watts));
  Corvanta::MathFactory::Math_var math = Create(Peak, Inputs(input));
  auto client = platform_.Start("mathctl", {"watch", "0"});
  CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
  Corvanta::DDS_Manager_var manager = Corvanta::DDS_Manager::_narrow(object);
  ASSERT_TRUE(WaitUntil([&] { return Corvanta::SubscriptionStatusSeq_var(manager->Subscriptions())->length() == 2; }))
      << client->Error();
  client->Signal(SIGKILL);
  client->WaitForExit();
  Watcher<Scalar> results(ResultTopic(math));
  for (int i = 2; i < 50; ++i) input = ScalarOf(i, C_Watts);
  EXPECT_EQ(results.WaitFor(48).size(), 48u);
  EXPECT_TRUE(WaitUntil([&] { return Corvanta::SubscriptionStatusSeq_var(manager->Subscriptions())->length() == 2; }))
      << "the dead subscriber is dropped";
}

TEST_F(Peers, AKilledTopicManagerIsNotedOnceAndItsReturnBringsTheSamplesBack) {
  ScalarInput input(bench_, "INPUT", ScalarOf(1, C_Watts));
  Corvanta::MathFactory::Math_var math = Create(Average, Inputs(input));
  Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
  Corvanta::EngineAttribVoid_var reset = average->AttrReset();
  platform_.KillTopicManager();
  for (int i = 0; i < 5; ++i) reset->Set();  // publishes or sets FULL, with nobody to take it
  EXPECT_EQ(ScalarResult(math).val, 1);
  EXPECT_EQ(CountLines(engine_.Error(), "is away"), 1u) << engine_.Error();

  platform_.StartTopicManager();
  Watcher<Scalar> results(ResultTopic(math));
  EXPECT_TRUE(WaitUntil([&] {
    input = ScalarOf(5, C_Watts);
    return !results.All().empty();
  })) << engine_.Error();
  EXPECT_EQ(results.All().back().val, 5);
  EXPECT_EQ(CountLines(engine_.Error(), "is back"), 1u) << engine_.Error();
}

}  // namespace
}  // namespace Lumenar::Test
