// SPDX-License-Identifier: Apache-2.0
// Faults that clients, hosts and a system without memory do to a running engine.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>
#include <fstream>

#include "GuiAble.hh"
#include "tests/faults/FaultCase.h"
#include "tests/faults/Traffic.h"
#include "tests/support/ProcessFigures.h"

namespace Lumenar::Test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class EngineFaults : public EngineFixture {
 protected:
  explicit EngineFaults(const IsolatedPlatform::Options& options = {}) : EngineFixture(options) {}

  Corvanta::DDS_Manager_var TopicManager() {
    CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
    return Corvanta::DDS_Manager::_narrow(object);
  }

  /// What the engine offers in its registration object.
  CORBA::ULong CountItems() {
    for (const std::string& instance : bench_.Orb().List({"Lumenar", "local", "GUI_ABLE"})) {
      CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "GUI_ABLE", instance});
      Corvanta::GUI_Able_var registration = Corvanta::GUI_Able::_narrow(object);
      CORBA::String_var name = registration->EngineName();
      if (std::string(name) == "MATHFACTORY/1") return Corvanta::ItemSeq_var(registration->Items())->length();
    }
    return 0;
  }
};

TEST_F(EngineFaults, DeleteStorm) {
  DescribeFault("delete storm", "3 clients create and delete at full speed while 4 threads deliver samples",
                "callers see success only, no object, item or subscription is left, the engine serves on");
  std::vector<std::unique_ptr<TraceInput>> inputs;
  std::vector<std::unique_ptr<Feeder>> feeders;
  for (int i = 0; i < 4; ++i) {
    inputs.push_back(std::make_unique<TraceInput>(bench_, "INPUT", NumberedTrace(0)));
    feeders.push_back(std::make_unique<Feeder>(*inputs.back(), 500));
  }
  unsigned long objects = 0;
  {
    std::vector<std::unique_ptr<BusyClient>> clients;
    for (int i = 0; i < 3; ++i)
      clients.push_back(std::make_unique<BusyClient>(factory_, Inputs(*inputs[i], *inputs[i + 1])));
    const unsigned long enough = ByLength(150ul, 20000ul);
    EXPECT_TRUE(WaitUntil(
        [&] { return clients[0]->Done() > enough && clients[1]->Done() > enough && clients[2]->Done() > enough; },
        std::chrono::seconds(110)));
    for (auto& client : clients) {
      const BusyClient::Counts counts = client->Stop();
      EXPECT_EQ(counts.refused, 0u);
      EXPECT_EQ(counts.foreign, 0u);
      objects += counts.done;
    }
  }
  feeders.clear();
  ReportFigure(fmt::format("{} rounds of calls", objects));
  EXPECT_EQ(Corvanta::MathFactory::IdSeq_var(factory_->ListMath())->length(), 0u);
  EXPECT_EQ(CountItems(), 1u) << "TYPE alone";
  EXPECT_TRUE(
      WaitUntil([&] { return Corvanta::SubscriptionStatusSeq_var(TopicManager()->Subscriptions())->length() == 0; }));
  Corvanta::MathFactory::Math_var next = Create(Peak, Inputs(*inputs[0]));
  EXPECT_FALSE(CORBA::is_nil(next));
}

IsolatedPlatform::Options ShortScans() {
  IsolatedPlatform::Options options;
  options.transport = "orb.out_scan_period_s = 1\norb.in_scan_period_s = 2\n";
  return options;
}

class OrderFaults : public EngineFaults {
 protected:
  OrderFaults() : EngineFaults(ShortScans()) {}
};

