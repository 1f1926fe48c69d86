// SPDX-License-Identifier: Apache-2.0
#include "client/Computation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/amounts.h"

namespace Lumenar::Client {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

Operand Trace(const std::string& name, const std::string& units) {
  return {name, Value::Units_from_text(units), true, std::nullopt};
}
Operand ScalarInput(const std::string& name, const std::string& units) {
  return {name, Value::Units_from_text(units), false, std::nullopt};
}
Operand Index(const std::string& name, std::int64_t number) { return {name, std::nullopt, false, number}; }

TEST(Computation, AMeanOfLevelsIsComputedInTheirPower) {
  const Computation mean = ComputationOf("Average", {Trace("LEVEL", "dBm")}, 10);
  EXPECT_EQ(mean.words, "mean of the last 10 of LEVEL (dBm), computed in mW, shown in dBm");
  EXPECT_EQ(mean.formula, "R = 10 log10((10^(x1/10) + ... + 10^(xn/10)) / n), n = 10");
  EXPECT_THAT(mean.conversions, ElementsAre("LEVEL: dBm to mW: 10^(x/10), so that 10 dBm is 10 mW",
                                            "result: mW to dBm: 10 log10(x), so that 100 mW is 20 dBm"));
  EXPECT_EQ(mean.obstacle, "");
}

TEST(Computation, LinearInputsNeedNoConversion) {
  const Computation mean = ComputationOf("Average", {Trace("A", "mW")}, 3);
  EXPECT_EQ(mean.words, "mean of the last 3 of A (mW)");
  EXPECT_EQ(mean.formula, "R = (x1 + ... + xn) / n, n = 3");
  EXPECT_THAT(mean.conversions, IsEmpty());
}

TEST(Computation, TheSecondOperandComesIntoTheUnitOfTheFirst) {
  const Computation difference = ComputationOf("Subtract", {ScalarInput("A", "m"), ScalarInput("B", "ft")}, 0);
  EXPECT_EQ(difference.words, "A (m) minus B (ft)");
  EXPECT_EQ(difference.formula, "R = a - b");
  EXPECT_THAT(difference.conversions, ElementsAre("B: ft to m: times 0.3048"));
  EXPECT_THAT(ComputationOf("Subtract", {ScalarInput("A", "degF"), ScalarInput("B", "degC")}, 0).conversions,
              ElementsAre("B: degC to degF: times 1.8, plus 32"));
}

TEST(Computation, ALevelAndAPowerMeetInThePower) {
  const Computation difference = ComputationOf("Subtract", {Trace("A", "dBm"), Trace("B", "W")}, 0);
  EXPECT_EQ(difference.formula, "R = 10 log10(10^(a/10) - b)");
  EXPECT_THAT(difference.conversions,
              ElementsAre("A: dBm to mW: 10^(x/10), so that 10 dBm is 10 mW", "B: W to mW: times 1000",
                          "result: mW to dBm: 10 log10(x), so that 100 mW is 20 dBm",
                          "result: shown as -379.298 dBm where b is not less than a, for there is no logarithm"));
  EXPECT_THAT(ComputationOf("Subtract", {ScalarInput("A", "dBm"), ScalarInput("B", "W")}, 0).conversions,
              testing::Contains(HasSubstr("shown as -inf or NaN dBm where b is not less than a")));
}

TEST(Computation, ASquaredUnitHasItsFactor) {
  const Computation peak = ComputationOf("Peak", {Trace("A", "dB(V^2)")}, 0);
  EXPECT_THAT(peak.conversions, testing::Contains(HasSubstr("2 * 10^(x/10), so that 10 dB(V^2) is 20 V^2")));
  EXPECT_THAT(peak.conversions, testing::Contains(HasSubstr("20 log10(x)")));
}

TEST(Computation, AScalarRatioStaysInDecibels) {
  EXPECT_EQ(ComputationOf("Subtract", {ScalarInput("A", "dB"), ScalarInput("B", "dB")}, 0).formula, "R = a - b");
  EXPECT_EQ(ComputationOf("Subtract", {Trace("A", "dB"), Trace("B", "dB")}, 0).formula,
            "R = 10 log10(10^(a/10) - 10^(b/10))");
}

TEST(Computation, SaysWhatStandsInTheWayAndWhatWouldDo) {
  const Computation seconds = ComputationOf("Subtract", {ScalarInput("A", "W"), ScalarInput("B", "s")}, 0);
  EXPECT_EQ(seconds.obstacle,
            "B (s) cannot be brought together with A (W): their units are of different dimensions "
            "(UnitDimensionNotSame)");
  const Computation power = ComputationOf("Subtract", {ScalarInput("A", "V^2/ohm"), ScalarInput("B", "W")}, 0);
  EXPECT_THAT(power.obstacle, HasSubstr("the other way round it would do: B first, then A"));
  const Computation linear = ComputationOf("RelativeSubtract", {ScalarInput("A", "W"), ScalarInput("B", "W")}, 0);
  EXPECT_THAT(linear.obstacle, HasSubstr("neither is in dB"));
  EXPECT_THAT(ComputationOf("RelativeSubtract", {ScalarInput("A", "dB"), ScalarInput("B", "dBm")}, 0).obstacle,
              HasSubstr("the first has no unit"));
}

TEST(Computation, ADifferenceOfLevelsLeavesTheNumbersAsTheyStand) {
  const Computation distance = ComputationOf("RelativeSubtract", {Trace("A", "dBm"), Trace("B", "dBm")}, 0);
  EXPECT_EQ(distance.words, "distance of the levels A (dBm) and B (dBm): the numbers as they stand, shown in dBm");
  EXPECT_THAT(distance.conversions, IsEmpty());
}

TEST(Computation, ASumTellsItsRange) {
  const Computation sum = ComputationOf("CumulativeAdd", {Trace("A", "dBm"), Index("START", 10), Index("STOP", 90)}, 0);
  EXPECT_EQ(sum.words,
            "sum of A (dBm) from point 10 (START) to point 90 (STOP), both counted from 0 and included, computed in "
            "mW, shown in dBm");
  EXPECT_THAT(sum.formula, HasSubstr("R = 10 log10(10^(x[START]/10) + ... + 10^(x[STOP]/10))"));
}

TEST(Computation, KnowsNoUnitsAndNoTypeToo) {
  EXPECT_EQ(ComputationOf("Subtract", {{"A", {}, true, {}}, Trace("B", "W")}, 0).words, "A minus B (W)");
  EXPECT_EQ(ComputationOf("Median", {Trace("A", "W")}, 0).words, "Median of A (W)");
  EXPECT_EQ(ComputationOf("Subtract", {Trace("A", "W")}, 0).words, "Subtract of A (W)");
  Value::Units gap;
  gap.slots[3] = {Value::U_Watt, 1};
  EXPECT_EQ(ComputationOf("Peak", {{"A", gap, true, {}}}, 0).obstacle, "");
  Value::Units none = Value::Make_unit(static_cast<Value::Units_list>(4000));
  EXPECT_NE(ComputationOf("Subtract", {{"A", none, true, {}}, {"B", none, true, {}}}, 0).words, "");
}

TEST(Amounts, AreReadable) {
  EXPECT_EQ(WithThousands(0), "0");
  EXPECT_EQ(WithThousands(1001), "1,001");
  EXPECT_EQ(WithThousands(1234567), "1,234,567");
  EXPECT_EQ(RateInWords(20), "20 a second");
  EXPECT_EQ(RateInWords(0.1), "6 a minute");
  EXPECT_EQ(RateInWords(1.0 / 1800), "2 an hour");
  EXPECT_EQ(CountInWords(1, "sample"), "1 sample");
  EXPECT_EQ(CountInWords(1700, "sample"), "1,700 samples");
}

}  // namespace
}  // namespace Lumenar::Client
