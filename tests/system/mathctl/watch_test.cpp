// SPDX-License-Identifier: Apache-2.0
#include <csignal>

#include "tests/system/mathctl/FrameFixture.h"

namespace Lumenar::Test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

class WatchTest : public FrameFixture {
 protected:
  ScalarInput level_{bench_, "LEVEL", ScalarOf(1, Value::C_Watts)};
};

TEST_F(WatchTest, ThePresentValueComesFirstMarkedAndUncounted) {
  const auto watch = StartWatch({"LEVEL", "-n", "1"});
  ASSERT_TRUE(WaitUntil([&] { return watch->Out().find('\n') != std::string::npos; }));
  EXPECT_THAT(watch->Out(), EndsWith("  TESTBENCH/1/LEVEL  now  1 W  +0 +0 W\n"));
  level_ = ScalarOf(2, Value::C_Watts);
  ASSERT_EQ(watch->WaitForExit(kPatience), Mathctl::kDone) << watch->Error();
  EXPECT_THAT(watch->Out(), EndsWith("  TESTBENCH/1/LEVEL  #1  2 W  +0 +0 W\n"));
  EXPECT_EQ(watch->Error(), "");
}

TEST_F(WatchTest, JsonSaysWhatIsPresentAndWhichObjectItIs) {
  Out({"create", "Average", "LEVEL"});
  const auto watch = StartWatch({"math:0", "-n", "1", "--json"});
  ASSERT_TRUE(WaitUntil([&] { return watch->Out().find('\n') != std::string::npos; })) << watch->Error();
  level_ = ScalarOf(2, Value::C_Watts);
  ASSERT_EQ(watch->WaitForExit(kPatience), Mathctl::kDone) << watch->Error();
  const auto lines = ObjectsIn(watch->Out());
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0]["present"], true);
  EXPECT_EQ(lines[0]["count"], 0);
  EXPECT_EQ(lines[1]["present"], false);
  EXPECT_EQ(lines[1]["count"], 1);
  EXPECT_EQ(lines[1]["object"], "math:0");
  EXPECT_EQ(lines[1]["type"], "Average");
}

TEST_F(WatchTest, ALineNamesTheObjectItsTypeAndItsInputs) {
  Out({"create", "Average", "LEVEL"});
  Out({"create", "Subtract", "math:0", "LEVEL"});
  const auto watch = StartWatch({"math:*", "--for", "0.3"}, 2);
  ASSERT_EQ(watch->WaitForExit(kPatience), Mathctl::kDone) << watch->Error();
  EXPECT_THAT(watch->Out(), HasSubstr("  math:0 Average(TESTBENCH/1/LEVEL)  now  "));
  EXPECT_THAT(watch->Out(), HasSubstr("  math:1 Subtract(math:0, TESTBENCH/1/LEVEL)  now  "));
}

TEST_F(WatchTest, CsvHasAllColumnsForValuesOfAllKinds) {
  TraceInput trace(bench_, "TRACE", Trace({1, 3}, kMilliwatt, 7));
  LongInput count(bench_, "COUNT", 5);
  const auto watch = StartWatch({"TESTBENCH/1/*", "--format", "csv", "--for", "0.3"}, 3);
  ASSERT_EQ(watch->WaitForExit(kPatience), Mathctl::kDone) << watch->Error();
  EXPECT_THAT(watch->Out(), StartsWith("time,reading,object,type,count,present,kind,units,value,"));
  EXPECT_THAT(watch->Out(), HasSubstr(",TESTBENCH/1/LEVEL,,,0,true,ValueDouble,W,1.0,0.0,0.0,"));
  EXPECT_THAT(watch->Out(), HasSubstr(",TESTBENCH/1/TRACE,,,0,true,BasicTrace,mW,,,,7,"));
  EXPECT_THAT(watch->Out(), HasSubstr(",TESTBENCH/1/COUNT,,,0,true,long,,5,"));
}

TEST_F(WatchTest, ElementsOfATrace) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3}, kMilliwatt));
  const auto line = [&](const char* elements) { return Out({"watch", "TRACE", "--for", "0.1", "-#", elements}); };
  EXPECT_THAT(line("2"), EndsWith("  mean 2 mW  samples 1 2\n"));
  EXPECT_THAT(line("0"), EndsWith("  mean 2 mW  samples 1 2 3\n"));
  const auto objects = ObjectsIn(Out({"watch", "TRACE", "--for", "0.1", "-#", "1", "--json"}));
  EXPECT_EQ(objects.at(0)["samples"], nlohmann::json({1.0}));
}

TEST_F(WatchTest, SilenceEndsItWhereThatIsAskedFor) {
  Out({"create", "Average", "LEVEL"});
  const Outcome of_reading = Run({"watch", "LEVEL", "--idle", "0.3", "--new"});
  EXPECT_EQ(of_reading.exit_code, Mathctl::kUnreachable);
  EXPECT_EQ(of_reading.out, "");
  EXPECT_EQ(of_reading.error,
            "mathctl: nothing has come for 0.3 s (TESTBENCH/1/LEVEL: its engine answers and has published nothing)\n");
  const Outcome of_object = Run({"watch", "math:0", "--idle", "0.3"});
  EXPECT_EQ(of_object.exit_code, Mathctl::kUnreachable);
  EXPECT_THAT(of_object.error, StartsWith("mathctl: nothing has come for 0.3 s (math:0 Average(TESTBENCH/1/LEVEL): "));
}

