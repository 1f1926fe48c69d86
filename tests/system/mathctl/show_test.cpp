// SPDX-License-Identifier: Apache-2.0
// Everything about one math object.
#include "tests/system/mathctl/ObjectsFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kRefused;
using Mathctl::kUsage;
using testing::MatchesRegex;

using ShowTest = ObjectsFixture;

TEST_F(ShowTest, TellsEverythingOfAnAverage) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(2, Value::C_Watts));
  Out({"create", "Average", "LEVEL"});
  Out({"set", "math:0", "SIZE", "3"});
  level = ScalarOf(2, Value::C_Watts);
  ASSERT_TRUE(WaitUntil([&] { return Listed("math:0")["results"] == 2; }));
  EXPECT_THAT(Out({"show", "math:0"}), MatchesRegex("object +math:0\n"
                                                    "engine +MATHFACTORY/1\n"
                                                    "type +Average\n"
                                                    "state +live\n"
                                                    "input +TESTBENCH/1/LEVEL: 1 sample, the last [0-9.]+ m?s ago\n"
                                                    "RESULT +2 W  \\+0 \\+0 W\n"
                                                    "reading +MATHFACTORY/1/RESULT\n"
                                                    "topic +MATHFACTORY/1/RESULT@[0-9a-f]+\n"
                                                    "results +2, [0-9.e+]+ /s, the last [0-9.]+ m?s ago\n"
                                                    "SIZE +3, of which it holds 2\n"
                                                    "FULL +false\n"
                                                    "refused +none\n"));
}

TEST_F(ShowTest, IsJsonForPrograms) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2}, kMilliwatt));
  Out({"create", "Peak", "TRACE"});
  trace = Trace({1, 2, 3}, kMilliwatt);
  ASSERT_TRUE(WaitUntil([&] { return Listed("math:0")["refused"] == 1; }));
  const json object = Objects({"show", "0"}).at(0);
  EXPECT_EQ(object["object"], "math:0");
  EXPECT_EQ(object["words"], "lengths differ (2 and 3), refused 1 sample");
  EXPECT_EQ(object["last_reason"], "traces of different lengths (2 and 3)");
  EXPECT_EQ(object["full"], json());
  EXPECT_EQ(object["present"]["points"], 2);
  ASSERT_EQ(object["input_reports"].size(), 1u);
  EXPECT_EQ(object["input_reports"][0]["reading"], "TESTBENCH/1/TRACE");
  EXPECT_EQ(object["input_reports"][0]["samples"], 1);
  EXPECT_EQ(object["input_reports"][0]["away"], false);
  EXPECT_GT(object["input_reports"][0]["handle"], 0);
}

TEST_F(ShowTest, SeveralObjectsStandApart) {
  ScalarInput level(bench_, "LEVEL", ScalarOf(2, Value::C_Watts));
  for (int i = 0; i < 2; ++i) Out({"create", "Peak", "LEVEL"});
  EXPECT_THAT(Out({"show", "math:*"}), testing::ContainsRegex("refused +none\n\nobject +math:1\n"));
}

TEST_F(ShowTest, RefusesWhatIsNotThere) {
  ExpectRefused({{"show", "math:3"}, kRefused, "no math object math:3"});
  ExpectRefused({{"show"}, kUsage, "OBJECT is required"});
}

}  // namespace
}  // namespace Lumenar::Test
