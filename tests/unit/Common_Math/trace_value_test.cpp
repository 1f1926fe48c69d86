// SPDX-License-Identifier: Apache-2.0
// Traces on which operations compute: lists of samples, diagnostic lines, arithmetic. No ORB takes part.
#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <limits>

#include "Common_Math/src/MathValueBasicTrace.h"
#include "platform/units/exceptions.h"
#include "tests/support/MathFixture.h"

namespace Lumenar::Test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::FloatEq;
using Sample = Value::Value_object<float>;

constexpr const char* kTracePath = "Common_Math/src/MathValueBasicTrace:";

MathTrace Updated(const std::vector<float>& samples, const Value::Units& units = kW) {
  MathTrace trace(TraceOf(samples, units));
  trace.UpdateValues();
  return trace;
}

class TraceValue : public testing::Test {
 protected:
  std::string TakeLine() { return written_.Take(); }
  CapturedOutput written_;
};

TEST_F(TraceValue, AnEmptyRecordHasAnEmptyListAndEveryOperationSaysSo) {
  MathTrace empty = Updated({});
  EXPECT_EQ(empty.ListSize(), 0u);
  const MathTrace other = Updated({1});
  struct Row {
    const char* function;
    std::function<void()> step;
  };
  const Row table[] = {
      {"DoValueEqualOp", [&] { empty += other; }},
      {"DoValueEqualOp", [&] { empty -= other; }},
      {"DoValueEqualOp", [&] { empty *= 2; }},
      {"DoValueEqualOp", [&] { empty /= 2; }},
      {"RelativeSubEqual", [&] { empty.RelativeSubEqual(other); }},
      {"CumulativeAdd", [&] { EXPECT_EQ(empty.CumulativeAdd(0, 0).Get_value(), 0); }},
      {"Add_dB", [&] { empty.Add_dB(); }},
      {"Remove_dB", [&] { EXPECT_FALSE(empty.Remove_dB()); }},
      {"DoPeak", [&] { empty.DoPeak(other); }},
  };
  for (const Row& row : table) {
    row.step();
    EXPECT_EQ(TakeLine(), std::string(kTracePath) + row.function + " Warning: Trace size is 0, aborting\n");
  }
}

TEST_F(TraceValue, ACopyStartsWithAnEmptyList) {
  const MathTrace trace = Updated({1, 2});
  EXPECT_EQ(trace.ListSize(), 2u);
  EXPECT_EQ(MathTrace(trace).ListSize(), 0u);
}

TEST_F(TraceValue, AReplacedRecordLeavesTheListUntilItIsUpdatedAndThenHasItsUnits) {
  MathTrace trace = Updated({1, 2}, kW);
  trace = TraceOf({3, 4, 5}, kmW);
  EXPECT_EQ(trace.ListSize(), 2u);
  trace.UpdateValues();
  EXPECT_EQ(trace.ListSize(), 3u);
  for (const Sample& entry : trace.SampleValues()) EXPECT_EQ(entry.Get_unit(), kmW);
}

TEST_F(TraceValue, AssigningItsOwnRecordChangesNothing) {
  MathTrace trace = Updated({1, 2});
  trace = trace.record;
  EXPECT_THAT(SamplesOf(trace.record), ElementsAre(1, 2));
  EXPECT_EQ(trace.CumulativeAdd(0, 1).Get_value(), 3);
}

TEST_F(TraceValue, CopiesAreDeepAndCarryEveryField) {
  MathTrace trace = Updated({1, 2});
  const MathTrace copy(trace);
  trace *= 5;
  EXPECT_THAT(SamplesOf(copy.record), ElementsAre(1, 2));
  EXPECT_EQ(copy.record.sequence_number, 17u);
  EXPECT_EQ(copy.record.flags, 3u);
  EXPECT_EQ(copy.record.header[0], 100u);
  EXPECT_EQ(copy.record.x_step, 0.125);
}

TEST_F(TraceValue, TakingARecordOverLeavesItWithoutSamples) {
  BT_DATA record = TraceOf({1, 2});
  const float* buffer = record.samples.get_buffer();
  const MathTrace trace(std::move(record));
  EXPECT_EQ(trace.record.samples.get_buffer(), buffer);
  EXPECT_EQ(record.samples.length(), 0u);
}

