// SPDX-License-Identifier: Apache-2.0
// The math objects as a list: what each is over, what it gives, and how it is doing.
#include <csignal>
#include <limits>

#include "tests/system/mathctl/ObjectsFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kDone;
using Mathctl::kRefused;
using Mathctl::kUnreachable;
using Mathctl::kUsage;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

class ListTest : public ObjectsFixture {
 protected:
  static std::vector<std::string> Names(const std::vector<json>& objects) {
    std::vector<std::string> names;
    for (const json& object : objects) names.push_back(object["object"]);
    return names;
  }
};

TEST_F(ListTest, IsEmptyButForItsHeaderWithoutObjects) {
  EXPECT_EQ(Out({"list"}), "ID  TYPE  INPUTS  RESULT  SIZE  RATE  AGE  STATE\n");
  EXPECT_EQ(Out({"list", "--json"}), "");
}

TEST_F(ListTest, TellsInputsByNameResultAndFilling) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3}, kMilliwatt));
  Out({"create", "Average", "TRACE"});
  Out({"create", "Subtract", "TRACE", "math:0"});
  Out({"set", "math:0", "SIZE", "10"});
  EXPECT_EQ(WordsOf("math:0"), "waiting for a first sample of TESTBENCH/1/TRACE");
  for (int i = 0; i < 2; ++i) trace = Trace({1, 2, 3}, kMilliwatt);
  ASSERT_TRUE(WaitUntil([&] { return Listed("math:0")["filled"] == 3 && Listed("math:1")["results"] > 3; }));

  EXPECT_THAT(
      Out({"list"}),
      MatchesRegex("ID +TYPE +INPUTS +RESULT +SIZE +RATE +AGE +STATE\n"
                   "math:0 +Average +TESTBENCH/1/TRACE +3 points mW +3 of 10 +[0-9.]+ /s +[0-9.]+ m?s +live\n"
                   "math:1 +Subtract +TESTBENCH/1/TRACE, math:0 +3 points mW +[0-9.e+]+ /s +[0-9.]+ m?s +live\n"));
  const json average = Listed("math:0");
  EXPECT_EQ(average["id"], 0);
  EXPECT_EQ(average["engine"], "MATHFACTORY/1");
  EXPECT_EQ(average["inputs"], json({"TESTBENCH/1/TRACE"}));
  EXPECT_EQ(average["result"], "MATHFACTORY/1/RESULT");
  EXPECT_EQ(average["kind"], "BasicTrace");
  EXPECT_EQ(average["units"], "mW");
  EXPECT_EQ(average["points"], 3);
  EXPECT_EQ(average["size"], 10);
  EXPECT_EQ(average["results"], 3);
  EXPECT_GT(average["interval_s"], 0);
  EXPECT_GE(average["age_s"], 0);
  EXPECT_EQ(average["state"], "live");
  EXPECT_EQ(Listed("math:1")["size"], json()) << "of an Average alone";
}

TEST_F(ListTest, SaysWhyAnObjectGivesNothing) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts)), other(bench_, "OTHER", ScalarOf(1, Value::C_Watts));
  TraceInput trace(bench_, "TRACE", Trace({1, 2}, kMilliwatt));
  Out({"create", "Subtract", "LEVEL", "OTHER"});
  Out({"create", "Peak", "TRACE"});
  Out({"create", "Average", "OTHER"});
  Out({"set", "math:2", "SIZE", "5"});
  level = ScalarOf(1, kSeconds);
  trace = Trace({1, 2, 3}, kMilliwatt);
  other = ScalarOf(std::numeric_limits<double>::infinity(), Value::C_Watts);
  EXPECT_TRUE(WaitForWords("math:0", "units cannot be combined, refused 2 samples")) << WordsOf("math:0");
  EXPECT_TRUE(WaitForWords("math:1", "lengths differ (2 and 3), refused 1 sample")) << WordsOf("math:1");
  EXPECT_TRUE(WaitForWords("math:2", "not finite: RESET, refused 1 sample")) << WordsOf("math:2");
  EXPECT_EQ(Listed("math:0")["state"], "refusing");
  EXPECT_THAT(Out({"list"}), HasSubstr("lengths differ (2 and 3), refused 1 sample\n"));
}

TEST_F(ListTest, ResultsThatStayAwayAreStale) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  Out({"create", "Peak", "LEVEL"});
  for (int i = 0; i < 3; ++i) level = ScalarOf(2, Value::C_Watts);
  ASSERT_TRUE(WaitForWords("math:0", "live"));
  ASSERT_TRUE(WaitUntil([&] { return Listed("math:0")["state"] == "stale"; }));
  EXPECT_THAT(WordsOf("math:0"), StartsWith("stale for "));
  EXPECT_THAT(Out({"list"}), testing::ContainsRegex("LEVEL +W +- +[0-9.]+ s +stale for ")) << "no rate";
}

