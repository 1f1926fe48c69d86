// SPDX-License-Identifier: Apache-2.0
// Recordings as readings of the same names, units and times.
#include <csignal>

#include "recording/RecordingWriter.h"
#include "tests/support/PseudoTerminal.h"
#include "tests/system/mathctl/RecordingsFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kDone;
using Mathctl::kRefused;
using Mathctl::kUsage;
using Recording::ReadingInfo;
using Recording::Sample;
using testing::ElementsAre;
using testing::HasSubstr;

const std::string kSweeps = LUMENAR_RECORDED_DATA "/sweeps.csv";
constexpr std::int64_t kBegin_ns = 1'714'979'289'000'000'000;

template <class T>
Corvanta::SampleRecord Record(const T& record) {
  return Corvanta::SampleRecord(std::in_place_type<T>, record);
}

class ReplayTest : public RecordingsFixture {
 protected:
  // Two engines, and the result of an object; ten samples of each, 20 ms apart.
  std::string Recorded() {
    const std::string file = File("a.jsonl");
    Recording::RecordingWriter writer(file, {}, kBegin_ns);
    writer.Add({0, "OLD/1/TRACE", "OLD/1", "TRACE", "BasicTrace", "OLD/1/TRACE", std::nullopt});
    writer.Add({0, "OTHER/1/LEVEL", "OTHER/1", "LEVEL", "ValueDouble", "OTHER/1/LEVEL", std::nullopt});
    writer.Add({0, "math:4", "MATHFACTORY/1", "RESULT", "BasicTrace", "MATHFACTORY/1/RESULT",
                Recording::ObjectInfo{4, "Average", {"OLD/1/TRACE"}, 2}});
    for (unsigned i = 0; i < 10; ++i) {
      const std::int64_t time_ns = kBegin_ns + i * 20'000'000;
      const auto level = static_cast<float>(i);
      writer.Write(Sample{0, time_ns, Record(Trace({level, 1}, kdBm, i))});
      writer.Write(Sample{1, time_ns, Record(ScalarOf(i, kMilliwatt))});
      writer.Write(Sample{2, time_ns, Record(Trace({level, 2}, kdBm, i))});
    }
    writer.Finish(kBegin_ns, 0);
    return file;
  }
};

TEST_F(ReplayTest, PlaysEverySampleUnderItsName) {
  const std::string file = Recorded();
  const auto replay = platform_.Start("mathctl", {"replay", file, "--speed", "0.05", "--json"});
  ASSERT_TRUE(WaitUntil([&] { return ObjectsIn(replay->Out()).size() == 3; })) << replay->Error();
  EXPECT_EQ(ObjectsIn(replay->Out())[0]["reading"], "OLD/1/TRACE");
  EXPECT_EQ(ObjectsIn(replay->Out())[1]["reading"], "OTHER/1/LEVEL");
  EXPECT_EQ(ObjectsIn(replay->Out())[2]["reading"], "REPLAY/1/MATH_4");
  const std::string again = File("again.jsonl");
  Out({"record", again, "OLD/1/TRACE", "-n", "3"});
  ASSERT_EQ(replay->WaitForExit(kPatience), kDone) << replay->Error();
  const WholeRecording original = Read(file), whole = Read(again);
  ASSERT_EQ(whole.samples.size(), 3u);
  const auto first = std::get<BT_DATA>(whole.samples[0].record).sequence_number;
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_TRUE(Recording::SameBits(whole.samples[i].record, original.SamplesOf(0).at(first + i)->record)) << i;
  const double seconds = static_cast<double>(whole.samples[2].time_ns - whole.samples[0].time_ns) / 1e9;
  EXPECT_NEAR(seconds, 0.8, 0.3) << "a twentieth of the speed";
  EXPECT_EQ(Run({"get", "OLD/1/TRACE"}).exit_code, kRefused) << "the readings go with the replay";
}

TEST_F(ReplayTest, LeavesTheReadingsThereWhereAsked) {
  const auto replay = platform_.Start("mathctl", {"replay", Recorded(), "--speed", "0", "--stay", "--rename",
                                                  "OLD/1=NEW", "--rename", "OTHER/1/LEVEL=NEW/1/POWER"});
  ASSERT_TRUE(WaitUntil([&] { return Run({"get", "NEW/1/POWER"}).out == "9 mW  +0 +0 mW\n"; })) << replay->Error();
  EXPECT_THAT(Out({"get", "NEW/1/TRACE"}), HasSubstr("max 9 dBm"));
  replay->Signal(SIGTERM);
  EXPECT_EQ(replay->WaitForExit(kPatience), kDone);
  EXPECT_EQ(replay->Error(), "");
}

