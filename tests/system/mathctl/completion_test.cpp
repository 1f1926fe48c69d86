// SPDX-License-Identifier: Apache-2.0
// Completion as a shell uses it: the script is sourced, and its function asked as the shell would.
#include <csignal>

#include "tests/system/mathctl/FrameFixture.h"

namespace Lumenar::Test {
namespace {

using testing::HasSubstr;

class CompletionTest : public FrameFixture {
 protected:
  // What bash offers at the end of `line`, one a line.
  std::string Offered(const std::string& line) {
    const std::string script =
        "PATH=${1%/*}:$PATH; eval \"$(mathctl completion bash)\"; COMP_LINE=$2; COMP_POINT=${#2}; "
        "_mathctl_words mathctl; printf '%s\\n' \"${COMPREPLY[@]}\"";
    const Result result = InShell(script, {line});
    EXPECT_EQ(result.exit_code, 0) << result.error;
    EXPECT_EQ(result.error, "") << line;
    return result.out;
  }

  ScalarInput level_{bench_, "LEVEL", ScalarOf(1, Value::C_Watts)};
  LongInput start_{bench_, "LENGTH", 1};
};

TEST_F(CompletionTest, OffersVerbsOptionsAndLiveNames) {
  EXPECT_EQ(Offered("mathctl wat"), "watch\n");
  EXPECT_EQ(Offered("mathctl watch --id"), "--idle\n");
  EXPECT_EQ(Offered("mathctl list --format j"), "json\n");
  EXPECT_EQ(Offered("mathctl get TESTBENCH/1/LE"), "TESTBENCH/1/LEVEL\nTESTBENCH/1/LENGTH\n");
  EXPECT_EQ(Offered("mathctl get testbench/1/lev"), "TESTBENCH/1/LEVEL\n");
  EXPECT_EQ(Offered("mathctl create Cum"), "CumulativeAdd\n");
  Written({"create", "Average", "LEVEL"});
  Written({"create", "Average", "LEVEL"});
  EXPECT_EQ(Offered("mathctl delete math:"), "0\n1\n") << "behind a colon, where bash begins a new word";
  EXPECT_EQ(Offered("mathctl delete m"), "math:0\nmath:1\n");
  EXPECT_EQ(Offered("mathctl set math:0 "), "SIZE\n");
}

TEST_F(CompletionTest, WithoutAPlatformItIsSilentAndSoonDone) {
  engine_.Signal(SIGSTOP);
  platform_.NamingService().Signal(SIGSTOP);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Offered("mathctl get LE"), "\n");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4));
  EXPECT_EQ(Offered("mathctl li"), "list\n") << "verbs need nobody";
  platform_.NamingService().Signal(SIGCONT);
  engine_.Signal(SIGCONT);
}

TEST_F(CompletionTest, AtAPromptTabCompletes) {
  std::map<std::string, std::string> environment = platform_.Environment();
  environment["PATH"] = BuiltProgram("mathctl").parent_path().string() + ":/usr/bin:/bin";
  environment["PS1"] = "$ ";
  environment["INPUTRC"] = "/dev/null";
  PseudoTerminal bash("/bin/bash", {"--norc", "--noprofile", "-i"}, environment);
  bash.ReadUntil("$ ");
  bash.Write("stty echo; eval \"$(mathctl completion bash)\"; echo re''ady\n");
  bash.ReadUntil("ready");
  bash.ReadUntil("$ ");
  bash.Write("mathctl get TESTBENCH/1/LEV\t");
  bash.ReadUntil("TESTBENCH/1/LEVEL");
  bash.Write("\n");
  bash.ReadUntil("1 W  +0 +0 W");
  bash.Write("exit\n");
  EXPECT_EQ(bash.Wait(), 0);
}

TEST_F(CompletionTest, ScriptsOfTheOtherShells) {
  EXPECT_THAT(Written({"completion", "zsh"}), HasSubstr("compdef _mathctl_words mathctl\n"));
  EXPECT_THAT(Written({"completion", "fish"}), HasSubstr("complete -c mathctl "));
  const Result wrong = Call({"completion", "tcsh"});
  EXPECT_EQ(wrong.exit_code, Mathctl::kUsage);
  EXPECT_THAT(wrong.error, HasSubstr("SHELL"));
}

}  // namespace
}  // namespace Lumenar::Test
