// SPDX-License-Identifier: Apache-2.0
#include "client/FittingInputs.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

#include "client/Computation.h"
#include "tests/support/MathType.h"

namespace Lumenar::Client {
namespace {

using ChosenInputs = std::vector<std::optional<PossibleInput>>;

PossibleInput TraceToFit(const char* units, std::uint32_t points = 1001) {
  return {"TRACE", "BasicTrace", Value::Units_from_text(units), points};
}
PossibleInput ScalarToFit(const char* units) { return {"SCALAR", "ValueDouble", Value::Units_from_text(units), 1}; }
const PossibleInput kLongToFit{"LONG", "long", std::nullopt, 1};
const PossibleInput kActionToFit{"ACTION", "void", std::nullopt, 0};

TEST(FittingInputs, EveryOperationIsKnownAtItsNumber) {
  EXPECT_EQ(KnownTypes(), std::vector<std::string>(std::begin(Lumenar::Test::kMathTypeNames),
                                                   std::end(Lumenar::Test::kMathTypeNames)));
}

TEST(FittingInputs, EveryOperationHasAFormulaOverItsInputs) {
  for (const std::string& type : KnownTypes()) {
    std::vector<Operand> inputs;
    for (const std::string& name : InputNames(type)) inputs.push_back({name, Value::C_Watts, true, 1});
    EXPECT_NE(ComputationOf(type, inputs, 1).formula, "") << type;
  }
}

TEST(FittingInputs, OneInputIsATraceOrAScalar) {
  for (const char* type : {"Average", "Peak"}) {
    EXPECT_TRUE(Fits(type, 0, {}, TraceToFit("dBm")));
    EXPECT_TRUE(Fits(type, 0, {}, ScalarToFit("V")));
    EXPECT_FALSE(Fits(type, 0, {}, kLongToFit));
    EXPECT_FALSE(Fits(type, 0, {}, kActionToFit));
    EXPECT_FALSE(Fits(type, 1, {TraceToFit("V")}, TraceToFit("V"))) << "there is no second one";
  }
}

TEST(FittingInputs, TheSecondGoesWithTheFirst) {
  EXPECT_TRUE(Fits("Subtract", 1, {TraceToFit("W")}, TraceToFit("mW")));
  EXPECT_TRUE(Fits("Subtract", 1, {TraceToFit("W")}, TraceToFit("dBm")));
  EXPECT_FALSE(Fits("Subtract", 1, {TraceToFit("W")}, TraceToFit("V"))) << "another dimension";
  EXPECT_FALSE(Fits("Subtract", 1, {TraceToFit("W")}, ScalarToFit("W"))) << "another kind";
  EXPECT_FALSE(Fits("Subtract", 1, {TraceToFit("W")}, TraceToFit("W", 501))) << "another length";
  EXPECT_TRUE(Fits("RelativeSubtract", 1, {TraceToFit("dBm")}, TraceToFit("W")));
  EXPECT_FALSE(Fits("RelativeSubtract", 1, {TraceToFit("W")}, TraceToFit("W"))) << "neither is in dB";
}

TEST(FittingInputs, TheFirstGoesWithTheSecond) {
  const ChosenInputs second = {std::nullopt, TraceToFit("V")};
  EXPECT_TRUE(Fits("Subtract", 0, second, TraceToFit("mV")));
  EXPECT_FALSE(Fits("Subtract", 0, second, TraceToFit("W")));
}

TEST(FittingInputs, WhatIsNotKnownHindersNothing) {
  PossibleInput unknown = TraceToFit("W", 0);
  unknown.units.reset();
  EXPECT_TRUE(Fits("Subtract", 1, {TraceToFit("V")}, unknown));
  EXPECT_TRUE(Fits("Subtract", 1, {std::nullopt}, TraceToFit("V")));
}

TEST(FittingInputs, ASumTakesATraceAndTwoWholeNumbers) {
  EXPECT_TRUE(Fits("CumulativeAdd", 0, {}, TraceToFit("W")));
  EXPECT_FALSE(Fits("CumulativeAdd", 0, {}, kLongToFit));
  for (const std::size_t place : {1U, 2U}) {
    EXPECT_TRUE(Fits("CumulativeAdd", place, {TraceToFit("W")}, kLongToFit));
    EXPECT_FALSE(Fits("CumulativeAdd", place, {TraceToFit("W")}, TraceToFit("W")));
  }
}

TEST(FittingInputs, OfAnotherTypeNothingIsKnown) {
  EXPECT_TRUE(InputNames("Convolve").empty());
  EXPECT_TRUE(Fits("Convolve", 5, {}, TraceToFit("W")));
  EXPECT_FALSE(Fits("Convolve", 0, {}, kActionToFit));
}

TEST(FittingInputs, InputsHaveNames) {
  EXPECT_EQ(InputNames("CumulativeAdd"), (std::vector<std::string>{"TRACE", "START", "STOP"}));
}

}  // namespace
}  // namespace Lumenar::Client
