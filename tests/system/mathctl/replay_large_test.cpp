// SPDX-License-Identifier: Apache-2.0
// A recording that takes long to be read: it plays all the same at once, in little memory, and what is wrong with its end is
// said when it is met.
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>

#include "recording/RecordingWriter.h"
#include "tests/support/ProcessFigures.h"
#include "tests/system/mathctl/RecordingsFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kDone;
using Mathctl::kRefused;
using Recording::Sample;
using testing::HasSubstr;

constexpr std::int64_t kBeginOfLarge_ns = 1'714'979'289'000'000'000;
constexpr std::int64_t kStep_ns = 20'000'000;

class ReplayLargeTest : public RecordingsFixture {
 protected:
  /// Some 100 MB of traces, and behind them a reading that was introduced late.
  std::string Large() {
    constexpr int kSamples = 2000, kPoints = 10001;
    const std::string file = File("large.jsonl");
    Recording::RecordingWriter writer(file, {}, kBeginOfLarge_ns);
    writer.Add({0, "OLD/1/TRACE", "OLD/1", "TRACE", "BasicTrace", "OLD/1/TRACE", std::nullopt});
    std::int64_t time_ns = kBeginOfLarge_ns;
    for (int i = 0; i < kSamples; ++i) {
      const auto trace = Trace(std::vector<float>(kPoints, static_cast<float>(i)), kdBm, static_cast<unsigned>(i));
      writer.Write(Sample{0, time_ns, Corvanta::SampleRecord(std::in_place_type<BT_DATA>, trace)});
      time_ns += kStep_ns;
    }
    writer.Add({0, "LATE/1/COUNT", "LATE/1", "COUNT", "long", "LATE/1/COUNT", std::nullopt});
    writer.Write(Sample{1, time_ns, Corvanta::SampleRecord(std::in_place_type<CORBA::Long>, 3)});
    writer.Finish(time_ns, 0);
    return file;
  }

  static void FlipABitNearTheEnd(const std::string& path) {
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekg(-2000, std::ios::end);
    const char letter = static_cast<char>(file.get());
    file.seekp(-2000, std::ios::end);
    file.put(static_cast<char>(letter ^ 1));
  }
};

TEST_F(ReplayLargeTest, BeginsBeforeAllOfItWasRead) {
  const std::string file = Large();
  const auto begin = std::chrono::steady_clock::now();
  const auto replay = platform_.Start("mathctl", {"replay", file, "--json"});
  ASSERT_TRUE(WaitUntil([&] { return !replay->Out().empty(); })) << replay->Error();
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
  std::printf("a replay of %.0f MB begins within %.2f s\n", static_cast<double>(std::filesystem::file_size(file)) / 1e6,
              took.count());
  EXPECT_LT(took.count(), 3) << "a second on a machine that does nothing else";
  EXPECT_TRUE(ObjectsIn(replay->Out()).at(0)["samples"].is_null()) << "nobody has counted them yet";
  const std::string again = File("again.jsonl");
  Out({"record", again, "OLD/1/TRACE", "-n", "2"});
  EXPECT_EQ(Read(again).samples.size(), 2u);
  EXPECT_LT(PeakMemory_kB(replay->Pid()), 60'000);
  replay->Signal(SIGINT);
  EXPECT_EQ(replay->WaitForExit(kPatience), kDone);
  EXPECT_EQ(replay->Error(), "");
}

TEST_F(ReplayLargeTest, SaysWhichReadingsComeTooLate) {
  const Outcome outcome = Run({"replay", Large(), "--speed", "0"});
  EXPECT_EQ(outcome.exit_code, kDone);
  EXPECT_EQ(outcome.error, "mathctl: LATE/1/COUNT is introduced late in the file, and is not played\n");
}

TEST_F(ReplayLargeTest, WhatIsDamagedPlaysUpToThere) {
  const std::string file = Large();
  FlipABitNearTheEnd(file);
  const Outcome outcome = Run({"replay", file, "--speed", "0"});
  EXPECT_EQ(outcome.exit_code, kRefused);
  EXPECT_THAT(outcome.out, HasSubstr("OLD/1/TRACE")) << "it began";
  EXPECT_THAT(outcome.error, HasSubstr("large.jsonl:"));
  EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
}

}  // namespace
}  // namespace Lumenar::Test
