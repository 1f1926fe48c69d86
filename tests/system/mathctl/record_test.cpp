// SPDX-License-Identifier: Apache-2.0
// Readings into files.
#include <csignal>
#include <filesystem>

#include "recording/RecordingWriter.h"
#include "tests/support/PseudoTerminal.h"
#include "tests/system/mathctl/RecordingsFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kDone;
using Mathctl::kRefused;
using Mathctl::kUnreachable;
using Mathctl::kUsage;
using Recording::EventKind;
using testing::ElementsAre;
using testing::HasSubstr;

using RecordTest = RecordingsFixture;

TEST_F(RecordTest, KeepsEverySampleBitForBit) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3}, kdBm));
  ScalarInput level(bench_, "LEVEL", ScalarOf(0.1, kMilliwatt, -0.1, 0.2));
  LongInput count(bench_, "COUNT", 7);
  const std::string file = File("a.jsonl.zst");
  const auto record = StartRecord({file, "TRACE", "LEVEL", "COUNT", "-n", "4", "--json"}, 3);
  std::vector<Corvanta::SampleRecord> sent;
  sent.emplace_back(std::in_place_type<BT_DATA>, Trace({4, -0.0f}, kdBm, 9));
  sent.emplace_back(std::in_place_type<BT_DATA>, Trace({}, kdBm, 10));
  sent.emplace_back(std::in_place_type<Scalar>, ScalarOf(1.0 / 3, kMilliwatt, -1e-300, 0));
  sent.emplace_back(std::in_place_type<CORBA::Long>, -5);
  trace = std::get<BT_DATA>(sent[0]);
  trace = std::get<BT_DATA>(sent[1]);
  level = std::get<Scalar>(sent[2]);
  count = -5;
  ASSERT_EQ(record->WaitForExit(kPatience), kDone) << record->Error();
  EXPECT_EQ(ObjectsIn(record->Out()).at(0)["samples"], 7) << "three of which were present";
  EXPECT_EQ(ObjectsIn(record->Out()).at(0)["lost"], 0);

  const WholeRecording whole = Read(file);
  ASSERT_TRUE(whole.ended);
  ASSERT_EQ(whole.readings.size(), 3u);
  EXPECT_EQ(whole.readings[0].name, "TESTBENCH/1/TRACE");
  EXPECT_EQ(whole.readings[1].kind, "ValueDouble");
  EXPECT_EQ(whole.present.size(), 3u);
  ASSERT_EQ(whole.samples.size(), sent.size());
  for (std::size_t i = 0; i < sent.size(); ++i) {
    const auto of_reading = whole.SamplesOf(i < 2 ? 0 : static_cast<std::uint32_t>(i - 1));
    EXPECT_TRUE(Recording::SameBits(of_reading.at(i == 1 ? 1 : 0)->record, sent[i])) << i;
  }
}

TEST_F(RecordTest, TakesAnObjectWithAllThatItIsComputedFrom) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2}, kMilliwatt)), other(bench_, "OTHER", Trace({1, 1}, kMilliwatt));
  Out({"create", "Average", "TRACE"});
  Out({"set", "math:0", "SIZE", "3"});
  Out({"create", "Subtract", "math:0", "OTHER"});
  const std::string file = File("a.jsonl");
  const auto record = StartRecord({file, "--with-inputs", "math:1", "--reset"}, 5);
  ASSERT_TRUE(WaitUntil([&] { return TextOf(file).find("\"reset\"") != std::string::npos; }));
  Out({"set", "math:0", "SIZE", "4"});
  trace = Trace({3, 4}, kMilliwatt);
  ASSERT_TRUE(WaitUntil([&] { return Read(file).SamplesOf(0).size() == 1; }));
  record->Signal(SIGINT);
  ASSERT_EQ(record->WaitForExit(kPatience), kDone) << record->Error();

  const WholeRecording whole = Read(file);
  ASSERT_TRUE(whole.ended) << "Ctrl-C ends in good order";
  ASSERT_EQ(whole.readings.size(), 4u);
  EXPECT_EQ(whole.readings[0].name, "TESTBENCH/1/TRACE");
  EXPECT_EQ(whole.readings[1].object, (Recording::ObjectInfo{0, "Average", {"TESTBENCH/1/TRACE"}, 3}));
  EXPECT_EQ(whole.readings[2].name, "TESTBENCH/1/OTHER");
  EXPECT_EQ(whole.readings[3].object, (Recording::ObjectInfo{1, "Subtract", {"math:0", "TESTBENCH/1/OTHER"}, 0}));
  ASSERT_EQ(whole.events.size(), 2u);
  EXPECT_EQ(whole.events[0].kind, EventKind::Reset);
  EXPECT_EQ(whole.events[0].reading, 1u);
  EXPECT_EQ(whole.events[1].kind, EventKind::Size);
  EXPECT_EQ(whole.events[1].value, 4);
}

