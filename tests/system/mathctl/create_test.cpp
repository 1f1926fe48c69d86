// SPDX-License-Identifier: Apache-2.0
// What is said when a math object is created over inputs that cannot be combined, or over what are no inputs.
#include <fmt/format.h>

#include "tests/support/MathType.h"
#include "tests/system/mathctl/ObjectsFixture.h"

namespace Lumenar::Test {
namespace {

using Mathctl::kDone;
using Mathctl::kRefused;
using Mathctl::kUsage;
using testing::HasSubstr;
using testing::MatchesRegex;

inline constexpr Value::Units kDecibels{true, 0, {}};

class CreateTest : public ObjectsFixture {
 protected:
  ScalarInput watts_{bench_, "WATTS", ScalarOf(1, Value::C_Watts)};
  ScalarInput level_{bench_, "LEVEL", ScalarOf(10, kdBm)};
  ScalarInput gain_{bench_, "GAIN", ScalarOf(3, kDecibels)};
  ScalarInput time_{bench_, "TIME", ScalarOf(1, kSeconds)};
  TraceInput long_{bench_, "LONG", Trace({1, 2, 3}, kMilliwatt)};
  TraceInput short_{bench_, "SHORT", Trace({1, 2}, kMilliwatt)};
  LongInput start_{bench_, "START", 5}, stop_{bench_, "STOP", 3};
};

TEST_F(CreateTest, WarnsAtOnceAndShowsWhatWouldDo) {
  struct Row {
    Words words;
    const char* warning;
  };
  const Row kRows[] = {
      {{"Subtract", "WATTS", "LEVEL"}, ""},
      {{"Subtract", "LEVEL", "GAIN"},
       "units cannot be combined: LEVEL is in dBm, GAIN is in dB: one has a unit and the other has none; this would "
       "do: "
       "mathctl create RelativeSubtract LEVEL GAIN\n"},
      {{"RelativeSubtract", "GAIN", "LEVEL"},
       "units cannot be combined: GAIN is in dB, LEVEL is in dBm: the first one has no unit; this would do: mathctl "
       "create "
       "RelativeSubtract LEVEL GAIN\n"},
      {{"RelativeSubtract", "WATTS", "WATTS"},
       "units cannot be combined: WATTS is in W, WATTS is in W: neither is in dB; this would do: mathctl create "
       "Subtract "
       "WATTS WATTS\n"},
      {{"Subtract", "WATTS", "TIME"},
       "units cannot be combined: WATTS is in W, TIME is in s: their dimensions differ; neither Subtract nor "
       "RelativeSubtract combines them, either way round\n"},
      {{"Subtract", "LONG", "SHORT"}, "lengths differ: LONG has 3 points, SHORT has 2\n"},
      {{"CumulativeAdd", "LONG", "START", "STOP"},
       "a range without samples: START is 5, STOP is 3, and LONG has 3 points\n"},
      {{"Average", "LONG"}, ""},
  };
  int id = 0;
  for (const Row& row : kRows) {
    Words words = row.words;
    words.insert(words.begin(), "create");
    const Outcome outcome = Run(words);
    const std::string name = "math:" + std::to_string(id++);
    EXPECT_EQ(outcome.exit_code, kDone);
    EXPECT_EQ(outcome.out, name + "\n");
    const std::string warning = *row.warning == 0 ? "" : "mathctl: warning: " + name + ": " + row.warning;
    EXPECT_EQ(outcome.error, warning) << testing::PrintToString(row.words);
  }
}

TEST_F(CreateTest, WhatWasSaidToDoDoes) {
  Out({"create", "RelativeSubtract", "LEVEL", "GAIN"});
  EXPECT_EQ(Out({"get", "math:0"}), "7 dBm  +0 +0 dBm\n");
  Out({"create", "Subtract", "LEVEL", "GAIN"});
  EXPECT_EQ(Listed("math:1")["results"], 0);
}

TEST_F(CreateTest, IsQuietWhenToldTo) {
  const Outcome outcome = Run({"create", "Subtract", "WATTS", "TIME", "-q"});
  EXPECT_EQ(outcome.error, "");
  EXPECT_EQ(outcome.out, "math:0\n");
}

TEST_F(CreateTest, WritesTheNewObjectForPrograms) {
  const json object = Objects({"create", "peak", "LEVEL"}).at(0);
  EXPECT_EQ(object, json({{"id", 0}, {"type", "Peak"}, {"object", "math:0"}}));
}

TEST_F(CreateTest, NumbersAreNoReadings) {
  ExpectRefused({{"create", "CumulativeAdd", "LONG", "0", "100"},
                 kRefused,
                 "START and STOP are readings; 0 and 100 were read as math:0, math:100: no math object 0"});
  ExpectRefused({{"create", "Peak", "7"}, kRefused, "inputs are readings; 7 was read as math:7: no math object 7"});
  Out({"create", "Peak", "LONG"});
  Out({"create", "Peak", "LONG"});
  ExpectRefused(
      {{"create", "CumulativeAdd", "LONG", "0", "1"},
       kRefused,
       "START and STOP are readings; 0 and 1 were read as math:0, math:1: create CumulativeAdd: Invalid attrib "
       "types; CumulativeAdd takes a trace and two readings of whole numbers, START and STOP; LONG is a trace, "
       "0 is a trace, 1 is a trace"});
}

TEST_F(CreateTest, RefusesWhatDoesNotFitAndSaysWhatWould) {
  for (const Refused& row : {
           Refused{
               {"create", "Subtract", "LONG", "LEVEL"},
               kRefused,
               "Invalid attrib types; Subtract takes two traces or two scalars; LONG is a trace, LEVEL is a scalar"},
           Refused{{"create", "Peak", "LEVEL", "LEVEL"},
                   kRefused,
                   "Average requires exactly one attribute. Peak takes a trace or a scalar; LEVEL is a scalar"},
           Refused{{"create", "Median", "LEVEL"}, kUsage, "there are: Subtract, "},
           Refused{{"create", "Peak", "LEVLE"}, kRefused, "no reading \"LEVLE\""},
           Refused{{"create", "Peak"}, kUsage, "INPUT is required"},
       }) {
    ExpectRefused(row);
  }
  EXPECT_EQ(Out({"list", "--json"}), "") << "nothing was left behind";
}

TEST_F(CreateTest, TypesSayWhatTheyTake) {
  std::string expected = "NUMBER +TYPE +INPUTS +RESULT\n";
  for (const char* name : kMathTypeNames) expected += fmt::format("[0-9] +{} +(a|two) [^\n]*  the [^\n]*\n", name);
  const std::string types = Out({"types"});
  EXPECT_THAT(types, MatchesRegex(expected));
  EXPECT_THAT(types, HasSubstr("\n0       Subtract          two traces or two scalars  "));
  EXPECT_THAT(types, HasSubstr("\n4       CumulativeAdd     a trace and two readings of whole numbers"));
}

}  // namespace
}  // namespace Lumenar::Test