TEST_F(ListTest, AnInputWhoseEngineDiedIsAway) {
  Process& sim = platform_.StartEngine("sim", {{"SIM_READINGS", "value:LEVEL:rate=50"}});
  Out({"create", "Average", "SIM/1/LEVEL"});
  ASSERT_TRUE(WaitForWords("math:0", "live")) << WordsOf("math:0");
  sim.Signal(SIGKILL);
  EXPECT_TRUE(WaitForWords("math:0", "input away: SIM/1/LEVEL")) << WordsOf("math:0");
  EXPECT_THAT(Out({"show", "math:0"}), HasSubstr("its engine is away"));
}

TEST_F(ListTest, FiltersByObjectPatternTypeAndInput) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts)), other(bench_, "OTHER", ScalarOf(1, Value::C_Watts));
  for (const char* type : {"Average", "Peak"}) Out({"create", type, "LEVEL"});
  Out({"create", "Subtract", "OTHER", "math:1"});
  EXPECT_THAT(Names(Objects({"list", "math:1", "2"})), ElementsAre("math:1", "math:2"));
  EXPECT_THAT(Names(Objects({"list", "MATH:*"})), ElementsAre("math:0", "math:1", "math:2"));
  EXPECT_THAT(Names(Objects({"list", "average"})), ElementsAre("math:0"));
  EXPECT_THAT(Names(Objects({"list", "TESTBENCH/1/L*"})), ElementsAre("math:0", "math:1"));
  EXPECT_THAT(Names(Objects({"list", "math:2", "Peak"})), ElementsAre("math:1", "math:2"));
  EXPECT_THAT(Names(Objects({"list", "math:1"})), ElementsAre("math:1")) << "not what it is an input of";
}

TEST_F(ListTest, AnObjectOfASecondEngineIsNamedInFullEverywhere) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  platform_.StartEngine("math_factory_hh");
  EXPECT_EQ(Out({"create", "Peak", "LEVEL"}), "math:0\n");
  EXPECT_EQ(Out({"create", "Average", "LEVEL", "--factory", "MATHFACTORY/2"}), "MATHFACTORY/2/math:0\n");
  EXPECT_EQ(Out({"create", "Peak", "MATHFACTORY/2/math:0"}), "math:1\n");
  EXPECT_THAT(Names(Objects({"list"})), ElementsAre("math:0", "math:1"));
  EXPECT_EQ(Listed("math:1")["inputs"], json({"MATHFACTORY/2/math:0"}));
  EXPECT_THAT(Names(Objects({"list", "--all"})), ElementsAre("math:0", "math:1", "MATHFACTORY/2/math:0"));
  EXPECT_THAT(Names(Objects({"list", "MATHFACTORY/2/math:0"})), ElementsAre("MATHFACTORY/2/math:0"));
  EXPECT_THAT(Names(Objects({"list", "--factory", "MATHFACTORY/2"})), ElementsAre("MATHFACTORY/2/math:0"));
  EXPECT_EQ(Out({"get", "MATHFACTORY/2/math:0"}), Out({"get", "math:0", "--factory", "MATHFACTORY/2"}));
  Out({"set", "MATHFACTORY/2/math:0", "SIZE", "7"});
  EXPECT_EQ(Out({"get", "mathfactory/2/math:0", "SIZE"}), "7\n");
  Out({"reset", "MATHFACTORY/2/math:0"});
  Out({"delete", "MATHFACTORY/2/math:0"});
  EXPECT_THAT(Names(Objects({"list", "--all"})), ElementsAre("math:0", "math:1"));
  EXPECT_EQ(Listed("math:1")["inputs"], json({"MATHFACTORY/2/RESULT (gone)"}));
}

TEST_F(ListTest, OfAllEnginesShowsThoseThatAnswer) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  Process& second = platform_.StartEngine("math_factory_hh");
  Out({"create", "Peak", "LEVEL"});
  second.Signal(SIGKILL);
  const Outcome outcome = Run({"list", "--all", "--json"});
  EXPECT_EQ(outcome.exit_code, kUnreachable);
  EXPECT_THAT(Names(ObjectsIn(outcome.out)), ElementsAre("math:0"));
  EXPECT_THAT(outcome.error, HasSubstr("MATHFACTORY/2"));
}

TEST_F(ListTest, IsWrittenAsCsv) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  Out({"create", "Subtract", "LEVEL", "LEVEL"});
  EXPECT_THAT(Out({"list", "--format", "csv"}),
              MatchesRegex("id,object,engine,type,inputs,[^\n]*\n"
                           "0,math:0,MATHFACTORY/1,Subtract,TESTBENCH/1/LEVEL TESTBENCH/1/LEVEL,[^\n]*\n"));
}

TEST_F(ListTest, RefusesWhatMakesNoSense) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(1, Value::C_Watts));
  Out({"create", "Peak", "LEVEL"});
  for (const Refused& row : {Refused{{"list", "math:7"}, kRefused, "no math object math:7"},
                             Refused{{"list", "Median*"}, kRefused, "no math object fits \"Median*\""},
                             Refused{{"list", "--nonsense"}, kUsage, "--nonsense"},
                             Refused{{"list", "MATHFACTORY/9/math:0"}, kRefused, "MATHFACTORY/9"}}) {
    ExpectRefused(row);
  }
}

}  // namespace
}  // namespace Lumenar::Test
