// SPDX-License-Identifier: Apache-2.0
// How a math object is put into a line, and a line into a terminal.
#include "tools/mathctl/object_row.h"

#include <gtest/gtest.h>

#include "platform/records/Records.h"
#include "platform/units/Units.h"
#include "tools/mathctl/Terminal.h"
#include "tools/mathctl/creation_advice.h"

namespace Lumenar::Mathctl {
namespace {

using std::chrono::duration;
using std::chrono::microseconds;
using std::chrono::seconds;

Client::MathReport Average(unsigned points, const char* kind) {
  Client::MathReport report;
  Client::InputReport input;
  input.samples = 5;
  report.inputs.push_back(input);
  report.kind = kind;
  report.units = VALUE::UnitsToCorba(Value::C_Watts);
  report.points = points;
  report.size = 10;
  report.filled = 3;
  report.results = 5;
  report.interval = duration<double>(0.05);
  report.age = microseconds(12345);
  return report;
}

TEST(ObjectRow, TellsResultAndFilling) {
  EXPECT_EQ(ResultText(Average(1001, "BasicTrace")), "1001 points W");
  EXPECT_EQ(ResultText(Average(1, "BasicTrace")), "1 point W");
  EXPECT_EQ(ResultText(Average(1, "ValueDouble")), "W");
  Client::MathReport none = Average(0, "BasicTrace");
  none.results = 0;
  EXPECT_EQ(ResultText(none), "-");
  EXPECT_EQ(FillingText(Average(1, "ValueDouble")), "3 of 10");
  none.size = 0;
  EXPECT_EQ(FillingText(none), "");
}

TEST(ObjectRow, TellsTheRateInTheUnitThatSuits) {
  const std::pair<double, const char*> kRows[] = {
      {0, "-"}, {1e-3, "1e+03 /s"}, {0.05, "20 /s"}, {3, "0.333 /s"}, {30, "2 /min"}, {1800, "2 /h"},
  };
  for (const auto& [interval_s, text] : kRows) {
    Client::MathReport report = Average(1, "ValueDouble");
    report.interval = duration<double>(interval_s);
    EXPECT_EQ(RateText(report), text) << interval_s;
  }
  Client::MathReport stale = Average(1, "ValueDouble");
  stale.age = seconds(100);
  EXPECT_EQ(RateText(stale), "-") << "none come";
}

TEST(ObjectRow, TellsAges) {
  EXPECT_EQ(AgeText(std::nullopt), "-");
  EXPECT_EQ(AgeText(microseconds(12345)), "12 ms");
  EXPECT_EQ(AgeJson(std::nullopt), nullptr);
  EXPECT_EQ(AgeJson(microseconds(12345)), 0.012345);
}

TEST(CutTo, CountsCharactersNotBytes) {
  EXPECT_EQ(CutTo("abc", 5), "abc");
  EXPECT_EQ(CutTo("abc", 3), "abc");
  EXPECT_EQ(CutTo("abcd", 3), "abc");
  EXPECT_EQ(CutTo("\u00b5\u00b5\u00b5", 2), "\u00b5\u00b5");
  EXPECT_EQ(CutTo("a", 0), "");
}

TEST(CreationAdvice, SaysNothingOfWhatItDoesNotKnow) {
  EXPECT_EQ(WarningFor("Median", {}), "");
  EXPECT_EQ(WarningFor("Subtract", {{"A", "BasicTrace", std::nullopt}, {"B", "BasicTrace", std::nullopt}}), "");
  EXPECT_EQ(KindsInWords("Median", {}), "");
  EXPECT_EQ(NumbersInWords("Peak", {"A", "math:1", "1e3"}), "");
}

TEST(CreationAdvice, MalformedUnitsAreAWarningToo) {
  Corvanta::VALUE_DOUBLE::VALUE odd{};
  odd.units.slots[1].unit = Value::U_Watt;
  odd.units.slots[1].exponent = 1;
  const ProposedInput input{"ODD", "ValueDouble", Corvanta::SampleRecord(odd)};
  EXPECT_EQ(WarningFor("Subtract", {input, input}).rfind("units cannot be combined", 0), 0u);
}

}  // namespace
}  // namespace Lumenar::Mathctl
