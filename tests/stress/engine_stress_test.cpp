// The whole engine under everything at once, for LUMENAR_STRESS_SECONDS (3 by default); run with the sanitizers for long.
#include <gmock/gmock.h>

#include <cstdlib>

#include "platform/base/InstanceCounter.h"
#include "tests/stress/EngineStress.h"
#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Test {
namespace {

using testing::IsEmpty;
using testing::Pair;
using testing::Each;

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

  /// A sanitizer on a busy machine makes calls slow, and how long they take is not the matter here.
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

void ExpectWorkWasDone(const EngineStress::Counts& done) {
  EXPECT_GT(done.created, 10u);
  EXPECT_GT(done.refused, 0u);
  EXPECT_GT(done.deleted, 10u);
  EXPECT_GT(done.looked_at, 10u);
  EXPECT_GT(done.published, 10u);
}

TEST_F(Stress, EverythingAtOnceMeetsNoDeadObjectAndLeavesNothing) {
  EngineStress::Counts done;
  std::vector<std::string> faults;
  {
    const Silence silence;
    EngineStress stress;
    // The time is the purpose; a fault ends it early.
    WaitUntil([&] { return !stress.Faults().empty(); }, Duration());
    stress.Stop();
    done = stress.Done();
    faults = stress.Faults();
  }
  EXPECT_THAT(faults, IsEmpty());
  ExpectWorkWasDone(done);
  RecordProperty("created", std::to_string(done.created));
  ExpectNothingLeft();
}

TEST_F(Stress, TheEngineMayEndAtAnyMomentOfIt) {
  const auto end = std::chrono::steady_clock::now() + Duration();
  for (unsigned objects = 3; std::chrono::steady_clock::now() < end; objects = objects % 40 + 7) {
    std::vector<std::string> faults;
    {
      const Silence silence;
      EngineStress stress;
      WaitUntil([&] { return stress.Done().created >= objects; });
      stress.ShutDownUnderLoad();
      faults = stress.Faults();
    }
    EXPECT_THAT(faults, IsEmpty());
  }
  ExpectNothingLeft();
}

}  // namespace
}  // namespace Lumenar::Test