TEST_F(TraceValue, DifferentSizesAreALineAndNoChange) {
  MathTrace ten = Updated(std::vector<float>(10, 1));
  const MathTrace twelve = Updated(std::vector<float>(12, 1));
  ten -= twelve;
  EXPECT_EQ(TakeLine(), std::string(kTracePath) + "DoValueEqualOp Error: traces are different sizes! 12, 10\n");
  ten.RelativeSubEqual(twelve);
  EXPECT_EQ(TakeLine(), std::string(kTracePath) + "RelativeSubEqual Error: traces are different sizes! 12, 10\n");
  EXPECT_THAT(SamplesOf(ten.record), Each(1));
}

TEST_F(TraceValue, DifferentSizesOfAPeakAreAnException) {
  MathTrace ten = Updated(std::vector<float>(10, 1));
  EXPECT_EQ(RefusalOf([&] { ten.DoPeak(Updated(std::vector<float>(12, 9))); }),
            "Doing Peak search: traces are different sizes! ");
  EXPECT_EQ(TakeLine(), std::string(kTracePath) + "DoPeak Error: traces are different sizes! 12, 10\n");
  EXPECT_THAT(SamplesOf(ten.record), Each(1));
}

/// The samples' own operators, one after the other, and the ways of the whole trace.
TEST_F(TraceValue, AnOperatorGivenByItsNameDoesWhatTheTracesOwnDoes) {
  using ByTrace = MathTrace::ValueOperator;
  using ByNumber = MathTrace::NumberOperator;
  for (const Value::Units& units : {kW, kmW, kdBm}) {
    const MathTrace start = Updated({41.1f, 52.2f, 63.3f}, kdBm), other = Updated({0.7f, 0.3f, 0.1f}, units);
    MathTrace sum(start), difference(start), product(start), quotient(start);
    sum += other;
    difference -= other;
    product *= 3;
    quotient /= 3;
    const auto by_name = [&](auto&&... arguments) {
      return SamplesOf(MathTrace(start).DoValueEqualOp(arguments...).record);
    };
    EXPECT_EQ(by_name(other, static_cast<ByTrace>(&Sample::operator+=)), SamplesOf(sum.record));
    EXPECT_EQ(by_name(other, static_cast<ByTrace>(&Sample::operator-=)), SamplesOf(difference.record));
    EXPECT_EQ(by_name(3.0f, static_cast<ByNumber>(&Sample::operator*=)), SamplesOf(product.record));
    EXPECT_EQ(by_name(3.0f, static_cast<ByNumber>(&Sample::operator/=)), SamplesOf(quotient.record));
  }
}

TEST_F(TraceValue, SumsClampTheirRange) {
  std::vector<float> samples(100);
  for (int i = 0; i < 100; ++i) samples[static_cast<std::size_t>(i)] = static_cast<float>(i);
  const MathTrace trace = Updated(samples);
  EXPECT_EQ(trace.CumulativeAdd(-5, 1000).Get_value(), 4950);
  EXPECT_EQ(trace.CumulativeAdd(98, 99).Get_value(), 197);
  EXPECT_EQ(trace.CumulativeAdd(99, 100).Get_value(), 99);
  EXPECT_EQ(TakeLine(), "");
  const Value::Value_object<double> none = trace.CumulativeAdd(7, 3);
  EXPECT_EQ(none.Get_value(), 0);
  EXPECT_EQ(none.Get_unit(), Value::C_Empty);
  EXPECT_EQ(TakeLine(), std::string(kTracePath) + "CumulativeAdd Warning: start[7] > stop[3]\n");
}

TEST_F(TraceValue, ASumOverAListThatWasNeverBuiltIsAnEmptyRange) {
  const MathTrace trace(TraceOf({1, 2, 3}));
  EXPECT_EQ(trace.CumulativeAdd(0, 2).Get_value(), 0);
  EXPECT_EQ(TakeLine(), std::string(kTracePath) + "CumulativeAdd Warning: start[0] > stop[-1]\n");
}

TEST_F(TraceValue, ASumClampedByALongerStaleListNeverReadsBeyondTheSamples) {
  MathTrace trace = Updated({1, 2, 3, 4});
  trace = TraceOf({1, 2});
  EXPECT_THROW(trace.CumulativeAdd(0, 3), CORBA::BAD_PARAM);
  EXPECT_EQ(trace.CumulativeAdd(0, 3).Get_value(), 3) << "the list is up to date now";
}

