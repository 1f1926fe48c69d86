// SPDX-License-Identifier: Apache-2.0
// Row "limits of the system": no descriptors, no threads left.
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>

#include "tests/faults/FaultCase.h"
#include "tests/faults/ForeignUser.h"
#include "tests/faults/HostileTargets.h"
#include "tests/support/ProcessFigures.h"

namespace Lumenar::Test {
namespace {

using Corvanta::Test::ObjectAddress;
using Corvanta::Test::RawClient;
using Corvanta::Test::Wire;
using std::chrono::milliseconds;

/// A platform whose math engine is started by hand, under limits.
class SystemLimits : public testing::Test {
 protected:
  SystemLimits() { platform_.UseInThisProcess(); }

  /// Starts the engine by a command in front of its own ("prlimit --nofile=64 --").
  void StartEngine(std::vector<std::string> command) {
    for (const auto& part : {BuiltProgram("engine_host"), BuiltEngineLibrary("math_factory_hh")})
      command.push_back(part.string());
    engine_ = std::make_unique<Process>(std::move(command), platform_.Environment(), platform_.Directory() / "limited");
    ASSERT_TRUE(engine_->WaitForLine("Lumenar::MathInit createEngine done")) << engine_->Out() << engine_->Error();
    bench_ = std::make_unique<Testbench>();
    input_ = std::make_unique<ScalarInput>(*bench_, "INPUT", ScalarOf(1, Value::C_Watts));
    factory_ = bench_->Factory();
    address_ = AddressOf(*bench_, {"Lumenar", "local", "MATHFACTORY", "1"});
    EXPECT_EQ(Ask(), "ok");
  }

  std::string Ask() { return RawClient(address_).Call("ListMath", Wire()); }

  std::vector<std::unique_ptr<RawClient>> Connect(int count) {
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < count; ++i) clients.push_back(std::make_unique<RawClient>(address_));
    return clients;
  }

  /// How many processes and threads the engine's user may have. That user sets it: root may not everywhere.
  void LimitThreads(int most) {
    Process limiter(ForeignUser::Run(
        {"prlimit", "--pid", std::to_string(engine_->Pid()), "--nproc=" + std::to_string(most) + ":"}));
    ASSERT_EQ(limiter.WaitForExit(), 0) << limiter.Error();
  }

  void Limit(__rlimit_resource resource, rlim_t most) {
    rlimit limit{};
    ASSERT_EQ(prlimit(engine_->Pid(), resource, nullptr, &limit), 0);
    limit.rlim_cur = most;
    ASSERT_EQ(prlimit(engine_->Pid(), resource, &limit, nullptr), 0);
  }

  /// The engine does next to nothing while nobody asks it to.
  void ExpectNoSpin() {
    const auto span = ByLength(milliseconds(1500), milliseconds(5000));
    const auto before = ProcessorTime(engine_->Pid());
    WaitUntil([] { return false; }, span);  // the time over which it is watched
    const auto used = ProcessorTime(engine_->Pid()) - before;
    EXPECT_LT(used, span / 10);
    ReportFigure(std::to_string(used.count()) + " ms of processor time in " + std::to_string(span.count()) + " ms");
  }

  /// An object is created over a new connection, and its result computed.
  void ExpectWork() {
    Corvanta::EngineAttribEnum_var selector = factory_->AttrType();
    selector->Set(Peak);
    Corvanta::MathFactory::ReadingAttribSeq inputs;
    inputs.length(1);
    inputs[0] = input_->_this();
    Corvanta::MathFactory::Math_var math = factory_->CreateMath(inputs);
    factory_->DeleteMath(math->GetId());
    EXPECT_EQ(Ask(), "ok");
  }

  bool EngineSays(const std::string& text) {
    return WaitUntil([&] { return engine_->Error().find(text) != std::string::npos; });
  }

  std::size_t ErrorLines() const {
    const std::string lines = engine_->Error();
    return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n'));
  }

  IsolatedPlatform platform_;
  std::unique_ptr<Process> engine_;
  std::unique_ptr<Testbench> bench_;
  std::unique_ptr<ScalarInput> input_;
  Corvanta::MathFactory::Interfaces_var factory_;
  ObjectAddress address_;
};

TEST_F(SystemLimits, FewDescriptorsAndManyConnections) {
  DescribeFault("limits of the system", "64 descriptors for the engine, 200 idle connections",
                "no spin over 5 s, one line, clients served all the time, all descriptors back afterwards");
  StartEngine({"prlimit", "--nofile=64", "--"});
  const int before = CountDescriptors(engine_->Pid());
  {
    const auto idle = Connect(200);
    EXPECT_TRUE(EngineSays("32 connections, the limit: the longest silent one is closed for each further one"))
        << engine_->Error();
    EXPECT_TRUE(WaitUntil([&] { return CountDescriptors(engine_->Pid()) < 64; }))
        << "some stay free for the engine's own use";
    ExpectNoSpin();
    ExpectWork();
  }
  EXPECT_TRUE(WaitUntil([&] { return CountDescriptors(engine_->Pid()) <= before + 2; }))
      << CountDescriptors(engine_->Pid());
  ExpectWork();
  EXPECT_LE(ErrorLines(), 2u) << "the limit, and descriptors of connections that the ORB is taking apart: "
                              << engine_->Error();
}

TEST_F(SystemLimits, NoDescriptorLeft) {
  DescribeFault("no descriptor left", "the engine may open no descriptor more, 50 connections come",
                "closed at once, one line, no spin over 5 s; served again when there are descriptors");
  StartEngine({});
  Limit(RLIMIT_NOFILE, static_cast<rlim_t>(CountDescriptors(engine_->Pid())));
  auto refused = Connect(50);
  const auto closed = std::count_if(refused.begin(), refused.end(),
                                    [](auto& client) { return client->WaitUntilClosed(std::chrono::seconds(1)); });
  EXPECT_GE(closed, 45) << "a descriptor that the engine has done with meanwhile may serve one";
  EXPECT_TRUE(EngineSays("connection closed unserved: no descriptor for it: Too many open files")) << engine_->Error();
  ExpectNoSpin();
  Limit(RLIMIT_NOFILE, 1024);
  EXPECT_EQ(Ask(), "ok");
  ExpectWork();
  EXPECT_EQ(ErrorLines(), 1u) << engine_->Error();
}

TEST_F(SystemLimits, NoThreadLeft) {
  DescribeFault("no thread left", "the engine's user may start no thread more, 50 connections come",
                "closed at once, one line, no spin over 5 s; served again when there are threads");
  const std::string program = BuiltEngineLibrary("math_factory_hh").string();
  if (const std::string obstacle = ForeignUser::Obstacle(program); !obstacle.empty()) GTEST_SKIP() << obstacle;
  ASSERT_EQ(chown(platform_.Directory().c_str(), ForeignUser::kId, ForeignUser::kId), 0);
  StartEngine(ForeignUser::Run({}));
  LimitThreads(1);
  auto refused = Connect(50);
  EXPECT_TRUE(EngineSays("closed unserved: no thread for it")) << engine_->Error();
  ExpectNoSpin();
  LimitThreads(10000);
  EXPECT_TRUE(WaitUntil([&] { return Ask() == "ok"; }));
  ExpectWork();
  EXPECT_EQ(ErrorLines(), 1u) << engine_->Error();
}

}  // namespace
}  // namespace Lumenar::Test