TEST_F(WatchTest, IsNotIdleWhileSomethingComes) {
  const auto watch = StartWatch({"LEVEL", "--idle", "1.5", "-n", "30", "--new"});
  int value = 0;
  EXPECT_TRUE(WaitUntil([&] {
    level_ = ScalarOf(++value, Value::C_Watts);
    return !watch->IsRunning();
  }));
  EXPECT_EQ(watch->WaitForExit(kPatience), Mathctl::kDone) << watch->Error();
}

TEST_F(WatchTest, GoesOnBehindATopicManagerThatForgotItAndSaysSo) {
  const auto watch = StartWatch({"LEVEL", "--new"});
  int value = 1;
  const auto shows_more_than = [&](std::size_t shown) {
    return WaitUntil([&] {
      level_ = ScalarOf(++value, Value::C_Watts);
      return watch->Out().size() > shown;
    });
  };
  ASSERT_TRUE(shows_more_than(0)) << "the answer to its subscription has reached it";
  platform_.KillTopicManager();
  std::filesystem::remove(platform_.Directory() / "subscriptions.state");
  platform_.StartTopicManager();
  ASSERT_TRUE(WaitUntil([&] { return watch->Error().find("has been made again") != std::string::npos; }))
      << watch->Error();
  EXPECT_THAT(watch->Error(), HasSubstr("mathctl: the topic manager had lost the subscription to TESTBENCH/1/LEVEL; it "
                                        "has been made again, what was published meanwhile did not come\n"));
  EXPECT_TRUE(shows_more_than(watch->Out().size()));
}

TEST_F(WatchTest, OneOfSeveralThatGoesLeavesTheOthers) {
  Out({"create", "Peak", "LEVEL"});
  const auto watch = StartWatch({"math:0", "LEVEL", "-w", "0.3", "--new"}, 2);
  Out({"delete", "math:0"});
  ASSERT_TRUE(WaitUntil([&] { return watch->Error().find('\n') != std::string::npos; })) << watch->Error();
  EXPECT_THAT(watch->Error(), EndsWith("; it is watched no more\n"));
  EXPECT_TRUE(watch->IsRunning());
}

TEST_F(WatchTest, EndsWhenItsEngineHangs) {
  Out({"create", "Peak", "LEVEL"});
  const auto watch = StartWatch({"math:0", "-w", "0.3"});
  engine_.Signal(SIGSTOP);
  EXPECT_EQ(watch->WaitForExit(kPatience), Mathctl::kUnreachable);
  EXPECT_THAT(watch->Error(), HasSubstr("does not answer within 0.3 s; it hangs, is stopped, or needs more time\n"));
  engine_.Signal(SIGCONT);
}

TEST_F(WatchTest, OnATerminalCtrlCEndsItInGoodOrder) {
  PseudoTerminal terminal = OnTerminal({"watch", "LEVEL"});
  terminal.ReadUntil("  TESTBENCH/1/LEVEL  now  1 W  +0 +0 W\n");
  level_ = ScalarOf(4, Value::C_Watts);
  terminal.ReadUntil("#1  4 W  +0 +0 W\n");
  terminal.Write("\x03");
  EXPECT_EQ(terminal.Wait(), Mathctl::kDone);
  EXPECT_TRUE(WaitUntil([&] { return Subscriptions() == 0; }));
}

// head closes the pipe: the watch ends with its next line, or soon after without one.
TEST_F(WatchTest, EndsWithItsReader) {
  const Outcome result = InShell("\"$1\" watch LEVEL | head -n 1; echo ${PIPESTATUS[0]}");
  EXPECT_THAT(result.out, MatchesRegex("[^\n]*  now  1 W[^\n]*\n141\n"));
  EXPECT_EQ(result.error, "");
}

TEST_F(WatchTest, WrongArguments) {
  struct Row {
    Words words;
    int exit_code;
    const char* error;
  };
  const Row kRows[] = {
      {{"watch"}, Mathctl::kUsage, "READING is required"},
      {{"watch", "LEVEL", "-n", "0"}, Mathctl::kUsage, "a whole number from 1 to"},
      {{"watch", "LEVEL", "--idle", "-1"}, Mathctl::kUsage, "a number of seconds"},
      {{"watch", "LEVEL", "-#", "many"}, Mathctl::kUsage, "a whole number from 0 to"},
      {{"watch", "LEVLE"}, Mathctl::kRefused, "no reading \"LEVLE\"; near: TESTBENCH/1/LEVEL"},
      {{"watch", "NOPE/*"}, Mathctl::kRefused, "no reading \"NOPE/*\""},
      {{"watch", "math:?"}, Mathctl::kRefused, "no math object \"math:?\"; `mathctl list` lists them"},
  };
  for (const Row& row : kRows) {
    const Outcome result = Run(row.words);
    EXPECT_EQ(result.exit_code, row.exit_code) << testing::PrintToString(row.words) << result.error;
    EXPECT_THAT(result.error, HasSubstr(row.error)) << testing::PrintToString(row.words);
    EXPECT_EQ(result.out, "") << testing::PrintToString(row.words);
  }
}

TEST_F(WatchTest, AnActionHasNothingToWatch) {
  Out({"create", "Peak", "LEVEL"});
  const Outcome result = Run({"watch", "RESET"});
  EXPECT_EQ(result.exit_code, Mathctl::kUsage);
  EXPECT_EQ(result.error, "mathctl: MATHFACTORY/1/RESET is an action: it has no value to watch\n");
}

}  // namespace
}  // namespace Lumenar::Test