TEST_F(ReplayTest, BeginsAgainWhereAsked) {
  const auto replay = platform_.Start("mathctl", {"replay", Recorded(), "--loop", "--speed", "4"});
  const std::string again = File("again.jsonl");
  ASSERT_TRUE(WaitUntil([&] { return Run({"get", "OTHER/1/LEVEL"}).exit_code == kDone; })) << replay->Error();
  Out({"record", again, "OTHER/1/LEVEL", "-n", "25"});
  replay->Signal(SIGINT);
  EXPECT_EQ(replay->WaitForExit(kPatience), kDone);
}

TEST_F(ReplayTest, AnEngineThatRunsKeepsItsName) {
  const auto first = platform_.Start("mathctl", {"replay", Recorded(), "--stay", "--json"});
  ASSERT_TRUE(WaitUntil([&] { return ObjectsIn(first->Out()).size() == 3; })) << first->Error();
  const auto second = platform_.Start("mathctl", {"replay", File("a.jsonl"), "--speed", "0", "--json"});
  ASSERT_EQ(second->WaitForExit(kPatience), kDone) << second->Error();
  EXPECT_EQ(ObjectsIn(second->Out())[0]["reading"], "OLD/2/TRACE");
  EXPECT_EQ(ObjectsIn(second->Out())[0]["recorded_as"], "OLD/1/TRACE");
}

TEST_F(ReplayTest, PlaysFilesOfOtherInstruments) {
  const auto replay = platform_.Start("mathctl", {"replay", kSweeps, "--speed", "0", "--stay"});
  ASSERT_TRUE(WaitUntil([&] {
    return Objects({"readings"}).size() > 0 && Run({"get", "REPLAY/1/SWEEPS"}).exit_code == 0;
  }));
  EXPECT_THAT(Out({"get", "REPLAY/1/SWEEPS"}), HasSubstr("60 points  min "));
  EXPECT_THAT(Out({"get", "REPLAY/1/SWEEPS"}), HasSubstr("dB(10^2 %)"));
}

TEST_F(ReplayTest, ShowsOnATerminalHowFarItIs) {
  PseudoTerminal terminal(BuiltProgram("mathctl"), {"replay", Recorded(), "--speed", "0.05"}, platform_.Environment());
  terminal.ReadUntil(" s of 4");
  terminal.Write("\x03");
  EXPECT_EQ(terminal.Wait(), kDone);
}

TEST_F(ReplayTest, EndsWithItsStarter) {
  const auto replay = platform_.Start("mathctl", {"replay", Recorded(), "--stay", "--json"});
  ASSERT_TRUE(WaitUntil([&] { return ObjectsIn(replay->Out()).size() == 3; })) << replay->Error();
  replay->Signal(SIGKILL);
  EXPECT_TRUE(WaitUntil([&] { return Run({"get", "OLD/1/TRACE"}).exit_code != kDone; }));
}

TEST_F(ReplayTest, SaysWhatIsWrongInOneLine) {
  const std::string file = Recorded();
  ExpectRefused({{"replay"}, kUsage, "FILE is required"});
  ExpectRefused({{"replay", File("none.jsonl")}, kRefused, "No such file or directory"});
  ExpectRefused({{"replay", file, "--speed", "-1"}, kUsage, "--speed"});
  ExpectRefused({{"replay", file, "--rename", "OLD/1"}, kUsage, "expected OLD=NEW"});
  ExpectRefused({{"replay", file, "--rename", "X/1=Y"}, kUsage, "no engine or reading X/1"});
  std::string text = TextOf(file);
  text[text.size() / 2] ^= 1;
  WriteFile(File("b.jsonl"), text);
  ExpectRefused({{"replay", File("b.jsonl")}, kRefused, "b.jsonl:"});
  WriteFile(File("c.csv"), "a,b\n");
  ExpectRefused({{"replay", File("c.csv")}, kRefused, "c.csv:1: "});
}

}  // namespace
}  // namespace Lumenar::Test
