// SPDX-License-Identifier: Apache-2.0
// How much of a long recording is in memory while it is checked.
#include <gtest/gtest.h>
#include <unistd.h>

#include <vector>

#include "judge/verify/RecordingCheck.h"
#include "tests/support/ProcessFigures.h"
#include "tests/support/RecordedObject.h"

namespace Lumenar::Judge {
namespace {

TEST(JudgeRecording, IsReadInTheMemoryOfSomeSeconds) {
  constexpr int kSamples = 1500, kPoints = 4001;
  const TemporaryFolder folder;
  const auto trace = [](int i) { return TraceOf(std::vector<float>(kPoints, static_cast<float>(i)), kWatts); };
  RecordedObject object("Peak", {trace(0)});
  object.step_ns = 50 * kMillisecond;
  for (int i = 1; i <= kSamples; ++i) object.Sample(0, trace(i));
  object.Write(folder.File("a.jsonl"));
  Lumenar::Test::ForgetPeakMemory(::getpid());
  const long before_kB = Lumenar::Test::ResidentMemory_kB(::getpid());
  EXPECT_TRUE(RecordingCheck().Run({folder.File("a.jsonl")}).IsProven());
  const long more_kB = Lumenar::Test::PeakMemory_kB(::getpid()) - before_kB;
  EXPECT_LT(more_kB, 16'000) << "of " << 2 * kSamples * kPoints * sizeof(float) / 1000 << " kB of samples";
}

}  // namespace
}  // namespace Lumenar::Judge