TEST_F(TraceValue, ASumOfOneSampleIsThatSampleWithoutErrors) {
  for (const Value::Units& unit : {kW, kdBm, kNone}) {
    const Value::Value_object<double> sum = Updated({1.5f, 0.1f}, unit).CumulativeAdd(1, 1);
    EXPECT_EQ(sum.Get_value(), double(0.1f));
    EXPECT_EQ(sum.Get_unit(), unit);
    EXPECT_EQ(sum.Get_minus_err(), 0);
    EXPECT_EQ(sum.Get_plus_err(), 0);
  }
}

TEST_F(TraceValue, AssigningItsOwnRecordChangesNothingAndLeavesTheListAsItIs) {
  MathTrace trace = Updated({1, 2, 3}, kW);
  trace.record.units = VALUE::UnitsToCorba(kmW);  // what a refresh would notice
  trace.record.samples[1] = 7;
  trace = trace.record;
  trace = std::as_const(trace);
  trace = std::move(trace.record);
  EXPECT_THAT(SamplesOf(trace.record), ElementsAre(1, 7, 3));
  EXPECT_EQ(trace.ListSize(), 3u);
  EXPECT_EQ(trace.SampleValues()[0].Get_unit(), kW) << "the list was not refreshed";
  trace = TraceOf({4}, kmW);
  EXPECT_EQ(trace.ListSize(), 3u) << "as it was until the next refresh";
  EXPECT_EQ(trace.SampleValues()[0].Get_unit(), kmW);
}

TEST_F(TraceValue, ASumOfOneSampleIsNotConvertedOnceMore) {
  std::vector<float> numbers;
  for (int i = 1; i < 400; ++i)
    numbers.push_back(static_cast<float>(i) / 8);  // four of them change by way of watts and back
  const MathTrace trace = Updated(numbers, kmW);
  for (int i = 0; i < 399; ++i) EXPECT_EQ(trace.CumulativeAdd(i, i).Get_value(), double(numbers[i])) << i;
}

TEST_F(TraceValue, ZeroAndNegativeSamplesHaveFiniteDecibels) {
  MathTrace trace = Updated({0, -0.0f, -3, 100});
  trace.Add_dB();
  EXPECT_THAT(SamplesOf(trace.record),
              ElementsAre(FloatEq(-379.2978f), FloatEq(-379.2978f), FloatEq(-379.2978f), FloatEq(20)));
  EXPECT_EQ(UnitsOf(trace.record), kdBW);
}

TEST_F(TraceValue, RemovingDecibelsFromALinearTraceDoesNothing) {
  MathTrace trace = Updated({1, 2});
  EXPECT_FALSE(trace.Remove_dB());
  EXPECT_THAT(SamplesOf(trace.record), ElementsAre(1, 2));
  EXPECT_EQ(UnitsOf(trace.record), kW);
}

TEST_F(TraceValue, RemovingDecibelsTakesAlsoPlainDecibels) {
  MathTrace trace = Updated({20, 0}, kdB);
  EXPECT_TRUE(trace.Remove_dB());
  EXPECT_THAT(SamplesOf(trace.record), ElementsAre(FloatEq(100), FloatEq(1)));
  EXPECT_EQ(UnitsOf(trace.record), kNone);
}

TEST_F(TraceValue, DecibelsOfASquaredUnitFollowTheirOwnRuleEachWay) {
  const Value::Units volt2 = Value::Make_unit(Value::U_Volt, 2);
  MathTrace trace = Updated({100}, volt2);
  trace.Add_dB();
  EXPECT_THAT(SamplesOf(trace.record), ElementsAre(40)) << "20 log10";
  EXPECT_TRUE(trace.Remove_dB());
  EXPECT_THAT(SamplesOf(trace.record), ElementsAre(FloatEq(20000))) << "2 * 10^(40/10): not the way back";
}

TEST_F(TraceValue, FactorsMustBeExactInSinglePrecision) {
  for (const int factor : {16777217, -16777217, std::numeric_limits<int>::max()}) {
    MathTrace trace = Updated({1});
    const char* text = "conversion limited by bits in dest type representation ";
    EXPECT_EQ(RefusalOf([&] { trace *= factor; }), text);
    EXPECT_EQ(RefusalOf([&] { trace /= factor; }), text);
    EXPECT_THAT(SamplesOf(trace.record), ElementsAre(1));
  }
  for (const int factor : {16777216, 16777215, -33554432, 0, 7, std::numeric_limits<int>::min()}) {
    MathTrace trace = Updated({1});
    EXPECT_NO_THROW(trace *= factor);
    EXPECT_THAT(SamplesOf(trace.record), ElementsAre(static_cast<float>(factor)));
  }
}