TEST_F(OrderFaults, Order) {
  DescribeFault("order",
                "numbered samples, a subscriber that stalls now and then, idle gaps longer than both scan periods",
                "every result arrives, in order, once");
  TraceInput first(bench_, "INPUT", NumberedTrace(0));
  TraceInput second(bench_, "INPUT", NumberedTrace(0));
  Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(first, second));
  const std::string topic = ResultTopic(math);
  std::atomic<unsigned long> stalls{0};
  Corvanta::DDS_Subscriber<BT_DATA> stalling(topic.c_str(), [&stalls](const char*, const BT_DATA& record) {
    if (record.sequence_number % 500 != 0) return;
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
    WaitUntil([&] { return std::chrono::steady_clock::now() > until; });
    ++stalls;
  });
  SequenceFollower follower(topic);
  const unsigned count = ByLength(2000u, 20000u);
  const unsigned gaps = ByLength(1u, 3u);
  for (unsigned number = 1; number <= count; ++number) {
    first = NumberedTrace(number);
    if (number % 100 == 0) {  // queues are bounded: the feed waits for their end
      ASSERT_TRUE(follower.WaitForNumber(number));
    }
    if (number % (count / (gaps + 1)) == 0 && number < count) {
      const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(4500);
      WaitUntil([&] { return std::chrono::steady_clock::now() > until; });
    }
  }
  ASSERT_TRUE(follower.WaitForNumber(count));
  const SequenceFollower::Counts counts = follower.Now();
  EXPECT_EQ(counts.received, count);
  EXPECT_EQ(counts.missing, 0u);
  EXPECT_EQ(counts.out_of_order, 0u);
  EXPECT_TRUE(WaitUntil([&] { return stalls == count / 500; }));
  ReportFigure(fmt::format("{} samples", counts.received));
}

TEST_F(EngineFaults, OutOfMemory) {
  DescribeFault("out of memory", "a trace of 19 million points for which the engine has no memory",
                "creation or sample fails with a CORBA exception, and that one only: small traces go on");
  TraceInput small(bench_, "SMALL", NumberedTrace(1));
  TraceInput large(bench_, "LARGE", NumberedTrace(1));
  Corvanta::MathFactory::Math_var small_math = Create(Peak, Inputs(small));
  Corvanta::MathFactory::Math_var large_math = Create(Peak, Inputs(large));
  Watcher<BT_DATA> results(ResultTopic(small_math));
  const rlim_t limit =
      (static_cast<rlim_t>(AddressSpace_kB(engine_.Pid())) + 60 * 1024) * 1024;  // the samples alone are 76 MB
  const rlimit bound{limit, limit};
  ASSERT_EQ(prlimit(engine_.Pid(), RLIMIT_AS, &bound, nullptr), 0);
  BT_DATA trace = NumberedTrace(2);
  trace.samples.length(19u << 20);
  large = trace;  // delivered: no memory for it in the engine
  EXPECT_THROW(Create(Average, Inputs(large)), CORBA::SystemException);
  small = NumberedTrace(2);
  EXPECT_EQ(results.WaitFor(1).size(), 1u) << engine_.Error();
  EXPECT_LT(TraceResult(large_math).samples.length(), 1000u) << "the last good result stays";
  const auto refused = [&] { return Corvanta::MathFactory::RefusalStatus_var(large_math->Refusals()); };
  EXPECT_TRUE(WaitUntil([&] { return refused()->refused >= 1; }))
      << engine_.Error();  // each arrival that could not be read
  EXPECT_STREQ(refused()->last_reason, "no memory");
  EXPECT_TRUE(engine_.IsRunning()) << engine_.Error();
}

/// Start and end of engines in a host of the test.
class HostFaults : public testing::Test {
 protected:
  HostFaults() { platform_.UseInThisProcess(); }

  std::unique_ptr<Process> StartHost(int count, std::vector<std::string> more = {},
                                     std::map<std::string, std::string> environment = {}) {
    std::vector<std::string> arguments{BuiltEngineLibrary("math_factory_hh").string(), std::to_string(count)};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return platform_.Start("cycle_host", arguments, std::move(environment));
  }

  IsolatedPlatform platform_;
};

