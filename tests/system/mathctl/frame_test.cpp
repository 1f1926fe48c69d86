// SPDX-License-Identifier: Apache-2.0
// What all verbs have in common: options, formats, where results and errors go, and how the program ends.
#include <sys/wait.h>

#include <csignal>

#include "platform/base/Version.h"
#include "tests/system/mathctl/FrameFixture.h"

namespace Lumenar::Test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

class FrameTest : public FrameFixture {
 protected:
  ScalarInput level_{bench_, "LEVEL", ScalarOf(1.23456789012345, Value::C_Watts)};
  TraceInput trace_{bench_, "TRACE", Trace({1, 2}, kMilliwatt)};
};

TEST_F(FrameTest, PatternsAndSeveralNames) {
  EXPECT_THAT(Out({"readings", "TESTBENCH/1/*"}),
              MatchesRegex("READING +KIND\nTESTBENCH/1/LEVEL +ValueDouble\nTESTBENCH/1/TRACE +BasicTrace\n"));
  EXPECT_THAT(Out({"readings", "trace", "LEVEL"}), HasSubstr("\nTESTBENCH/1/LEVEL")) << "in the order of the engine";
  const Outcome none = Run({"readings", "PROBE/*"});
  EXPECT_EQ(none.exit_code, Mathctl::kRefused);
  EXPECT_EQ(none.error, "mathctl: no reading \"PROBE/*\"; `mathctl readings` lists them\n");
}

TEST_F(FrameTest, FormatsOfTheSameResult) {
  EXPECT_EQ(Out({"readings", "LEVEL", "--format", "csv"}),
            "reading,kind,settable,topic\nTESTBENCH/1/LEVEL,ValueDouble,false,TESTBENCH/1/LEVEL\n");
  EXPECT_EQ(Out({"--format", "JSON", "readings", "LEVEL"}),
            "{\"reading\":\"TESTBENCH/1/LEVEL\",\"kind\":\"ValueDouble\",\"settable\":false,"
            "\"topic\":\"TESTBENCH/1/LEVEL\"}\n");
  EXPECT_THAT(Out({"readings", "TESTBENCH/*", "--values", "--format", "csv"}),
              HasSubstr(",present.kind,present.units,"));
  EXPECT_THAT(Out({"engines", "--format", "csv"}), StartsWith("engine,address,answers,problem,version\n"));
  EXPECT_EQ(Out({"subscriptions", "--format", "csv"}), "");
}

TEST_F(FrameTest, PrecisionIsForPeople) {
  EXPECT_EQ(Out({"get", "LEVEL"}), "1.23457 W  +0 +0 W\n");
  EXPECT_EQ(Out({"get", "LEVEL", "--precision", "3"}), "1.23 W  +0 +0 W\n");
  EXPECT_EQ(ObjectsIn(Out({"get", "LEVEL", "--json", "--precision", "3"})).at(0)["value"], 1.23456789012345);
}

TEST_F(FrameTest, VerboseAndQuiet) {
  const Outcome verbose = Run({"-v", "engines"});
  EXPECT_THAT(verbose.error, StartsWith("mathctl: naming service " + platform_.NamingAddress() + ", time limit 5 s"));
  EXPECT_EQ(verbose.exit_code, Mathctl::kDone);
  engine_.Signal(SIGSTOP);
  const Outcome told = Run({"readings", "-w", "0.3"});
  EXPECT_EQ(told.exit_code, Mathctl::kDone);
  EXPECT_THAT(told.error, EndsWith("; its readings are left out\n"));
  EXPECT_EQ(Run({"readings", "-w", "0.3", "-q"}).error, "");
  engine_.Signal(SIGCONT);
}

TEST_F(FrameTest, VersionAndHelp) {
  EXPECT_EQ(Out({"-V"}), std::string("mathctl ") + Version() + "\n");
  EXPECT_THAT(Out({"-h"}), HasSubstr("Exit codes: 0 done; 1 refused"));
  EXPECT_THAT(Out({"watch", "-h"}), HasSubstr("Every verb takes -w SEC, --format table|json|csv"));
}

TEST_F(FrameTest, LettersOfNamesMayBeTypedInEitherCase) {
  EXPECT_EQ(Out({"GET", "testbench/1/level"}), Out({"get", "TESTBENCH/1/LEVEL"}));
  EXPECT_EQ(Out({"create", "aVERAGE", "Level"}), "math:0\n");
  Out({"set", "MATH:0", "size", "7"});
  EXPECT_EQ(Out({"get", "size"}), "7\n");
  Out({"set", "type", "peak"});
  EXPECT_EQ(Run({"list", "--FORMAT", "json"}).exit_code, Mathctl::kUsage) << "options are as they are written";
}

TEST_F(FrameTest, SeveralObjectsAndPatterns) {
  for (int i = 0; i < 3; ++i) Out({"create", "Average", "LEVEL"});
  Out({"create", "Subtract", "LEVEL", "LEVEL"});
  EXPECT_EQ(Run({"reset", "math:3"}).exit_code, Mathctl::kUsage) << "it has no RESET";
  EXPECT_EQ(Out({"reset", "math:*"}), "");
  const Outcome asks = Run({"delete", "math:*"});
  EXPECT_EQ(asks.exit_code, Mathctl::kUsage);
  EXPECT_EQ(asks.error, "mathctl: this would delete 4 objects (math:0, math:1, math:2, math:3); --yes does it\n");
  const Outcome one_is_missing = Run({"delete", "math:9", "math:1"});
  EXPECT_EQ(one_is_missing.exit_code, Mathctl::kRefused);
  EXPECT_THAT(one_is_missing.error, HasSubstr("no math object 9"));
  EXPECT_EQ(Run({"get", "math:1"}).exit_code, Mathctl::kRefused) << "deleted all the same";
  Out({"delete", "math:*", "-y"});
  EXPECT_EQ(ObjectsIn(Out({"list", "--json"})).size(), 0u);
  EXPECT_THAT(Run({"delete", "math:*", "-y"}).error, HasSubstr("no math object \"math:*\""));
  EXPECT_THAT(Run({"set", "TESTBENCH/*", "3"}).error, HasSubstr("set takes one attribute, not a pattern"));
}

