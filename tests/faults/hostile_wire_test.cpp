// SPDX-License-Identifier: Apache-2.0
// Rows "wire: ...": sequences of messages that the protocol forbids or that are seldom sent, at the port of every
// process.
#include <fmt/format.h>

#include <csignal>
#include <future>
#include <map>

#include "tests/faults/FaultCase.h"
#include "tests/faults/GoodClient.h"
#include "tests/faults/HostileTargets.h"
#include "tests/faults/ProcessWatch.h"
#include "tests/faults/Volley.h"

namespace Lumenar::Test {
namespace {

using namespace Corvanta::Test;

constexpr std::chrono::milliseconds kGoodClient{1000};

struct Target {
  std::string name;
  ObjectAddress address;
  pid_t pid;
};

/// A platform with all kinds of processes that take connections.
class HostileWire : public HostileFixture {
 protected:
  HostileWire() : instrument_(platform_.StartEngine("sim", {{"SIM_READINGS", "value:A:rate=0:units=W"}})) {}

  std::vector<Target> Targets() {
    return {{"engine", Factory(), engine_.Pid()},
            {"topic manager", Manager(), platform_.TopicManager().Pid()},
            {"hardware enumeration", AddressOf(bench_, {"Lumenar", "local", "HWENUM_ABLE", "1"}),
             platform_.HwEnumeration().Pid()},
            {"instrument", AddressOf(bench_, {"Lumenar", "local", "SIM", "1"}), instrument_.Pid()}};
  }

  /// One attack, on each of the targets at the same time.
  void Attack(const std::vector<Target>& targets, const WireAttack& attack, long tries) {
    GoodClient good(Factory());
    std::vector<ProcessWatch> watches;
    for (const Target& target : targets) watches.emplace_back(target.name, target.pid);
    std::vector<std::future<Volley>> volleys;
    const auto begin = std::chrono::steady_clock::now();
    for (const Target& target : targets)
      volleys.push_back(std::async(std::launch::async, [&attack, &target, tries] {
        Volley volley(target.address, attack);
        volley.Fire(tries);
        return volley;
      }));
    std::map<std::string, long> outcomes;
    for (std::size_t i = 0; i < targets.size(); ++i) {
      const Volley volley = volleys[i].get();
      EXPECT_EQ(volley.Wrong(), "") << targets[i].name << ", try " << volley.Tries();
      for (const auto& [answer, times] : volley.Answers()) outcomes[answer] += times;
    }
    const auto took = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    const auto slowest = good.Slowest();
    EXPECT_LT(slowest, kGoodClient);
    long growth_kB = 0;
    for (const ProcessWatch& watch : watches) {
      const std::string stays = watch.Stays();
      EXPECT_EQ(stays, "");
      if (stays.empty()) growth_kB = std::max(growth_kB, watch.Growth_kB());
    }
    EXPECT_LT(growth_kB, kMemory_kB);
    std::string figure;
    for (const auto& [answer, times] : outcomes) figure += fmt::format(" {} x {},", times, answer);
    ReportFigure(fmt::format("{} tries at each of {} processes in {:.1f} s:{} good client {} ms at most, memory +{} kB",
                             tries, targets.size(), took, figure, slowest.count(), growth_kB));
  }

  Process& instrument_;
};

class EveryAttack : public HostileWire, public testing::WithParamInterface<WireAttack> {};

TEST_P(EveryAttack, LeavesNothingBehind) {
  DescribeFault("wire: " + GetParam().name,
                "sent to the engine, the topic manager, hardware enumeration and an instrument, again and again",
                "connection closed or call dropped; alive, no thread, descriptor or processor time stays; a good "
                "client served in 1 s; SIGTERM ends each process");
  Attack(Targets(), GetParam(), Tries(200, 5000));
  ExpectSamplesFlow();
  for (Process* process : {&instrument_, &engine_, &platform_.HwEnumeration(), &platform_.TopicManager()}) {
    process->Signal(SIGTERM);
    EXPECT_EQ(process->WaitForExit(), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Wire, EveryAttack, testing::ValuesIn(WireAttacks()), [](const auto& test) {
  std::string name = test.param.name;
  std::erase_if(name, [](char letter) { return letter == ' ' || letter == ','; });
  return name;
});

struct Lie {
  const char* name;
  const char* operation;
  Wire arguments;
};

std::vector<Lie> LiesToTheEngine() {
  return {{"reference of many profiles", "CreateMath", ReferenceOfManyProfiles()},
          {"many references", "CreateMath", ManyReferences()}};
}

TEST_F(HostileWire, CountsThatLie) {
  DescribeFault("wire: counts that lie",
                "fragmented CreateMath and Subscribe that claim 79 million references or profiles of one",
                "MARSHAL; memory +1 MB at most, also while they do not come to their end");
  const std::vector<Target> targets = Targets();
  std::vector<std::pair<Target, Lie>> lies;
  for (const Lie& lie : LiesToTheEngine()) lies.emplace_back(targets[0], lie);
  lies.emplace_back(targets[1], Lie{"subscriber of many profiles", "Subscribe", SubscriberOfManyProfiles()});
  for (const auto& [target, lie] : lies) {
    Volley(target.address, LyingFragments(lie.name, lie.operation, lie.arguments))
        .Fire(32);  // what a process needs for the first
    const ProcessWatch watch(target.name, target.pid);
    {
      RawClient held(target.address);
      held.Send(Unended(held, lie.operation, lie.arguments));
      EXPECT_FALSE(WaitUntil([&watch = watch] { return watch.Growth_kB() > kMemoryOfOne_kB; }, std::chrono::seconds(1)))
          << lie.name;
      ReportFigure(fmt::format("{}: memory +{} kB", lie.name, watch.Growth_kB()));
    }
    Attack({target}, LyingFragments(lie.name, lie.operation, lie.arguments), Tries(200, 5000));
  }
  ExpectSamplesFlow();
}

struct SmallMessages : HostileFixture {
  SmallMessages() : HostileFixture({.transport = "orb.max_message_bytes = 400000\n"}) {}
};

TEST_F(SmallMessages, LargerOnesAreRefusedInWords) {
  DescribeFault("wire: too large", "requests above orb.max_message_bytes, and above the limit of their operation",
                "MARSHAL, one line a minute, the connection goes on");
  RawClient to_manager(Manager()), to_engine(Factory());
  for (long i = Tries(3, 300); i > 0; --i) {
    EXPECT_EQ(to_manager.Call("Publish", Wire().Raw(std::string(500'000, 'x'))), "MARSHAL");
    EXPECT_EQ(to_engine.Call("CreateMath", Wire().Raw(std::string(100'000, 'x'))), "MARSHAL");
    EXPECT_EQ(to_engine.Call("ListMath", Wire()), "ok");
  }
  const auto lines = [](Process& process) {
    const std::string error = process.Error();
    return std::count(error.begin(), error.end(), '\n');
  };
  EXPECT_TRUE(WaitUntil([&] { return lines(engine_) == 1 && lines(platform_.TopicManager()) == 1; }))
      << engine_.Error();
  ReportFigure(engine_.Error().substr(0, engine_.Error().find('\n')));
  ExpectSamplesFlow();
}

}  // namespace
}  // namespace Lumenar::Test
