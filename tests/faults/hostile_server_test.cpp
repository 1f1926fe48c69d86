// SPDX-License-Identifier: Apache-2.0
// Rows "hostile answers: ...": what a reading's, a subscriber's or the naming service's address leads to answers with
// nonsense.
#include <fmt/format.h>

#include "tests/faults/FaultCase.h"
#include "tests/faults/GoodClient.h"
#include "tests/faults/HostileServer.h"
#include "tests/faults/HostileTargets.h"
#include "tests/faults/ProcessWatch.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;
using Behaviour = HostileServer::Behaviour;
using Clock = std::chrono::steady_clock;

constexpr long kMemory_kB = 8 * 1024;

struct HostileAnswer : HostileFixture, testing::WithParamInterface<Behaviour> {
  HostileAnswer() : HostileFixture({.transport = "orb.call_timeout_ms = 1000\n"}) {}

  template <class Interface>
  typename Interface::_var_type ReferenceTo(const HostileServer& server) {
    CORBA::Object_var object = bench_.Orb().Orb()->string_to_object(server.Reference().c_str());
    return Interface::_unchecked_narrow(object);
  }

  void ExpectNothingStays(const ProcessWatch& watch) {
    EXPECT_EQ(watch.Stays(), "");
    EXPECT_LT(watch.Growth_kB(), kMemory_kB);
    ExpectSamplesFlow();
  }
};

TEST_P(HostileAnswer, OfAnInput) {
  DescribeFault("hostile answers: input, " + GetParam().name, "CreateMath over a reading whose server answers so",
                "an exception within three limits; other clients served in 1 s; memory +8 MB at most, no thread or "
                "descriptor stays");
  auto server = std::make_unique<HostileServer>(GetParam().script);
  Corvanta::MathFactory::ReadingAttribSeq inputs;
  inputs.length(1);
  inputs[0] = ReferenceTo<Corvanta::EngineReadingBase>(*server)._retn();
  const ProcessWatch watch("engine", engine_.Pid());
  GoodClient good(Factory());
  auto longest = 0ms;
  for (long i = Tries(2, 20); i > 0; --i) {
    const auto begin = Clock::now();
    EXPECT_THROW(Create(Peak, inputs), CORBA::Exception);
    longest = std::max(longest, std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin));
  }
  EXPECT_GT(server->Requests(), 0u);
  EXPECT_LT(longest, 4s);
  EXPECT_LT(good.Slowest(), 1s);
  server.reset();
  ExpectNothingStays(watch);
  ReportFigure(fmt::format("longest call {} ms, memory +{} kB", longest.count(), watch.Growth_kB()));
}

TEST_P(HostileAnswer, OfASubscriber) {
  DescribeFault("hostile answers: subscriber, " + GetParam().name,
                "a subscriber whose server answers so, beside a good one",
                "the good one gets every sample; memory +8 MB at most, nothing spins, no thread or descriptor stays");
  auto server = std::make_unique<HostileServer>(GetParam().script);
  const auto subscriber = ReferenceTo<Corvanta::DDS_Sub>(*server);
  CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
  Corvanta::DDS_Manager_var manager = Corvanta::DDS_Manager::_narrow(object);
  const std::string topic = ResultTopic(peak_);
  Watcher<Scalar> results(topic);
  input_ = ScalarOf(++last_, Value::C_Watts);
  ASSERT_EQ(results.WaitFor(1).size(), 1u) << "the good one's connections stand";
  const ProcessWatch watch("topic manager", platform_.TopicManager().Pid());
  const CORBA::Long handle = manager->Subscribe(topic.c_str(), subscriber);
  const std::size_t samples = static_cast<std::size_t>(Tries(20, 200));
  for (std::size_t i = 0; i < samples; ++i) input_ = ScalarOf(++last_, Value::C_Watts);
  EXPECT_EQ(results.WaitFor(samples + 1).size(), samples + 1);
  EXPECT_TRUE(WaitUntil([&] { return server->Requests() > 0; }));
  manager->Unsubscribe(topic.c_str(), handle);
  server.reset();
  ExpectNothingStays(watch);
  ReportFigure(fmt::format("memory +{} kB", watch.Growth_kB()));
}

TEST_P(HostileAnswer, OfTheNamingService) {
  DescribeFault("hostile answers: naming service, " + GetParam().name, "a tool asks a naming service that answers so",
                "the tool ends within ten limits, with an exit status of its own and a line");
  const HostileServer server(GetParam().script);
  auto tool = platform_.Start("mathctl", {"list"}, {{"LUMENAR_NAMING", server.Address()}});
  const int status = tool->WaitForExit(10s);
  EXPECT_GT(status, 0);
  EXPECT_LT(status, 128) << tool->Error();
  EXPECT_NE(tool->Error(), "");
  EXPECT_GT(server.Requests(), 0u);
  ReportFigure(tool->Error().substr(0, tool->Error().find('\n')));
}

INSTANTIATE_TEST_SUITE_P(Wire, HostileAnswer, testing::ValuesIn(HostileAnswers()), [](const auto& test) {
  std::string name = test.param.name;
  std::erase_if(name, [](char letter) { return letter == ' ' || letter == ','; });
  return name;
});

}  // namespace

void PrintTo(const HostileServer::Behaviour& behaviour, std::ostream* stream) { *stream << behaviour.name; }

}  // namespace Lumenar::Test
