// SPDX-License-Identifier: Apache-2.0
// Peers that hang: they keep their connections and answer nothing.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <csignal>

#include "tests/faults/PeersFault.h"
#include "tests/support/ProcessFigures.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;

class HangingPeers : public PeersFault {
 protected:
  HangingPeers() : PeersFault("", {"--queue", "200"}) {}
};

TEST_F(HangingPeers, StoppedSubscriber) {
  DescribeFault("stopped subscriber", "SIGSTOP one of three",
                "the others keep their rate; the stopped one is marked and its losses counted; memory flat");
  TraceInput input(bench_, "INPUT", NumberedTrace(0)), other(bench_, "OTHER", NumberedTrace(0));
  Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(input, other));
  const std::string topic = ResultTopic(math);
  SequenceFollower follower(topic);
  const auto stopped = platform_.Start("mathctl", {"watch", "0"});
  ASSERT_TRUE(WaitUntil([&] { return SubscriptionsOf(topic).size() == 2; })) << stopped->Error();
  const auto third = platform_.Start("mathctl", {"watch", "0"});
  ASSERT_TRUE(WaitUntil([&] { return SubscriptionsOf(topic).size() == 3; })) << third->Error();

  stopped->Signal(SIGSTOP);
  Feeder feeder(input, 300);
  const unsigned before = ByLength(450u, 3000u);
  ASSERT_TRUE(follower.WaitForNumber(before, 60s));
  const long memory_before_kB = ResidentMemory_kB(platform_.TopicManager().Pid());
  ASSERT_TRUE(follower.WaitForNumber(2 * before, 60s));
  const long growth_kB = ResidentMemory_kB(platform_.TopicManager().Pid()) - memory_before_kB;
  EXPECT_TRUE(WaitUntil([&] { return SubscriptionsOf(topic)[1].stalled; }));
  const unsigned published = feeder.Stop();
  EXPECT_TRUE(follower.WaitForNumber(published - 1));
  EXPECT_TRUE(WaitUntil([&] { return SubscriptionsOf(topic)[2].delivered == published; }));

  EXPECT_EQ(follower.Now().missing + follower.Now().out_of_order, 0u);
  const auto status = SubscriptionsOf(topic)[1];
  EXPECT_GE(status.dropped, published - 202u) << "a queue of 200, one sample under way, and what ran into the limit";
  EXPECT_LE(status.dropped + status.queued + status.delivered, published);
  EXPECT_GE(status.dropped + status.queued + status.delivered + 1, published) << "each sample has its place";
  EXPECT_LT(growth_kB, 2000);
  stopped->Signal(SIGCONT);
  EXPECT_TRUE(WaitUntil([&] { return !SubscriptionsOf(topic)[1].stalled && SubscriptionsOf(topic)[1].queued == 0; }));
  ReportFigure(fmt::format("{} samples, {} lost by the stopped one, none by the others; topic manager {:+} kB",
                           published, status.dropped, growth_kB));
}

TEST_F(HangingPeers, HungReading) {
  DescribeFault("hung reading", "SIGSTOP the input's process during CreateMath and Get",
                "that caller gets TIMEOUT at its limit; other objects lose nothing");
  Process& sim = StartSim();
  const auto hung = SimInputs();
  Corvanta::EngineBasicTrace_var hung_reading = Corvanta::EngineBasicTrace::_narrow(hung[0]);
  TraceInput input(bench_, "INPUT", NumberedTrace(0)), other(bench_, "OTHER", NumberedTrace(0));
  Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(input, other));
  SequenceFollower follower(ResultTopic(math));
  Feeder feeder(input, 300);
  ASSERT_TRUE(follower.WaitForMore());

  // A client that would wait for much longer: what ends its call is the engine's limit.
  Corvanta::MathFactory::Interfaces_var patient = bench_.Factory();
  Corvanta::ORB_base::SetCallTimeout(patient, 20s);
  auto longest = 0ms;
  for (int round = 0; round < ByLength(1, 5); ++round) {
    sim.Signal(SIGSTOP);
    const auto create_time =
        TimeOf([&] { EXPECT_THROW(Corvanta::MathFactory::Math_var(patient->CreateMath(hung)), CORBA::TIMEOUT); });
    const auto get_time = TimeOf([&] { EXPECT_THROW(delete hung_reading->Get(), CORBA::TIMEOUT); });
    sim.Signal(SIGCONT);
    EXPECT_GE(std::min(create_time, get_time), 900ms);
    longest = std::max({longest, create_time, get_time});
    EXPECT_TRUE(WaitUntil([&] { return ObjectCount() == 1; })) << "nothing is left of the object that was not created";
  }
  EXPECT_LT(longest, 1500ms);
  const unsigned published = feeder.Stop();
  EXPECT_TRUE(follower.WaitForNumber(published - 1));
  EXPECT_EQ(follower.Now().missing + follower.Now().out_of_order, 0u);

  Corvanta::MathFactory::Math_var later = Create(Subtract, hung);
  EXPECT_TRUE(SequenceFollower(ResultTopic(later)).WaitForMore()) << "the reading that hung can be used again";
  ReportFigure(fmt::format("limit 1000 ms, longest call {} ms; {} samples, none lost", longest.count(), published));
}

TEST_F(HangingPeers, HungTopicManager) {
  DescribeFault("hung topic manager", "SIGSTOP the topic manager under load for longer than the time limit",
                "calls to math objects stay bounded; results are stored; one line for the loss, one for the return");
  TraceInput input(bench_, "INPUT", NumberedTrace(0));
  Corvanta::MathFactory::Math_var math = Create(Average, Inputs(input));
  Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
  Corvanta::EngineAttribVoid_var reset = average->AttrReset();
  auto longest = 0ms, longest_return = 0ms;
  for (int round = 1; round <= ByLength(1, 10); ++round) {
    platform_.TopicManager().Signal(SIGSTOP);
    reset->Set();  // publishes: the engine finds out, within the limit of this call
    for (int i = 0; i < 20; ++i) {
      longest = std::max(longest, TimeOf([&] {
                           reset->Set();
                           TraceResult(math);
                         }));
    }
    const std::string away = "topic manager at Lumenar/local/DDS_MANAGER/1 is away: ";
    EXPECT_TRUE(WaitUntil([&] { return EngineLines(away) >= static_cast<std::size_t>(round); }));
    EXPECT_EQ(EngineLines(away), static_cast<std::size_t>(round));
    platform_.TopicManager().Signal(SIGCONT);
    longest_return = std::max(longest_return, TimeOf([&] {
                                EXPECT_TRUE(WaitUntil([&] {
                                  reset->Set();
                                  return EngineLines("topic manager is back") == static_cast<std::size_t>(round);
                                }));
                              }));
  }
  EXPECT_LT(longest, 1000ms) << "less than one time limit, once the absence is known";
  EXPECT_LT(longest_return, kBack);
  EXPECT_EQ(ObjectCount(), 1u);
  ReportFigure(fmt::format("longest call {} ms, back after {} ms", longest.count(), longest_return.count()));
}

}  // namespace
}  // namespace Lumenar::Test
