// SPDX-License-Identifier: Apache-2.0
// Standard output on a full disk, or closed by its reader.
#include <gmock/gmock.h>

#include <csignal>

#include "tests/faults/FaultCase.h"
#include "tests/faults/ProgramRun.h"
#include "tests/support/EngineFixture.h"

namespace Lumenar::Test {
namespace {

using Words = std::vector<std::string>;

class StandardOutput : public EngineFixture {
 protected:
  int StatusOf(const std::string& shell_line, const std::string& program, const Words& words, std::string& error) {
    const auto process = StartInShell(shell_line, program, words, platform_.Environment());
    const int status = process->WaitForExit(std::chrono::seconds(20));
    error = process->Error();
    return status;
  }

  /// Every verb that writes, and help.
  std::vector<Words> WritingVerbs() {
    std::vector<Words> verbs{{"engines"},
                             {"readings"},
                             {"readings", "--values"},
                             {"types"},
                             {"create", "Average", "LEVEL"},
                             {"list"},
                             {"get", "LEVEL"},
                             {"subscriptions"},
                             {"graph"},
                             {"--help"},
                             {"watch", "--help"},
                             {"show", "0"},
                             {"explain", "0"},
                             {"top", "-n", "1"},
                             {"save"},
                             {"completion", "bash"}};
    for (const char* verb : {"engines", "readings", "types", "list", "graph"}) verbs.push_back({verb, "--json"});
    return verbs;
  }
};

TEST_F(StandardOutput, OnAFullDisk) {
  DescribeFault("full standard output",
                "/dev/full as standard output of every verb that writes, and of every program's --help",
                "one line, exit 1");
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  const std::string line = "exec \"$@\" >/dev/full";
  std::string error;
  for (const Words& words :
       {Words{"doctor"}, Words{"doctor", "--json"}}) {  // before there is an object without samples
    EXPECT_EQ(StatusOf(line, "mathctl", words, error), 1) << testing::PrintToString(words);
    EXPECT_EQ(error, "mathctl: standard output: No space left on device\n") << testing::PrintToString(words);
  }
  Create(Average, Inputs(level));
  for (const Words& words : WritingVerbs()) {
    EXPECT_EQ(StatusOf(line, "mathctl", words, error), 1) << testing::PrintToString(words);
    EXPECT_EQ(error, "mathctl: standard output: No space left on device\n") << testing::PrintToString(words);
  }
  for (const char* program : {"topic_manager", "hw_enumeration", "engine_host", "math_web"}) {
    EXPECT_EQ(StatusOf(line, program, {"--help"}, error), 1);
    EXPECT_EQ(error, std::string(program) + ": standard output: No space left on device\n");
  }
  EXPECT_EQ(StatusOf(line, "mathctl", {"set", "0", "SIZE", "3"}, error), 0) << "writes nothing: " << error;
}

TEST_F(StandardOutput, OfAWatchOnAFullDiskEndsIt) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  const auto watch = StartInShell("exec \"$@\" >/dev/full", "mathctl", {"watch", "LEVEL"}, platform_.Environment());
  int value = 0;
  EXPECT_TRUE(WaitUntil([&] {
    level = ScalarOf(++value, Value::C_Watts);
    return !watch->IsRunning();
  }));
  EXPECT_EQ(watch->WaitForExit(), 1);
  EXPECT_EQ(watch->Error(), "mathctl: standard output: No space left on device\n");
}

TEST_F(StandardOutput, ClosedByItsReader) {
  DescribeFault("closed pipe", "a reader that closes the pipe behind the tool before it writes",
                "quiet, ended by SIGPIPE as the shell's tools are");
  std::string error;
  const std::string line = "exec \"$@\" > >(exec true)";
  for (const Words& words : {Words{"readings"}, Words{"doctor"}, Words{"--help"}}) {
    EXPECT_EQ(StatusOf(line, "mathctl", words, error), 128 + SIGPIPE) << testing::PrintToString(words);
    EXPECT_EQ(error, "") << testing::PrintToString(words);
  }
}

}  // namespace
}  // namespace Lumenar::Test