TEST_F(RecordTest, BeginsAnotherFileWhenOneIsLarge) {
  TraceInput trace(bench_, "TRACE", Trace(std::vector<float>(1000, 1), kMilliwatt));
  const std::string file = File("a.jsonl");
  const auto record = StartRecord({file, "TRACE", "--rotate-size", "8k", "-n", "12", "--json"}, 1);
  for (int i = 0; i < 12; ++i) trace = Trace(std::vector<float>(1000, 1), kMilliwatt);
  ASSERT_EQ(record->WaitForExit(kPatience), kDone) << record->Error();
  const auto parts = ObjectsIn(record->Out()).at(0)["parts"].get<std::uint32_t>();
  ASSERT_GE(parts, 3u);
  std::size_t samples = 0;
  for (std::uint32_t part = 1; part <= parts; ++part) {
    const WholeRecording whole = Read(Recording::PartPath(file, part));
    EXPECT_TRUE(whole.ended) << part;
    samples += whole.samples.size();
  }
  EXPECT_EQ(samples, 12u);
}

TEST_F(RecordTest, EndsAfterSomeTime) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  const std::string file = File("a.jsonl");
  EXPECT_EQ(Run({"record", file, "LEVEL", "--for", "0.2", "--quiet"}).out, "");
  EXPECT_TRUE(Read(file).ended);
}

TEST_F(RecordTest, ShowsOnATerminalHowFarItIs) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  PseudoTerminal terminal(BuiltProgram("mathctl"), {"record", File("a.jsonl"), "LEVEL"}, platform_.Environment());
  terminal.ReadUntil("s: 0 samples, ");
  terminal.Write("\x03");
  EXPECT_EQ(terminal.Wait(), kDone);
  EXPECT_THAT(terminal.All(), HasSubstr("FILE"));
  EXPECT_TRUE(Read(File("a.jsonl")).ended);
}

TEST_F(RecordTest, SaysWhatIsWrongInOneLine) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  const std::string there = File("there.jsonl");
  WriteFile(there, "dear");
  ExpectRefused({{"record"}, kUsage, "FILE is required"});
  ExpectRefused({{"record", File("a.jsonl")}, kUsage, "READING or --with-inputs"});
  ExpectRefused({{"record", File("a.jsonl"), "LEVEL", "-n", "0"}, kUsage, "-n"});
  ExpectRefused({{"record", File("a.jsonl"), "LEVEL", "-n", "-3"}, kUsage, "-n"});
  ExpectRefused({{"record", File("a.jsonl"), "LEVEL", "--rotate-size", "12"}, kUsage, "from 4096 on"});
  ExpectRefused({{"record", File("a.jsonl"), "LEVEL", "--rotate-size", "much"}, kUsage, "--rotate-size"});
  ExpectRefused({{"record", File("a.jsonl"), "LEVEL", "--for", "0"}, kUsage, "--for"});
  ExpectRefused({{"record", File("a.jsonl"), "NOWHERE"}, kRefused, "NOWHERE"});
  ExpectRefused({{"record", File("a.jsonl"), "--with-inputs", "LEVEL"}, kUsage, "math object"});
  ExpectRefused({{"record", File("a.jsonl"), "--with-inputs", "math:9"}, kRefused, "no math object"});
  ExpectRefused({{"record", there, "LEVEL", "-n", "1"}, kRefused, "(--force replaces it)"});
  ExpectRefused({{"record", File("no/such/a.jsonl"), "LEVEL", "-n", "1"}, kRefused, "No such file or directory"});
  EXPECT_EQ(TextOf(there), "dear");
  EXPECT_FALSE(std::filesystem::exists(File("a.jsonl"))) << "nothing is left of what could not begin";
}

TEST_F(RecordTest, OnAFullDiskEndsWithOneLine) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  const Outcome outcome = Run({"record", "/dev/full", "LEVEL", "--for", "5"});
  EXPECT_EQ(outcome.exit_code, kRefused);
  EXPECT_EQ(outcome.error, "mathctl: /dev/full: No space left on device\n");
}

TEST_F(RecordTest, NotesThatTheTopicManagerWasAway) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  platform_.KillTopicManager();
  const Outcome outcome = Run({"record", File("a.jsonl"), "LEVEL", "-n", "1", "--timeout", "1"});
  EXPECT_EQ(outcome.exit_code, kUnreachable);
  EXPECT_THAT(outcome.error, HasSubstr("topic manager"));
  EXPECT_FALSE(std::filesystem::exists(File("a.jsonl")));
}

}  // namespace
}  // namespace Lumenar::Test
