// SPDX-License-Identifier: Apache-2.0
// Completion as a shell uses it: the script is sourced, and its function asked as the shell would.
#include <csignal>
#include <filesystem>

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
    const Outcome result = InShell(script, {line});
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
  Out({"create", "Average", "LEVEL"});
  Out({"create", "Average", "LEVEL"});
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

/// A shell as somebody uses it who begins.
struct Shell {
  const char* program;
  std::vector<std::string> options;
  const char* setup;  ///< makes the prompt "GO> " and asks mathctl for its script
};

const Shell kShells[] = {
    {"/bin/bash", {"--norc", "--noprofile", "-i"}, "PS1='G''O> '; eval \"$(mathctl completion bash)\""},
    {"/usr/bin/zsh",
     {"-f", "-i"},
     "PS1='G''O> '; autoload -Uz compinit; compinit -D; eval \"$(mathctl completion zsh)\""},
    {"/usr/bin/fish",
     {"--no-config", "-i"},
     "function fish_prompt; echo -n 'G''O> '; end; mathctl completion fish | source"},
};

class ShellTest : public CompletionTest, public testing::WithParamInterface<Shell> {};

// Each line has a word that is not finished, where the tabulator is, and what the finished line writes.
TEST_P(ShellTest, AtAPromptTabCompletes) {
  if (!std::filesystem::exists(GetParam().program)) GTEST_SKIP() << "scripts/install-deps shells installs it";
  struct Line {
    const char* typed;
    const char* written;
  };
  const Line kLines[] = {
      {"mathctl typ\t\n", "CumulativeAdd"},                 // a verb
      {"mathctl get LEVEL --js\t\n", "\"reading\":"},       // an option
      {"mathctl list --format js\t\n", "\"words\":"},       // the value of one
      {"mathctl get TESTBENCH/1/LEV\t\n", "1 W  +0 +0 W"},  // a reading
      {"mathctl get testbench/1/lev\t\n", "1 W  +0 +0 W"},  // in letters of the other case
      {"mathctl get math:\t\n", "1 W  +0 +0 W"},            // a math object, behind the colon
      {"mathctl show mat\t\n", "TESTBENCH/1/LEVEL"},        // the same, before it
      {"mathctl create Subt\tLEVEL LEVEL\n", "math:1"},     // a type of math object
      {"mathctl apply ob\t --dry-run\n", "there"},          // a file
  };
  Out({"create", "Average", "LEVEL"});
  Out({"save", (platform_.Directory() / "objects.json").string()});
  std::map<std::string, std::string> environment = platform_.Environment();
  environment["PATH"] = BuiltProgram("mathctl").parent_path().string() + ":/usr/bin:/bin";
  environment["HOME"] = environment["XDG_CONFIG_HOME"] = platform_.Directory().string();
  environment["INPUTRC"] = "/dev/null";
  PseudoTerminal shell(GetParam().program, GetParam().options, environment);
  shell.Write("cd " + platform_.Directory().string() + "; " + GetParam().setup + "; echo re''ady\n");
  shell.ReadUntil("ready");
  for (const Line& line : kLines) {
    SCOPED_TRACE(line.typed);
    shell.ReadUntil("GO> ");
    shell.Write(line.typed);
    shell.ReadUntil(line.written);
  }
  shell.Write("exit\n");
  EXPECT_EQ(shell.Wait(), 0);
}

INSTANTIATE_TEST_SUITE_P(Of, ShellTest, testing::ValuesIn(kShells), [](const auto& shell) {
  return std::filesystem::path(shell.param.program).filename().string();
});

TEST_F(CompletionTest, ScriptsOfTheOtherShells) {
  EXPECT_THAT(Out({"completion", "zsh"}), HasSubstr("compdef _mathctl_words mathctl\n"));
  EXPECT_THAT(Out({"completion", "fish"}), HasSubstr("complete -c mathctl "));
  const Outcome wrong = Run({"completion", "tcsh"});
  EXPECT_EQ(wrong.exit_code, Mathctl::kUsage);
  EXPECT_THAT(wrong.error, testing::MatchesRegex("mathctl: SHELL: [^\n]+\n"));
}

}  // namespace
}  // namespace Lumenar::Test
