// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/numbers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

namespace Lumenar::Scpi {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;

constexpr double kInf = std::numeric_limits<double>::infinity();

Answer Text(const std::string& bytes) { return {bytes, false}; }
Answer Block(const std::string& bytes) { return {bytes, true}; }

std::string WhyNotNumber(const std::string& text) {
  try {
    NumberFromText(text);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "a number";
}

std::string WhyNotSamples(const Answer& answer, const NumberForm& form) {
  try {
    SamplesOf(answer, form, {});
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "samples";
}

TEST(ScpiNumbers, DecimalNumbersAsInstrumentsWriteThem) {
  EXPECT_EQ(NumberFromText("+1.23400000E-03"), 1.234e-3);
  EXPECT_EQ(NumberFromText(" -12 "), -12);
  EXPECT_EQ(NumberFromText("1e3"), 1000);
  EXPECT_EQ(NumberFromText(".5"), 0.5);
  EXPECT_EQ(NumberFromText("4.2E+400"), kInf) << "more than a double holds";
  EXPECT_EQ(NumberFromText("-4.2E+400"), -kInf);
  EXPECT_EQ(NumberFromText("4.2E-400"), 0);
}

TEST(ScpiNumbers, WhatTheStandardWritesForNoNumber) {
  EXPECT_TRUE(std::isnan(NumberFromText("9.91E37")));
  EXPECT_TRUE(std::isnan(NumberFromText("+9.910000E+37")));
  EXPECT_TRUE(std::isnan(NumberFromText("NAN")));
  EXPECT_EQ(NumberFromText("9.9E37"), kInf);
  EXPECT_EQ(NumberFromText("-9.90000000E+37"), -kInf);
  EXPECT_EQ(NumberFromText("INF"), kInf);
  EXPECT_EQ(NumberFromText("ninf"), -kInf);
  EXPECT_EQ(NumberFromText("9.8E37"), 9.8e37);
}

TEST(ScpiNumbers, WhatIsNoneIsQuoted) {
  for (const char* text : {"1.5V", "VOLT 1.5", "1.5 1.6", "0x10", "1,5", "--1", "+-1", "+", "1e", "OVERLOAD"})
    EXPECT_EQ(WhyNotNumber(text), "'"s + text + "', which is no number");
  EXPECT_EQ(WhyNotNumber(""), "'', which is no number");
  EXPECT_EQ(WhyNotNumber("1.0\0\0"s), "'1.0\\x00\\x00', which is no number");
}

TEST(ScpiNumbers, AListHasCommas) {
  const auto samples = SamplesOf(Text("1.5, -2,9.9E37 ,1E40"), {}, {});
  const float inf = std::numeric_limits<float>::infinity();
  EXPECT_THAT(samples, ElementsAre(1.5f, -2.f, inf, inf)) << "a float has no room for 1E40";
  EXPECT_THROW(SamplesOf(Text("1,,2"), {}, {}), std::runtime_error);
  EXPECT_THROW(SamplesOf(Text("1,2,"), {}, {}), std::runtime_error);
}

TEST(ScpiNumbers, BlocksInEitherOrderOfBytes) {
  struct {
    const char* what;
    std::string big;
    BlockForm form;
    float first, second;
  } const cases[] = {
      {"real32", "\x3f\xc0\x00\x00\xc0\x00\x00\x00"s, BlockForm::Real32, 1.5f, -2.f},
      {"real64", "\x3f\xf8\x00\x00\x00\x00\x00\x00\xc0\x00\x00\x00\x00\x00\x00\x00"s, BlockForm::Real64, 1.5f, -2.f},
      {"int8", "\x7f\x80"s, BlockForm::Int8, 127, -128},
      {"uint8", "\x7f\x80"s, BlockForm::Uint8, 127, 128},
      {"int16", "\x01\x02\xff\xfe"s, BlockForm::Int16, 258, -2},
      {"uint16", "\x01\x02\xff\xfe"s, BlockForm::Uint16, 258, 65534},
      {"int32", "\x00\x01\x00\x00\xff\xff\xff\xfe"s, BlockForm::Int32, 65536, -2},
      {"uint32", "\x00\x01\x00\x00\xff\xff\xff\xfe"s, BlockForm::Uint32, 65536, 4294967294.f},
  };
  for (const auto& [what, big, form, first, second] : cases) {
    EXPECT_THAT(SamplesOf(Block(big), {form, ByteOrder::Big}, {}), ElementsAre(first, second)) << what;
    std::string little;
    const std::size_t half = big.size() / 2;
    for (std::size_t begin : {std::size_t{0}, half})
      little += std::string(big.rend() - begin - half, big.rend() - begin);
    EXPECT_THAT(SamplesOf(Block(little), {form, ByteOrder::Little}, {}), ElementsAre(first, second)) << what;
  }
}

TEST(ScpiNumbers, InfinityAndNoNumberInBlocksOfSinglePrecision) {
  const std::string bytes =
      "\x7e\x95\x1b\xee"s + "\x7e\x94\xf5\x6a" + "\xfe\x94\xf5\x6a";  // 9.91e37f, 9.9e37f, -9.9e37f
  const auto samples = SamplesOf(Block(bytes), {BlockForm::Real32, ByteOrder::Big}, {});
  ASSERT_EQ(samples.size(), 3u);
  EXPECT_TRUE(std::isnan(samples[0]));
  EXPECT_EQ(samples[1], std::numeric_limits<float>::infinity());
  EXPECT_EQ(samples[2], -std::numeric_limits<float>::infinity());
}

TEST(ScpiNumbers, BlocksOfText) {
  EXPECT_THAT(SamplesOf(Block("1,2,3"), {BlockForm::Ascii, ByteOrder::Big}, {}), ElementsAre(1, 2, 3));
}

TEST(ScpiNumbers, BlocksThatHoldNoNumbersAreRefused) {
  EXPECT_EQ(WhyNotSamples(Block("1234567"), {}), "a block of 7 bytes, no multiple of the 4 of a number");
  EXPECT_EQ(WhyNotSamples(Block(""), {}), "a block without numbers");
}

/// Before memory is taken for them.
TEST(ScpiNumbers, MoreThanATraceHoldsAreRefused) {
  const std::string bytes(kMostPoints + 1, '\0');
  EXPECT_EQ(WhyNotSamples(Block(bytes), {BlockForm::Uint8, ByteOrder::Big}),
            "a trace of 16777217 points, more than 16777216");
  EXPECT_EQ(WhyNotSamples(Text(std::string(kMostPoints, ',')), {}), "a trace of 16777217 points, more than 16777216");
}

TEST(ScpiNumbers, WholeNumbersAreScaled) {
  const Scaling scaling{128, 0.5, -1};
  EXPECT_THAT(SamplesOf(Block("\x80\x82\x7e"s), {BlockForm::Uint8, ByteOrder::Big}, scaling), ElementsAre(-1, 0, -2));
}

TEST(ScpiNumbers, OneIsOne) {
  EXPECT_EQ(NumberOf(Text("7"), {}), 7);
  EXPECT_EQ(NumberOf(Block("\x3f\xc0\x00\x00"s), {}), 1.5);
  EXPECT_THROW(NumberOf(Text("7,8"), {}), std::runtime_error);
  EXPECT_THROW(NumberOf(Block(""), {}), std::runtime_error);
}

}  // namespace
}  // namespace Lumenar::Scpi
