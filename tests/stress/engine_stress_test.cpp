// SPDX-License-Identifier: Apache-2.0
// The whole engine under everything at once, for LUMENAR_STRESS_SECONDS (3 by
// default); run with the sanitizers for long.
#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>

#include "platform/base/InstanceCounter.h"
#include "tests/stress/EngineStress.h"
#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Test {
namespace {

using testing::Each;
using testing::IsEmpty;
using testing::Pair;

std::chrono::seconds Duration() {
  const char* text = std::getenv("LUMENAR_STRESS_SECONDS");
  return std::chrono::seconds(text == nullptr ? 3 : std::max(1, std::atoi(text)));
}

/// What the engine writes of refused requests would fill the log.
class Silence {
 public:
  Silence() { testing::internal::CaptureStdout(); }
  ~Silence() { static_cast<void>(testing::internal::GetCapturedStdout()); }
};

class Stress : public testing::Test {
 protected:
  Stress() : platform_(PatientOptions()) { platform_.UseInThisProcess(); }

  /// A sanitizer on a busy machine makes calls slow, and how long they take is
  /// not the matter here.
  static IsolatedPlatform::Options PatientOptions() {
    IsolatedPlatform::Options options;
    options.transport = "orb.call_timeout_ms = 60000";
    return options;
  }

  static void ExpectNothingLeft() {
    EXPECT_TRUE(WaitUntil([] {
      for (const auto& [name, live] : InstanceCounter::All())
        if (live != 0) return false;
      return true;
    }));
    EXPECT_THAT(InstanceCounter::All(), Each(Pair(testing::_, 0)));
  }

  IsolatedPlatform platform_;
};

void ExpectWorkWasDone(const StressClients::Counts& done) {
  EXPECT_GT(done.created, 10u);
  EXPECT_GT(done.refused, 0u);
  EXPECT_GT(done.deleted, 10u);
  EXPECT_GT(done.looked_at, 10u);
}

long LiveMathObjects() {
  for (const auto& [name, live] : InstanceCounter::All())
    if (name == "MathBase") return live;
  return 0;
}

TEST_F(Stress, EverythingAtOnceMeetsNoDeadObjectAndLeavesNothing) {
  StressClients::Counts done;
  std::vector<std::string> faults;
  unsigned long published = 0;
  {
    const Silence silence;
    EngineStress engine;
    StressClients clients(engine.Factory(), engine.Inputs(), StressClients::EndOfTheEngine::IsAFault);
    // The time is the purpose; a fault ends it early.
    WaitUntil([&] { return !clients.Faults().empty(); }, Duration());
    clients.Stop();
    done = clients.Done();
    faults = clients.Faults();
    published = engine.Published();
  }
  EXPECT_THAT(faults, IsEmpty());
  EXPECT_GT(published, 10u);
  ExpectWorkWasDone(done);
  RecordProperty("created", std::to_string(done.created));
  ExpectNothingLeft();
}

TEST_F(Stress, TheEngineMayEndAtAnyMomentOfIt) {
  const auto end = std::chrono::steady_clock::now() + Duration();
  for (unsigned long samples = 3; std::chrono::steady_clock::now() < end; samples = samples % 400 + 37) {
    bool busy = false;
    std::unique_ptr<Process> clients;
    {
      const Silence silence;
      EngineStress engine;
      clients = platform_.Start("stress_clients", engine.References());
      busy = WaitUntil([] { return LiveMathObjects() > 0; });
      const unsigned long before = engine.Published();
      WaitUntil([&] { return engine.Published() >= before + samples; });
      engine.ShutDown();
    }
    EXPECT_TRUE(busy);
    clients->Signal(SIGTERM);
    EXPECT_EQ(clients->WaitForExit(std::chrono::seconds(120)), 0) << clients->Out() << clients->Error();
  }
  ExpectNothingLeft();
}

}  // namespace
}  // namespace Lumenar::Test
