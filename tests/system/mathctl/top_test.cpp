// SPDX-License-Identifier: Apache-2.0
// The live list: on a terminal a picture that is drawn again, elsewhere blocks of lines.
#include <csignal>

#include "tests/support/PseudoTerminal.h"
#include "tests/system/mathctl/ObjectsFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kDone;
using Mathctl::kRefused;
using Mathctl::kUsage;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kAlternateScreen = "\x1b[?1049h";
constexpr const char* kFormerScreen = "\x1b[?1049l";

class TopTest : public ObjectsFixture {
 protected:
  TopTest() { Out({"create", "Average", "LEVEL"}); }

  PseudoTerminal OnTerminal(const Words& words, const std::map<std::string, std::string>& more = {}) {
    auto environment = platform_.Environment();
    environment["TERM"] = "xterm";
    environment["NO_COLOR"] = "";
    for (const auto& [name, value] : more) environment[name] = value;
    return PseudoTerminal(BuiltProgram("mathctl"), words, environment, {120, 24});
  }

  ScalarInput level_{bench_, "LEVEL", ScalarOf(1, Value::C_Watts)};
};

TEST_F(TopTest, WritesABlockARoundWhereThereIsNoTerminal) {
  const std::string out = Out({"top", "-n", "2", "-d", "0.05"});
  EXPECT_THAT(out, Not(HasSubstr("\x1b")));
  const char* block =
      "[0-9:.]+  1 math object: 1 waiting\n"
      "MATHFACTORY/1 [^\n]*MB   TESTBENCH/1 [^\n]*MB\n"
      "\n"
      "ID +TYPE +INPUTS +RESULT +SIZE +RATE +AGE +QUEUED +DROPPED +STATE\n"
      "math:0 +Average +TESTBENCH/1/LEVEL +W +1 of 1 +- +[0-9.]+ m?s +0 +0 +waiting for a first sample of "
      "TESTBENCH/1/LEVEL\n"
      "\n";
  EXPECT_THAT(out, testing::MatchesRegex(std::string(block) + block));
  EXPECT_THAT(out, ContainsRegex("MATHFACTORY/1 [0-9.]+ % ")) << "processor time from the second round on";
}

TEST_F(TopTest, IsJsonForPrograms) {
  const auto rows = Objects({"top", "-n", "2", "-d", "0.05"});
  ASSERT_EQ(rows.size(), 6u) << "two engines and an object, twice";
  EXPECT_EQ(rows[0]["process"], "MATHFACTORY/1");
  EXPECT_EQ(rows[0]["processor_share"], json());
  EXPECT_GE(rows[3]["processor_share"], 0);
  EXPECT_GT(rows[3]["resident_bytes"], 1000000);
  EXPECT_EQ(rows[5]["object"], "math:0");
  EXPECT_EQ(rows[5]["queued"], 0);
  EXPECT_EQ(rows[5]["dropped"], 0);
}

TEST_F(TopTest, OnATerminalIsDrawnAgainAndEndsWithQ) {
  PseudoTerminal terminal = OnTerminal({"top", "-d", "0.1"});
  terminal.ReadUntil(kAlternateScreen);
  terminal.ReadUntil("waiting for a first sample");
  level_ = ScalarOf(2, Value::C_Watts);
  terminal.ReadUntil("1 math object: 1 live");
  terminal.Write("q");
  EXPECT_EQ(terminal.Wait(), kDone);
  EXPECT_THAT(terminal.All(), AllOf(HasSubstr("\x1b[7m"), testing::ContainsRegex("\x1b\\[\\?1049l$")));
}

TEST_F(TopTest, CtrlCEndsItAndGivesTheTerminalBack) {
  PseudoTerminal terminal = OnTerminal({"top"});
  terminal.ReadUntil("math:0");
  terminal.Write("\x03");
  EXPECT_EQ(terminal.Wait(), kDone);
  EXPECT_THAT(terminal.All(), HasSubstr(kFormerScreen));
}

TEST_F(TopTest, ATerminalIsGivenBackAlsoWhenTheEngineHangs) {
  PseudoTerminal terminal = OnTerminal({"top", "-d", "0.05"});
  terminal.ReadUntil("math:0");
  engine_.Signal(SIGSTOP);
  terminal.Write("\x03");
  terminal.ReadUntil(kFormerScreen);
  terminal.Wait();
  engine_.Signal(SIGCONT);
}

TEST_F(TopTest, NoColorLeavesColorsOut) {
  PseudoTerminal terminal = OnTerminal({"top", "-n", "1"}, {{"NO_COLOR", "1"}});
  EXPECT_EQ(terminal.Wait(), kDone);
  EXPECT_THAT(terminal.All(), AllOf(HasSubstr("math:0"), Not(HasSubstr("\x1b[7m")), Not(HasSubstr("\x1b[33m"))));
}

TEST_F(TopTest, MovesThroughMoreObjectsThanThereIsRoomFor) {
  for (int i = 0; i < 40; ++i) Create(Peak, Inputs(level_));
  PseudoTerminal terminal = OnTerminal({"top", "-d", "60"});
  terminal.ReadUntil("math:10 ");
  EXPECT_THAT(terminal.All(), Not(HasSubstr("math:40 ")));
  terminal.Write("G");
  terminal.ReadUntil("math:40 ");
  terminal.Write("g");
  terminal.ReadUntil("math:0 ");
  terminal.Write("q");
  EXPECT_EQ(terminal.Wait(), kDone);
}

TEST_F(TopTest, GoesOnWithoutTheTopicManager) {
  platform_.KillTopicManager();
  const std::string out = Out({"top", "-n", "1"});
  EXPECT_THAT(out, ContainsRegex("math:0 [^\n]* \\? +\\? "));
  EXPECT_THAT(out, HasSubstr("topic manager"));
}

TEST_F(TopTest, PutsTroubleFirstWhenAskedTo) {
  ScalarInput other(bench_, "OTHER", ScalarOf(1, Value::C_Watts));
  Out({"create", "Peak", "OTHER"});
  level_ = ScalarOf(2, Value::C_Watts);
  ASSERT_TRUE(WaitForWords("math:0", "live"));
  EXPECT_THAT(Out({"top", "-n", "1", "--trouble"}), ContainsRegex("math:1 [^\n]*\nmath:0 "));
}

TEST_F(TopTest, RefusesWhatMakesNoSense) {
  for (const Refused& row : {Refused{{"top", "-n", "0"}, kUsage, "-n"}, Refused{{"top", "-n", "-3"}, kUsage, "-n"},
                             Refused{{"top", "-d", "0"}, kUsage, "--delay"},
                             Refused{{"top", "math:8"}, kRefused, "no math object math:8"}}) {
    ExpectRefused(row);
  }
}

}  // namespace
}  // namespace Lumenar::Test
