// SPDX-License-Identifier: Apache-2.0
// The engine's start and end as its host and the rack see them.
#include <gmock/gmock.h>

#include <csignal>

#include "HwEnumerate.hh"
#include "tests/support/EngineFixture.h"

namespace Lumenar::Test {
namespace {

using testing::ElementsAre;

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST(StartUp, WithHardwareEnumerationTheHandshakeLinesComeInOrder) {
  IsolatedPlatform platform;
  Process& engine = platform.StartEngine("math_factory_hh");
  EXPECT_THAT(
      LinesOf(engine.Out()),
      ElementsAre("Lumenar::MathInit createEngine", "MathInit::Start resolving hw inteface",
                  "MathInit Before asking for progress ptr - ", "MathInit After getting progress ptr",
                  "MathInit Calling the hw enum_engine with progress - 100", "Lumenar::MathInit createEngine done"));
  EXPECT_TRUE(WaitUntil([&] {
    return platform.HwEnumeration().Out().find("math_factory.engine") != std::string::npos;
  })) << platform.HwEnumeration().Out();
}

TEST(StartUp, WithoutHardwareEnumerationTheEngineStartsAllTheSame) {
  IsolatedPlatform::Options options;
  options.hw_enumeration = false;
  IsolatedPlatform platform(options);
  Process& engine = platform.StartEngine("math_factory_hh");
  EXPECT_THAT(
      LinesOf(engine.Out()),
      ElementsAre("Lumenar::MathInit createEngine", "MathInit::Start resolving hw inteface",
                  "Math engine : Hw enum interface narrow failed.",
                  "Math engine : Hw enum interface hwenum_ptr is null.", "Lumenar::MathInit createEngine done"));
}

struct SignalRow {
  int number;
  const char* line;
};

TEST(StartUp, ASignalEndsTheHostCleanly) {
  for (const SignalRow& row : {SignalRow{SIGTERM, "Lumenar::MathInit Join: Got terminate signal"},
                               SignalRow{SIGINT, "Lumenar::MathInit Join: Got terminate signal"},
                               SignalRow{SIGQUIT, "Lumenar::MathInit Join: Got quit signal"}}) {
    IsolatedPlatform platform;
    Process& engine = platform.StartEngine("math_factory_hh");
    engine.Signal(row.number);
    EXPECT_EQ(engine.WaitForExit(), 0);
    EXPECT_THAT(LinesOf(engine.Error()), ElementsAre(row.line));
  }
}

TEST(StartUp, WithoutANamingServiceTheHostSaysSoAndEndsWithStatusOne) {
  IsolatedPlatform platform;
  platform.KillNamingService();
  auto host = platform.Start("engine_host", {BuiltEngineLibrary("math_factory_hh").string()});
  EXPECT_EQ(host->WaitForExit(std::chrono::seconds(20)), 1);
  ASSERT_FALSE(LinesOf(host->Error()).empty());
  EXPECT_EQ(LinesOf(host->Error())[0].find("Lumenar::MathInit new: CORBA error:"), 0u) << host->Error();
  EXPECT_NE(host->Error().find(" on repo IDL:omg.org/CORBA/"), std::string::npos) << host->Error();
}

TEST(StartUp, ALibraryThatIsNotThereGivesOneLineAndStatusTwo) {
  IsolatedPlatform platform;
  auto host = platform.Start("engine_host", {"/nonexistent/libnothing.so.1"});
  EXPECT_EQ(host->WaitForExit(), 2);
  EXPECT_EQ(LinesOf(host->Error()).size(), 1u) << host->Error();
}

using SecondEngine = EngineFixture;

TEST_F(SecondEngine, StandsBesideTheFirstUnderItsOwnInstanceNumberAndTopics) {
  platform_.StartEngine("math_factory_hh");
  Corvanta::MathFactory::Interfaces_var second = bench_.Factory("2");
  ASSERT_FALSE(CORBA::is_nil(second));
  ScalarInput input(bench_, "INPUT", ScalarOf(1, Value::C_Watts));
  Corvanta::MathFactory::Math_var in_first = Create(Peak, Inputs(input));
  Corvanta::EngineAttribEnum_var(second->AttrType())->Set(Peak);
  Corvanta::MathFactory::Math_var in_second = second->CreateMath(Inputs(input));
  EXPECT_EQ(in_first->GetId(), 0);
  EXPECT_EQ(in_second->GetId(), 0);
  EXPECT_NE(ResultTopic(in_first), ResultTopic(in_second));

  Watcher<Scalar> first_results(ResultTopic(in_first));
  Watcher<Scalar> second_results(ResultTopic(in_second));
  input = ScalarOf(4, Value::C_Watts);
  EXPECT_EQ(first_results.WaitFor(1).size(), 1u);
  EXPECT_EQ(second_results.WaitFor(1).size(), 1u);
}

}  // namespace
}  // namespace Lumenar::Test