TEST_F(TraceValue, ADivisionThatLeavesTheRangeKeepsTheNewValuesBeforeTheFailingSample) {
  MathTrace trace = Updated({8, 6, std::numeric_limits<float>::infinity(), 4});
  EXPECT_THROW(trace /= 2, std::out_of_range);
  EXPECT_THAT(SamplesOf(trace.record), ElementsAre(4, 3, std::numeric_limits<float>::infinity(), 4));
  MathTrace whole = Updated({1, 2});
  EXPECT_THROW(whole /= 0, std::out_of_range);
  EXPECT_THAT(SamplesOf(whole.record), ElementsAre(1, 2));
}

TEST_F(TraceValue, AnOperandInAnotherUnitIsConvertedAndTheTraceKeepsItsUnit) {
  MathTrace trace = Updated({1, 2}, kW);
  trace += Updated({500, 250}, kmW);
  EXPECT_THAT(SamplesOf(trace.record), ElementsAre(1.5f, 2.25f));
  EXPECT_EQ(UnitsOf(trace.record), kW);
}

TEST_F(TraceValue, UnitsThatCancelAreNoneForAllSamplesAsForOneValue) {
  constexpr Value::Units kNone_dB{true, 0, {{{Value::U_Watt, 1}, {Value::U_Watt, -1}}}};
  MathTrace level = Updated({10, 20}, kdBW);
  level += Updated({3, 4}, kNone_dB);
  EXPECT_THAT(SamplesOf(level.record), ElementsAre(13, 24));
  level.RelativeSubEqual(Updated({3, 4}, kNone_dB));
  EXPECT_THAT(SamplesOf(level.record), ElementsAre(10, 20));
}

TEST_F(TraceValue, OperandsOfAnotherDimensionAreAnExceptionAndNoChange) {
  MathTrace trace = Updated({1, 2});
  EXPECT_THROW(trace += Updated({1, 2}, kSecond), Value::UnitDimensionNotProper);
  EXPECT_THROW(trace.DoPeak(Updated({5, 6}, kSecond)), Value::UnitDimensionNotSame);
  EXPECT_THROW(trace.RelativeSubEqual(Updated({5, 6})), Value::OperationNotValid);
  EXPECT_THAT(SamplesOf(trace.record), ElementsAre(1, 2));
}

TEST_F(TraceValue, EqualSamplesOfAPeakKeepThisTracesEntries) {
  MathTrace trace = Updated({1, 2}, kW);
  trace.DoPeak(Updated({1000, 3000}, kmW));
  EXPECT_THAT(SamplesOf(trace.record), ElementsAre(1, 3));
  const std::vector<Sample> entries = trace.SampleValues();
  EXPECT_EQ(entries[0].Get_unit(), kW);
  EXPECT_EQ(entries[1].Get_unit(), kmW) << "a replaced entry is the other's, its record sample in this trace's unit";
  EXPECT_EQ(entries[1].Get_value(), 3000);
  EXPECT_EQ(UnitsOf(trace.record), kW);
  trace = trace.record;  // changes nothing: the list is not built anew
  EXPECT_EQ(trace.SampleValues()[1].Get_unit(), kmW);
  trace = MathTrace(trace);
  EXPECT_EQ(trace.SampleValues()[1].Get_unit(), kW);
}

TEST_F(TraceValue, SamplesThatAPeakTakesOverBringTheirErrors) {
  MathTrace trace = Updated({1, 2}), other = Updated({-5, -1});
  other *= -1;  // zeros of the other sign
  trace.DoPeak(other);
  EXPECT_THAT(SamplesOf(trace.record), ElementsAre(5, 2));
  const std::vector<Sample> entries = trace.SampleValues();
  for (const std::size_t i : {0u, 1u}) {
    EXPECT_EQ(std::signbit(entries[i].Get_minus_err()), i == 0);
    EXPECT_EQ(std::signbit(entries[i].Get_plus_err()), i == 0);
  }
}

TEST_F(TraceValue, FreeFunctionsLeaveTheirOperands) {
  const MathTrace a = Updated({10, 20}, kdBm);
  const MathTrace b = Updated({4, 5}, kdBm);
  EXPECT_THAT(SamplesOf((a - b).record), ElementsAre(6, 15));
  EXPECT_THAT(SamplesOf(RelativeSub(a, b).record), ElementsAre(6, 15));
  EXPECT_THAT(SamplesOf(a.record), ElementsAre(10, 20));
}

}  // namespace
}  // namespace Lumenar::Test