TEST_F(HostFaults, StartArguments) {
  DescribeFault("start arguments", "an unknown -ORB argument, a bad configuration, a host that has an ORB already",
                "one clear line each, the host stays alive; the configuration's limits are in effect");
  const auto expect_refused = [&](Process& host, const std::string& line) {
    EXPECT_EQ(host.WaitForExit(), 0);
    EXPECT_THAT(host.Error(), MatchesRegex(line)) << host.Out();
    EXPECT_THAT(host.Out(), HasSubstr("refused 1\nalive\n"));
  };
  expect_refused(*StartHost(1, {"-ORBnoSuchOption"}),
                 "Lumenar::MathInit new: Caught exception [^\n]*-ORBnoSuchOption[^\n]*\n");
  expect_refused(*StartHost(1, {"own-orb"}), "Lumenar::MathInit new: Caught exception [^\n]*ORB[^\n]*\n");
  const std::string file = (platform_.Directory() / "bad.conf").string();
  std::ofstream(file) << "orb.max_message_bytes = many\n";
  expect_refused(*StartHost(1, {}, {{"LUMENAR_TRANSPORT_CONF", file}}),
                 "Lumenar::MathInit new: Caught exception [^\n]*bad.conf:1: [^\n]*\n");

  std::ofstream(file) << "orb.max_message_bytes = 3000000\n";
  auto host = StartHost(1, {}, {{"LUMENAR_TRANSPORT_CONF", file}});
  ASSERT_TRUE(host->WaitForLine("up 1")) << host->Error();
  EXPECT_THAT(host->Out(), HasSubstr("limit 3000000\n"));
  host->Signal(SIGTERM);
  EXPECT_EQ(host->WaitForExit(), 0);
}

TEST_F(HostFaults, LoadAndUnload) {
  DescribeFault("load and unload", "start and end of the engine again and again in one host, with busy clients",
                "threads, descriptors and memory of the host come back to where they were");
  const int cycles = ByLength(8, 50);
  auto host = StartHost(cycles);
  Testbench bench;
  TraceInput first(bench, "INPUT", NumberedTrace(0));
  TraceInput second(bench, "INPUT", NumberedTrace(0));
  Corvanta::MathFactory::ReadingAttribSeq inputs;
  inputs.length(2);
  inputs[0] = first._this();
  inputs[1] = second._this();
  struct Figures {
    int threads = 0, descriptors = 0;
    long memory_kB = 0;
  };
  const auto figures_now = [&host] {
    return Figures{CountThreads(host->Pid()), CountDescriptors(host->Pid()), ResidentMemory_kB(host->Pid())};
  };
  constexpr int kFirst = 4;  // the heap has its size by then
  Figures before, after;
  for (int cycle = 1; cycle <= cycles; ++cycle) {
    ASSERT_TRUE(host->WaitForLine("up " + std::to_string(cycle))) << host->Error();
    if (cycle == kFirst) before = figures_now();
    if (cycle == cycles) after = figures_now();
    Corvanta::MathFactory::Interfaces_var factory = bench.Factory();
    BusyClient client(factory, inputs);
    ASSERT_TRUE(WaitUntil([&] { return client.Done() > 20; })) << host->Error();
    host->Signal(SIGTERM);
    ASSERT_TRUE(host->WaitForLine("down " + std::to_string(cycle))) << host->Error();
    EXPECT_EQ(client.Stop().foreign, 0u);
  }
  EXPECT_EQ(host->WaitForExit(), 0);
  EXPECT_THAT(host->Out(), HasSubstr("\nalive\n"));
  EXPECT_LE(after.threads, before.threads + 2);
  EXPECT_LE(after.descriptors, before.descriptors + 2);
  EXPECT_LE(after.memory_kB, before.memory_kB + 4096);
  ReportFigure(fmt::format("cycle {} to {}: threads {} to {}, descriptors {} to {}, memory {} to {} kB", kFirst, cycles,
                           before.threads, after.threads, before.descriptors, after.descriptors, before.memory_kB,
                           after.memory_kB));
}

}  // namespace
}  // namespace Lumenar::Test
