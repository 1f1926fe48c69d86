// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/LineReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "instruments/replay/ReadingName.h"
#include "instruments/replay/XyTable.h"

namespace Lumenar::Replay {
namespace {

using testing::ElementsAre;

std::vector<std::string> LinesOf(std::string_view text) {
  LineReader reader(text);
  std::vector<std::string> lines;
  while (const auto line = reader.Next()) lines.push_back(std::to_string(line->number) + ":" + std::string(line->text));
  return lines;
}

TEST(LineReader, TakesEitherLineEnd) {
  EXPECT_THAT(LinesOf("a\r\nb\n\nc"), ElementsAre("1:a", "2:b", "3:", "4:c"));
  EXPECT_THAT(LinesOf("\xEF\xBB\xBF"
                      "a\n"),
              ElementsAre("1:a"));
  EXPECT_THAT(LinesOf(""), ElementsAre());
  EXPECT_THAT(LinesOf("\r"), ElementsAre("1:"));
}

TEST(LineReader, FieldsAreTrimmedAndNoneIsLost) {
  std::optional<std::string_view> rest = " a,\tb b ,";
  EXPECT_EQ(TakeField(rest, ','), "a");
  EXPECT_EQ(TakeField(rest, ','), "b b");
  EXPECT_EQ(TakeField(rest, ','), "");
  EXPECT_EQ(TakeField(rest, ','), std::nullopt);
}

TEST(LineReader, AQuoteIsOneShortPrintableLine) {
  EXPECT_EQ(Quoted("a\x01\n\xFF"), "\"a???\"");
  EXPECT_EQ(Quoted(std::string(1000, 'x')), "\"" + std::string(40, 'x') + "...\"");
}

TEST(LineReader, NumbersAreReadWhole) {
  EXPECT_EQ(ParseNumber("1e3", 1), 1000);
  EXPECT_EQ(ParseNumber("+.5", 1), 0.5);
  EXPECT_EQ(ParseNumber("-2", 1), -2);
  EXPECT_TRUE(std::isnan(ParseSample("nan", 1)));
  EXPECT_EQ(ParseSample("-inf", 1), -INFINITY);
  EXPECT_EQ(ParseSample("1e-300", 1), 0);
}

TEST(LineReader, BadNumbersAreNamed) {
  struct {
    const char* text;
    const char* reason;
  } const cases[] = {
      {"", "\"\" is not a number"},
      {"1x", "\"1x\" is not a number"},
      {"+-1", "\"+-1\" is not a number"},
      {"++1", "\"++1\" is not a number"},
      {"1,5", "\"1,5\" is not a number"},
      {"0x10", "\"0x10\" is not a number"},
      {"+", "\"+\" is not a number"},
      {"1e999", "\"1e999\" is out of range"},
      {"nan", "\"nan\" is not a finite number"},
      {"inf", "\"inf\" is not a finite number"},
  };
  for (const auto& test : cases) {
    try {
      ParseNumber(test.text, 7);
      ADD_FAILURE() << test.text;
    } catch (const FormatError& error) {
      EXPECT_STREQ(error.what(), test.reason);
      EXPECT_EQ(error.Line(), 7u);
    }
  }
  EXPECT_THROW(ParseSample("1e39", 1), FormatError);
}

TEST(StepOf, IsZeroWherePointsAreNotEven) {
  EXPECT_EQ(StepOf(std::vector<double>{}, 1), 0);
  EXPECT_EQ(StepOf(std::vector<double>{5}, 1), 0);
  EXPECT_EQ(StepOf(std::vector<double>{1, 3, 5}, 10), 20);
  EXPECT_EQ(StepOf(std::vector<double>{1, 10, 100}, 1), 0);
  EXPECT_EQ(StepOf(std::vector<double>{-1.7e308, 0, 1.7e308}, 1), 0) << "the distance is no number";
  EXPECT_EQ(StepOf(std::vector<double>{1e300, 2e300}, 1e9), 0) << "the distance times its scale is no number";
  EXPECT_EQ(StepOf(std::vector<double>{1, 1.5}, INFINITY), 0);
}

TEST(ReadingName, IsTheStemInCapitals) {
  EXPECT_EQ(ReadingName("/data/P1-MSL_Open_50.s1p"), "P1_MSL_OPEN_50");
  EXPECT_EQ(ReadingName("a b.c.csv"), "A_B_C");
  EXPECT_EQ(ReadingName("\xC3\xA4.csv"), "TRACE");
  EXPECT_EQ(ReadingName(""), "TRACE");
}

}  // namespace
}  // namespace Lumenar::Replay
