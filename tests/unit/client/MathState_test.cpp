// SPDX-License-Identifier: Apache-2.0
// What a math object is doing, from its report alone.
#include "client/MathState.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "client/Duration.h"
#include "client/MathName.h"
#include "client/TopicNames.h"

namespace Lumenar::Client {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// A Subtract of which both inputs came, ten results a second, the last one just now.
MathReport Well() {
  MathReport report;
  report.type = "Subtract";
  for (const char* topic : {"PROBE/1/WAKEUP", "MATHFACTORY/1/RESULT.2@00ff"}) {
    InputReport input;
    input.topic = topic;
    input.samples = 7;
    input.age = milliseconds(20);
    report.inputs.push_back(input);
  }
  report.results = 8;
  report.interval = milliseconds(100);
  report.age = milliseconds(20);
  return report;
}

MathReport Refusing(const char* reason, unsigned refused = 1, unsigned size = 0) {
  MathReport report = Well();
  report.refusing = true;
  report.refused = refused;
  report.last_reason = reason;
  report.size = size;
  return report;
}

template <class Change>
MathReport Changed(Change change) {
  MathReport report = Well();
  change(report);
  return report;
}

struct StateRow {
  const char* why;
  MathReport report;
  MathState state;
  const char* words;
};

const StateRow kStateRows[] = {
    {"results come", Well(), MathState::Live, "live"},
    {"some were refused before", Changed([](MathReport& r) { r.refused = 17; }), MathState::Live,
     "live, refused 17 samples"},
    {"no sample of any input", Changed([](MathReport& r) {
       for (InputReport& input : r.inputs) input.samples = 0;
       r.results = 1;
     }),
     MathState::Waiting, "waiting for a first sample of PROBE/1/WAKEUP, MATHFACTORY/1/RESULT.2"},
    {"no result, one input without a sample", Changed([](MathReport& r) {
       r.inputs[1].samples = 0;
       r.results = 0;
     }),
     MathState::Waiting, "waiting for a first sample of MATHFACTORY/1/RESULT.2"},
    {"the present value of the other input counts", Changed([](MathReport& r) { r.inputs[1].samples = 0; }),
     MathState::Live, "live"},
    {"one input twice is named once", Changed([](MathReport& r) {
       r.inputs[1].topic = r.inputs[0].topic;
       r.inputs[0].samples = r.inputs[1].samples = 0;
     }),
     MathState::Waiting, "waiting for a first sample of PROBE/1/WAKEUP"},
    {"late, but not for long", Changed([](MathReport& r) { r.age = milliseconds(2999); }), MathState::Live, "live"},
    {"longer than three seconds", Changed([](MathReport& r) { r.age = milliseconds(12300); }), MathState::Stale,
     "stale for 12 s"},
    {"one a minute is not stale after four", Changed([](MathReport& r) {
       r.interval = seconds(60);
       r.age = seconds(240);
     }),
     MathState::Live, "live"},
    {"one a minute is stale after six", Changed([](MathReport& r) {
       r.interval = seconds(60);
       r.age = seconds(360);
     }),
     MathState::Stale, "stale for 6 min"},
    {"away", Changed([](MathReport& r) { r.inputs[0].away = true; }), MathState::InputAway,
     "input away: PROBE/1/WAKEUP"},
    {"away counts before all", Changed([](MathReport& r) {
       r.inputs[0].away = true;
       r.refusing = true;
       r.refused = 2;
       r.last_reason = "no memory";
     }),
     MathState::InputAway, "input away: PROBE/1/WAKEUP, refused 2 samples"},
    {"units", Refusing("UnitDimensionNotSame"), MathState::Refusing, "units cannot be combined, refused 1 sample"},
    {"units", Refusing("UnitDimensionNotProper", 3), MathState::Refusing,
     "units cannot be combined, refused 3 samples"},
    {"units", Refusing("MissingUnitInFirstParameter"), MathState::Refusing,
     "units cannot be combined, refused 1 sample"},
    {"units", Refusing("OperationNotValid"), MathState::Refusing, "units cannot be combined, refused 1 sample"},
    {"lengths", Refusing("traces of different lengths (1001 and 501)", 2), MathState::Refusing,
     "lengths differ (1001 and 501), refused 2 samples"},
    {"an Average keeps what is not finite", Refusing("Value is out of range", 1, 10), MathState::Refusing,
     "not finite: RESET, refused 1 sample"},
    {"others do not", Refusing("Value is out of range"), MathState::Refusing, "not finite, refused 1 sample"},
    {"a range", Refusing("a range without samples"), MathState::Refusing, "a range without samples, refused 1 sample"},
    {"odd bytes", Refusing("\x1b[31m"), MathState::Refusing, "\\x1b[31m, refused 1 sample"},
};

TEST(MathState, IsKnownFromAReport) {
  for (const StateRow& row : kStateRows) {
    EXPECT_EQ(StateOf(row.report), row.state) << row.why;
    EXPECT_EQ(StateInWords(row.report), row.words) << row.why;
  }
}

TEST(MathState, InputsHaveTheNamesThatTheCallerGives) {
  MathReport report = Well();
  report.inputs[1].away = true;
  EXPECT_EQ(StateInWords(report, [](const std::string& topic) { return "<" + topic + ">"; }),
            "input away: <MATHFACTORY/1/RESULT.2@00ff>");
}

TEST(MathState, HasAWordForPrograms) {
  EXPECT_STREQ(WordOf(MathState::Live), "live");
  EXPECT_STREQ(WordOf(MathState::Waiting), "waiting");
  EXPECT_STREQ(WordOf(MathState::Stale), "stale");
  EXPECT_STREQ(WordOf(MathState::InputAway), "input away");
  EXPECT_STREQ(WordOf(MathState::Refusing), "refusing");
}

TEST(DurationText, TakesTheUnitThatLeavesANumberToBeRead) {
  const std::pair<double, const char*> kRows[] = {
      {0, "0 ms"},      {0.0124, "12 ms"}, {0.9994, "999 ms"}, {0.9996, "1.0 s"}, {3.44, "3.4 s"},  {9.96, "10 s"},
      {119.4, "119 s"}, {120, "2 min"},    {7199, "120 min"},  {7200, "2 h"},     {172799, "48 h"}, {864000, "10 days"},
  };
  for (const auto& [seconds_, text] : kRows) EXPECT_EQ(DurationText(std::chrono::duration<double>(seconds_)), text);
}

TEST(MathName, OfAnotherEngineIsWrittenAndReadInFull) {
  const std::string first = "MATHFACTORY/1", second = "MATHFACTORY/2";
  EXPECT_EQ(MathNameFromText("math:9", first), (MathName{first, 9}));
  EXPECT_EQ(MathNameFromText("9", second), (MathName{second, 9}));
  EXPECT_EQ(MathNameFromText("MATHFACTORY/2/math:9", first), (MathName{second, 9}));
  EXPECT_EQ(MathNameFromText("mathfactory/2/Math:9", first), (MathName{second, 9}));
  for (const char* text : {"", "math:", "math:-1", "PROBE/1/WAKEUP", "/math:9", "MATHFACTORY/2/9", "math:9/SIZE"}) {
    EXPECT_EQ(MathNameFromText(text, first), std::nullopt) << text;
  }
  EXPECT_EQ(MathText({first, 9}, first), "math:9");
  EXPECT_EQ(MathText({second, 9}, first), "MATHFACTORY/2/math:9");
  EXPECT_EQ(MathText({second, 9}, second), "MATHFACTORY/2/math:9") << "the text means the same with another --factory";
  EXPECT_EQ(MathText({first, 9}, second), "MATHFACTORY/1/math:9");
}

TEST(TopicNames, ATopicTellsItsReading) {
  EXPECT_EQ(ReadingOfTopic("PROBE/1/WAKEUP"), (ReadingName{"PROBE/1", "WAKEUP"}));
  EXPECT_EQ(ReadingOfTopic("MATHFACTORY/1/RESULT.2@00ff"), (ReadingName{"MATHFACTORY/1", "RESULT.2"}));
  EXPECT_EQ(ReadingOfTopic("PROBE/1/odd@name"), (ReadingName{"PROBE/1", "odd@name"}));
  EXPECT_EQ(ReadingOfTopic("alone"), (ReadingName{"", "alone"}));
}

}  // namespace
}  // namespace Lumenar::Client