TEST_F(FrameTest, AResultIsThereAtOnceInAPipe) {
  const auto watch = StartWatch({"LEVEL", "--new"});
  level_ = ScalarOf(2, Value::C_Watts);
  EXPECT_TRUE(WaitUntil([&] { return watch->Out().find("  #1  2 W  +0 +0 W\n") != std::string::npos; }));
  EXPECT_TRUE(watch->IsRunning());
}

TEST_F(FrameTest, OnATerminalTheSameAsInAPipe) {
  for (const Words& words :
       {Words{"engines"}, Words{"readings", "--values"}, Words{"get", "LEVEL"}, Words{"subscriptions"},
        Words{"completion", "bash"}, Words{"-V"}, Words{"readings", "--json"}}) {
    PseudoTerminal terminal = OnTerminal(words);
    EXPECT_EQ(terminal.Wait(), Mathctl::kDone) << testing::PrintToString(words);
    EXPECT_EQ(terminal.All(), Out(words)) << testing::PrintToString(words);
  }
  PseudoTerminal refused = OnTerminal({"get", "LEVLE"});
  EXPECT_EQ(refused.Wait(), Mathctl::kRefused);
  EXPECT_EQ(refused.All(), "mathctl: no reading \"LEVLE\"; near: TESTBENCH/1/LEVEL\n");
}

TEST_F(FrameTest, CtrlCEndsAVerbThatWaits) {
  engine_.Signal(SIGSTOP);
  PseudoTerminal terminal = OnTerminal({"list", "-v", "-w", "60"});
  terminal.ReadUntil("time limit 60 s");
  terminal.Write("\x03");
  EXPECT_EQ(terminal.Wait(), 128 + SIGINT);
  engine_.Signal(SIGCONT);
}

// A verb that writes nothing has nothing to lose.
TEST_F(FrameTest, AFullDiskIsOneLineAndExitOne) {
  Out({"create", "Average", "LEVEL"});
  const Words kLines[] = {
      {"engines"},
      {"readings"},
      {"readings", "--values", "--format", "csv"},
      {"readings", "--json"},
      {"types"},
      {"create", "Peak", "LEVEL"},
      {"list"},
      {"list", "--json"},
      {"get", "LEVEL"},
      {"get", "LEVEL", "--json"},
      {"watch", "LEVEL", "-n", "1"},
      {"watch", "LEVEL", "-n", "1", "--format", "csv"},
      {"completion", "bash"},
      {"--help"},
      {"-V"},
  };
  for (const Words& words : kLines) {
    const Outcome result = InShell("exec \"$@\" >/dev/full", words);
    EXPECT_EQ(result.exit_code, 1) << testing::PrintToString(words);
    EXPECT_EQ(result.error, "mathctl: standard output: No space left on device\n") << testing::PrintToString(words);
  }
  EXPECT_EQ(InShell("exec \"$@\" >/dev/full", {"set", "math:0", "SIZE", "3"}).exit_code, Mathctl::kDone);
}

TEST_F(FrameTest, AClosedPipeIsQuiet) {
  const std::string into_closed_pipe = "exec 3> >(exec true); wait $!; exec \"$@\" >&3 3>&-";
  for (const Words& words : {Words{"readings"}, Words{"--help"}, Words{"watch", "LEVEL"}}) {
    const Outcome result = InShell(into_closed_pipe, words);
    EXPECT_EQ(result.exit_code, 128 + SIGPIPE) << "as the shell's tools end";
    EXPECT_EQ(result.error, "");
    const Outcome ignored = InShell("trap '' PIPE; " + into_closed_pipe, words);
    EXPECT_EQ(ignored.exit_code, Mathctl::kRefused) << "who ignores SIGPIPE wants nobody to die of it";
    EXPECT_EQ(ignored.error, "");
  }
}

TEST_F(FrameTest, WrongWordsAreAnsweredWithTheNearest) {
  struct Row {
    Words words;
    int exit_code;
    const char* error;
  };
  const Row kRows[] = {
      {{"wacth", "LEVEL"}, Mathctl::kUsage, "mathctl: no verb \"wacth\"; near: watch\n"},
      {{"list", "--jsn"}, Mathctl::kUsage, "mathctl: no option --jsn; near: --json\n"},
      {{"get", "TESTBENCH/1/LEVL"},
       Mathctl::kRefused,
       "mathctl: no reading \"TESTBENCH/1/LEVL\"; near: TESTBENCH/1/LEVEL\n"},
      {{"readings", "TARCE"}, Mathctl::kRefused, "mathctl: no reading \"TARCE\"; near: TESTBENCH/1/TRACE\n"},
  };
  for (const Row& row : kRows) {
    const Outcome result = Run(row.words);
    EXPECT_EQ(result.exit_code, row.exit_code) << testing::PrintToString(row.words);
    EXPECT_EQ(result.error, row.error);
    EXPECT_EQ(result.out, "");
  }
}

}  // namespace
}  // namespace Lumenar::Test
