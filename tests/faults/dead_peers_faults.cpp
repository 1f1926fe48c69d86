// SPDX-License-Identifier: Apache-2.0
// Clients, subscribers and inputs that are killed.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <random>

#include "tests/faults/Churn.h"
#include "tests/faults/PeersFault.h"
#include "tests/faults/Trend.h"
#include "tests/support/ProcessLines.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;
using DeadPeers = PeersFault;

TEST_F(DeadPeers, DeadSubscriber) {
  DescribeFault("dead subscriber", "SIGKILL a client that watches a result, and start another, again and again",
                "dropped in < 5 s with one line; the new one gets samples; the others lose nothing");
  TraceInput input(bench_, "INPUT", NumberedTrace(0)), other(bench_, "OTHER", NumberedTrace(0));
  Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(input, other));
  const std::string topic = ResultTopic(math);
  SequenceFollower follower(topic);
  Feeder feeder(input, 200);
  auto longest = 0ms;
  const int rounds = ByLength(1, 10);
  for (int round = 0; round < rounds; ++round) {
    const auto client = platform_.Start("mathctl", {"watch", "0", "--timeout", "1"});
    ASSERT_TRUE(WaitUntil([&] { return client->Out().size() > 0; })) << client->Error();
    client->Signal(SIGKILL);
    client->WaitForExit();
    longest =
        std::max(longest, TimeOf([&] { EXPECT_TRUE(WaitUntil([&] { return SubscriptionsOf(topic).size() == 1; })); }));
  }
  EXPECT_LT(longest, kBack);
  const unsigned published = feeder.Stop();
  EXPECT_TRUE(follower.WaitForNumber(published - 1));
  EXPECT_EQ(follower.Now().missing + follower.Now().out_of_order, 0u);
  EXPECT_EQ(CountOf(platform_.TopicManager().Out(), "dropped: it cannot be reached"), static_cast<std::size_t>(rounds));
  ReportFigure(
      fmt::format("dropped after {} ms at most; {} samples, none lost by the others", longest.count(), published));
}

TEST_F(DeadPeers, DeadInput) {
  DescribeFault("dead input", "SIGKILL the input's process under load and start it again",
                "objects keep their result; samples flow again in < 5 s; one line for the loss, one for the return; "
                "no foreign exception reaches a client");
  Process* sim = &StartSim();
  const auto inputs = SimInputs();
  Corvanta::MathFactory::Math_var math = Create(Subtract, inputs);
  SequenceFollower follower(ResultTopic(math));
  BusyClient client(factory_, inputs);
  ASSERT_TRUE(follower.WaitForMore());
  auto longest = 0ms;
  const std::size_t rounds = ByLength(1, 10);
  for (std::size_t round = 1; round <= rounds; ++round) {
    sim->Signal(SIGKILL);
    sim->WaitForExit();
    EXPECT_TRUE(WaitUntil([&] { return EngineLines("engine SIM/1, which supplies inputs, is away: ") == round; }))
        << engine_.Error();
    EXPECT_EQ(TraceResult(math).samples.length(), 101u);
    sim = &StartSim();
    longest = std::max(longest, TimeOf([&] { EXPECT_TRUE(follower.WaitForMore(kBack)); }));
    EXPECT_TRUE(WaitUntil([&] { return EngineLines("engine SIM/1, which supplies inputs, is back") == round; }, kBack))
        << engine_.Error();
  }
  const auto calls = client.Stop();
  EXPECT_EQ(calls.foreign, 0u);
  EXPECT_GT(calls.refused, 0u) << "the old reference is of no use any more";
  EXPECT_TRUE(WaitUntil([&] { return ObjectCount() == 1; }));
  EXPECT_EQ(EngineLines("is away"), rounds) << "no flood: " << engine_.Error();
  ReportFigure(fmt::format("{} kills, samples flow {} ms after the start at most; {} calls done, {} refused", rounds,
                           longest.count(), calls.done, calls.refused));
}

TEST_F(DeadPeers, DeadClient) {
  DescribeFault(
      "dead client", "SIGKILL clients in the middle of CreateMath",
      "the engine serves others meanwhile; each object that is listed is whole and can be deleted; no descriptor and "
      "no thread is left");
  StartSim();
  const auto start = [&] { return platform_.Start("mathctl", {"create", "Peak", "SIM/1/A"}); };
  const auto undisturbed = TimeOf([&] { EXPECT_EQ(start()->WaitForExit(), 0); });
  const Figures before = FiguresOf(engine_.Pid());
  std::atomic<unsigned long> whole{0};
  // Another client takes each object as soon as it is listed.
  Churn other([&] {
    Corvanta::MathFactory::IdSeq_var ids = factory_->ListMath();
    for (CORBA::ULong i = 0; i < ids->length(); ++i) {
      Corvanta::MathFactory::Math_var math = factory_->GetMath(ids[i]);
      EXPECT_EQ(TraceResult(math).samples.length(), 101u);
      factory_->DeleteMath(ids[i]);
      ++whole;
    }
  });
  std::mt19937 random(1);
  // From its first moment to well beyond its last, however slow this machine is at present.
  std::uniform_int_distribution<long> delay_ms(0, 2 * undisturbed.count());
  const int rounds = ByLength(20, 200);
  for (int round = 0; round < rounds; ++round) {
    const auto client = start();
    WaitForLineThat(
        *client, [](const std::string& line) { return line.starts_with("math:"); },
        std::chrono::milliseconds(delay_ms(random)));  // not there yet: cut off anywhere
    client->Signal(SIGKILL);
    client->WaitForExit();
  }
  EXPECT_TRUE(WaitUntil([&] { return ObjectCount() == 0; }));
  EXPECT_TRUE(WaitUntil([&] { return Subscriptions()->length() == 0; }));
  EXPECT_EQ(other.Refused() + other.Foreign(), 0u);
  EXPECT_GT(whole, 0u);
  EXPECT_TRUE(WaitUntil(
      [&] {
        const Figures now = FiguresOf(engine_.Pid());
        return now.descriptors <= before.descriptors + 5 && now.threads <= before.threads + 5;
      },
      20s))
      << "threads and descriptors are left of killed clients";
  ReportFigure(
      fmt::format("{} clients killed, {} of their objects were created, all whole; {} calls of another client, none "
                  "refused",
                  rounds, whole.load(), other.Done()));
}

}  // namespace
}  // namespace Lumenar::Test
