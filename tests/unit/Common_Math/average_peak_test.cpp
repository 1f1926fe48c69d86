// SPDX-License-Identifier: Apache-2.0
// Average and Peak as objects: history, SIZE, RESET, FULL, the held peak.
#include <gmock/gmock.h>

#include <limits>

#include "Common_Math/src/RunningMean.h"
#include "platform/units/exceptions.h"
#include "tests/support/OperationFixture.h"

namespace Lumenar::Test {
namespace {

using Corvanta::MathFactory::Math_var;
using testing::ElementsAre;
using testing::FloatEq;
using testing::IsEmpty;

using AverageAndPeak = OperationFixture;

// --- average ------------------------------------------------------------------------------------------------------

TEST_F(AverageAndPeak, AverageOfSizeOnePublishesEverySampleAndIsFull) {
  const Math_var math = Create(Average, {scalar_});
  EXPECT_TRUE(Full(math));
  Deliver(scalar_, ScalarOf(5, kW, -1, 1));
  Deliver(scalar_, ScalarOf(-2));
  EXPECT_THAT(NumbersPublished(ResultTopic(math)), ElementsAre(1, 5, -2));
  EXPECT_TRUE(Full(math));
}

TEST_F(AverageAndPeak, AverageOfSizeThreeFillsAndThenSlides) {
  const Math_var math = Create(Average, {scalar_});
  SetSize(math, 3);
  EXPECT_TRUE(Full(math)) << "a new SIZE counts from the next sample on";
  std::vector<double> results;
  std::vector<bool> full;
  for (const double sample : {2.0, 3.0, 4.0}) {
    Deliver(scalar_, ScalarOf(sample));
    results.push_back(ScalarResult(math).val);
    full.push_back(Full(math));
  }
  EXPECT_THAT(results, ElementsAre(1.5, 2, 3));
  EXPECT_THAT(full, ElementsAre(false, true, true));
}

TEST_F(AverageAndPeak, AverageOfLevelsIsTheLevelOfTheMean) {
  trace_ = TraceOf({10, 0}, kdBm);
  const Math_var math = Create(Average, {trace_});
  SetSize(math, 2);
  Deliver(trace_, TraceOf({7, 0}, kdBm));
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(FloatEq(8.754049f), testing::FloatNear(0, 1e-6f)));
  EXPECT_EQ(UnitsOf(TraceResult(math)), kdBm);
  Deliver(trace_, TraceOf({20, 20}, kmW));
  EXPECT_EQ(UnitsOf(TraceResult(math)), kmW) << "the newest sample decides the form";
  EXPECT_THAT(SamplesOf(TraceResult(math)),
              ElementsAre(testing::FloatNear(12.505936f, 2e-5f), testing::FloatNear(10.5f, 1e-5f)));
}

TEST_F(AverageAndPeak, ResetOfAverageShowsTheNewestSampleAndBeginsAgain) {
  scalar_ = ScalarOf(5);
  const Math_var math = Create(Average, {scalar_});
  SetSize(math, 4);
  Deliver(scalar_, ScalarOf(7));
  EXPECT_EQ(ScalarResult(math).val, 6);
  Reset<Corvanta::MathFactory::Average>(math);
  EXPECT_EQ(ScalarResult(math).val, 7);
  EXPECT_FALSE(Full(math));
  Reset<Corvanta::MathFactory::Average>(math);  // nothing is held: nothing is published
  Deliver(scalar_, ScalarOf(9));
  EXPECT_THAT(NumbersPublished(ResultTopic(math)), ElementsAre(5, 6, 7, 9));
}

TEST_F(AverageAndPeak, ResetOfAverageShowsALevelInLinearUnits) {
  scalar_ = ScalarOf(20, kdBW);
  const Math_var math = Create(Average, {scalar_});
  EXPECT_DOUBLE_EQ(ScalarResult(math).val, 20);
  Reset<Corvanta::MathFactory::Average>(math);
  EXPECT_DOUBLE_EQ(ScalarResult(math).val, 100);
  EXPECT_EQ(UnitsOf(ScalarResult(math)), kW);
}

TEST_F(AverageAndPeak, ASmallerSizeTrimsWithTheNextSample) {
  const Math_var math = Create(Average, {scalar_});
  SetSize(math, 4);
  for (const double sample : {2.0, 3.0, 4.0}) Deliver(scalar_, ScalarOf(sample));
  SetSize(math, 2);
  EXPECT_EQ(ScalarResult(math).val, 2.5);
  EXPECT_TRUE(Full(math));
  Deliver(scalar_, ScalarOf(10));
  EXPECT_EQ(ScalarResult(math).val, 7) << "the mean of 4 and 10";
  EXPECT_TRUE(Full(math));
}

TEST_F(AverageAndPeak, ALargerSizeClearsFullWithTheNextSample) {
  const Math_var math = Create(Average, {scalar_});
  SetSize(math, 9);
  EXPECT_TRUE(Full(math));
  Deliver(scalar_, ScalarOf(3));
  EXPECT_FALSE(Full(math));
}

TEST_F(AverageAndPeak, FullCountsTheSamplesSinceReset) {
  const Math_var math = Create(Average, {scalar_});
  SetSize(math, 2);
  const auto full_after = [&](double sample) {
    Deliver(scalar_, ScalarOf(sample));
    return Full(math);
  };
  EXPECT_TRUE(full_after(2));
  Reset<Corvanta::MathFactory::Average>(math);
  EXPECT_FALSE(Full(math));
  EXPECT_FALSE(full_after(3)) << "the first of two";
  EXPECT_TRUE(full_after(4));
  SetSize(math, 1);
  Reset<Corvanta::MathFactory::Average>(math);
  EXPECT_FALSE(Full(math));
  EXPECT_TRUE(full_after(5)) << "the first of one";
}

TEST_F(AverageAndPeak, ResetOfAverageShowsATraceOfLevelsInLinearUnits) {
  trace_ = TraceOf({20, 0}, kdBm);
  const Math_var math = Create(Average, {trace_});
  Reset<Corvanta::MathFactory::Average>(math);
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(FloatEq(100), FloatEq(1)));
  EXPECT_EQ(UnitsOf(TraceResult(math)), kmW);
  const auto published = Manager().PublishedOn(ResultTopic(math));
  ASSERT_EQ(published.size(), 2u);
  EXPECT_EQ(UnitsOf(std::get<BT_DATA>(published.back())), kmW);
  Deliver(trace_, TraceOf({30, 10}, kdBm));
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(FloatEq(30), FloatEq(10)));
  EXPECT_EQ(UnitsOf(TraceResult(math)), kdBm);
}

template <class Reading>
std::string NameOf(Reading* reading) {
  const typename Reading::_var_type owner(reading);
  const CORBA::String_var name = reading->Name();
  return name.in();
}

TEST_F(AverageAndPeak, TheirItemsBearTheirNames) {
  const Math_var average = Create(Average, {scalar_});
  const Corvanta::MathFactory::Average_var items = Corvanta::MathFactory::Average::_narrow(average);
  EXPECT_EQ(NameOf(items->AttrSize()), "SIZE");
  EXPECT_EQ(NameOf(items->AttrReset()), "RESET");
  EXPECT_EQ(NameOf(items->AttrFull()), "FULL");
  EXPECT_EQ(NameOf(items->AttrResult()), "RESULT");
  const Math_var peak = Create(Peak, {scalar_});
  EXPECT_EQ(NameOf(Corvanta::MathFactory::Peak_var(Corvanta::MathFactory::Peak::_narrow(peak))->AttrReset()),
            "RESET.2");
}

TEST_F(AverageAndPeak, SizeIsRefusedOutsideOneToNinetyNine) {
  const Math_var math = Create(Average, {scalar_});
  EXPECT_THROW(SetSize(math, 0), Corvanta::LimitsExceeded);
  EXPECT_THROW(SetSize(math, 100), Corvanta::LimitsExceeded);
  EXPECT_NO_THROW(SetSize(math, 99));
}

TEST_F(AverageAndPeak, AMeanThatIsNotFiniteIsRefusedAndResultKeepsItsValue) {
  const Math_var math = Create(Average, {scalar_});
  SetSize(math, 2);
  EXPECT_THROW(Deliver(scalar_, ScalarOf(std::numeric_limits<double>::infinity())), CORBA::UNKNOWN);
  EXPECT_EQ(ScalarResult(math).val, 1);
}

TEST_F(AverageAndPeak, AverageErrorsAreTheMeanOfTheErrors) {
  scalar_ = ScalarOf(1, kW, -1, 3);
  const Math_var math = Create(Average, {scalar_});
  SetSize(math, 2);
  Deliver(scalar_, ScalarOf(3, kW, -3, 1));
  EXPECT_EQ(ScalarResult(math).val, 2);
  EXPECT_EQ(ScalarResult(math).minus_err, -2);
  EXPECT_EQ(ScalarResult(math).plus_err, 2);
}

TEST_F(AverageAndPeak, ASampleOfAnotherDimensionLeavesNoTraceInTheMean) {
  const Math_var math = Create(Average, {scalar_});
  SetSize(math, 2);
  for (int i = 0; i < 5; ++i) EXPECT_THROW(Deliver(scalar_, ScalarOf(100, kSecond)), CORBA::UNKNOWN);
  EXPECT_EQ(ScalarResult(math).val, 1);
  EXPECT_TRUE(Full(math)) << "a sample that is refused leaves FULL as it is";
  Deliver(scalar_, ScalarOf(3));
  EXPECT_EQ(ScalarResult(math).val, 2);
  Deliver(scalar_, ScalarOf(5));
  EXPECT_EQ(ScalarResult(math).val, 4);
  EXPECT_TRUE(Full(math));
}

TEST_F(AverageAndPeak, ATraceOfAnotherDimensionLeavesNoTraceInTheMean) {
  trace_ = TraceOf({1, 2});
  const Math_var math = Create(Average, {trace_});
  SetSize(math, 3);
  EXPECT_THROW(Deliver(trace_, TraceOf({100, 100}, kSecond)), CORBA::UNKNOWN);
  Deliver(trace_, TraceOf({3, 4}));
  EXPECT_FALSE(Full(math)) << "two of three";
  EXPECT_THROW(Deliver(trace_, TraceOf({100, 100}, kSecond)), CORBA::UNKNOWN);
  EXPECT_FALSE(Full(math));
  Deliver(trace_, TraceOf({5, 6}));
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(3, 4));
  EXPECT_TRUE(Full(math));
}

TEST_F(AverageAndPeak, WithSizeOneASampleOfAnotherDimensionIsRefusedToo) {
  const Math_var math = Create(Average, {scalar_});
  EXPECT_THROW(Deliver(scalar_, ScalarOf(100, kSecond)), CORBA::UNKNOWN);
  EXPECT_EQ(ScalarResult(math).val, 1);
  Deliver(scalar_, ScalarOf(3));
  EXPECT_EQ(ScalarResult(math).val, 3);
}

TEST_F(AverageAndPeak, TheMeanOfOneSampleIsThatSample) {
  scalar_ = ScalarOf(1e17);
  const Math_var scalars = Create(Average, {scalar_});
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double number : {0.1, 0.3, infinity, 2.0}) {
    Deliver(scalar_, ScalarOf(number, kW, -0.1, 0.7));
    EXPECT_EQ(ScalarResult(scalars).val, number);
    EXPECT_EQ(ScalarResult(scalars).minus_err, -0.1);
    EXPECT_EQ(ScalarResult(scalars).plus_err, 0.7);
  }
  Deliver(scalar_, ScalarOf(5, kmW));
  EXPECT_EQ(ScalarResult(scalars).val, 5);
  EXPECT_EQ(UnitsOf(ScalarResult(scalars)), kmW);

  trace_ = TraceOf({0x1p24f, 3});
  const Math_var traces = Create(Average, {trace_});
  BT_DATA newest = TraceOf({1, 0.1f});
  newest.sequence_number = 18;
  Deliver(trace_, newest);
  EXPECT_THAT(SamplesOf(TraceResult(traces)), ElementsAre(1, 0.1f));
  EXPECT_EQ(TraceResult(traces).sequence_number, 18u) << "the whole record, with what the math does not read";
}

TEST_F(AverageAndPeak, TheMeanOfOneLevelIsThatLevelThroughLinear) {
  trace_ = TraceOf({80, 0}, kdBm);
  const Math_var math = Create(Average, {trace_});
  const BT_DATA newest = TraceOf({-70, 3}, kdBm);
  Deliver(trace_, newest);
  MathTrace through_linear(newest);
  through_linear.Remove_dB();
  through_linear.Add_dB();
  EXPECT_EQ(SamplesOf(TraceResult(math)), SamplesOf(through_linear.record));
  EXPECT_EQ(UnitsOf(TraceResult(math)), kdBm);
}

TEST_F(AverageAndPeak, AMeanThatShrinksToOneSampleIsHealed) {
  scalar_ = ScalarOf(1e17);
  const Math_var math = Create(Average, {scalar_});
  SetSize(math, 4);
  for (int i = 0; i < 9; ++i) Deliver(scalar_, ScalarOf(0.1));
  EXPECT_NE(ScalarResult(math).val, 0.1) << "the large sample left its rounding error behind";
  SetSize(math, 1);
  Deliver(scalar_, ScalarOf(0.1));
  EXPECT_EQ(ScalarResult(math).val, 0.1);
  SetSize(math, 2);
  Deliver(scalar_, ScalarOf(0.3));
  EXPECT_EQ(ScalarResult(math).val, 0.2);
}

TEST_F(AverageAndPeak, TheMeanOfOneTraceTakesItsLength) {
  trace_ = TraceOf({1, 2, 3});
  const Math_var math = Create(Average, {trace_});
  Deliver(trace_, TraceOf({4, 5}));
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(4, 5));
  EXPECT_EQ(written_.Take(),
            "Common_Math/src/MathValueBasicTrace:DoValueEqualOp Error: traces are different sizes! 2, 3\n");
  Deliver(trace_, TraceOf({6, 7}));
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(6, 7));
  EXPECT_EQ(written_.Take(), "");
}

// --- running mean: what cannot happen from outside ------------------------------------------------------------------

TEST(RunningMeanOfTraces, AMeanThatCannotBeScaledInsertsNothing) {
  RunningMean<BT_DATA> history;
  history.Begin(MathTrace(TraceOf({1})));
  Value::Units gapped;
  gapped.slots[1] = {Value::U_Watt, 1};
  MathTrace mean(TraceOf({1}, gapped));
  EXPECT_THROW(history.Continue(mean, MathTrace(TraceOf({2})), 3), Value::OperationNotValid);
  EXPECT_EQ(history.Count(), 1);
  EXPECT_EQ(history.Newest().record.samples[0], 1);
}

TEST(RunningMeanOfTraces, ASampleThatCannotBeTakenAwayHasLeftAllTheSame) {
  RunningMean<BT_DATA> history;
  history.Begin(MathTrace(TraceOf({1}, kSecond)));
  MathTrace mean(TraceOf({1}, kW));
  EXPECT_THROW(history.Continue(mean, MathTrace(TraceOf({2}, kW)), 1), Value::UnitDimensionNotProper);
  EXPECT_EQ(history.Count(), 1);
  EXPECT_EQ(history.Newest().record.samples[0], 2);
}

// --- peak ---------------------------------------------------------------------------------------------------------

TEST_F(AverageAndPeak, PeakPublishesTheLargestForEverySampleUntilReset) {
  scalar_ = ScalarOf(3);
  const Math_var math = Create(Peak, {scalar_});
  for (const double sample : {1.0, 5.0, 2.0}) Deliver(scalar_, ScalarOf(sample));
  const std::size_t before = NumbersPublished(ResultTopic(math)).size();
  Reset<Corvanta::MathFactory::Peak>(math);
  EXPECT_EQ(NumbersPublished(ResultTopic(math)).size(), before) << "RESET publishes nothing";
  Deliver(scalar_, ScalarOf(1));
  EXPECT_THAT(NumbersPublished(ResultTopic(math)), ElementsAre(3, 3, 5, 5, 1));
}

TEST_F(AverageAndPeak, PeakOfTracesIsHeldPointByPoint) {
  trace_ = TraceOf({1, 4, 2});
  const Math_var math = Create(Peak, {trace_});
  Deliver(trace_, TraceOf({3, 0, 2}));
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(3, 4, 2));
}

TEST_F(AverageAndPeak, APeakHeldInDecibelsStaysInDecibels) {
  trace_ = TraceOf({10, 10}, kdBm);
  const Math_var traces = Create(Peak, {trace_});
  Deliver(trace_, TraceOf({0.02f, 0.001f}, kW));
  EXPECT_EQ(UnitsOf(TraceResult(traces)), kdBm);
  EXPECT_THAT(SamplesOf(TraceResult(traces)), ElementsAre(FloatEq(13.0103f), FloatEq(10)));

  scalar_ = ScalarOf(10, kdBm);
  const Math_var scalars = Create(Peak, {scalar_});
  Deliver(scalar_, ScalarOf(0.02, kW));
  EXPECT_EQ(UnitsOf(ScalarResult(scalars)), kdBW) << "a larger scalar comes with its own unit";
  EXPECT_NEAR(ScalarResult(scalars).val, -16.989700043360188, 1e-12);
}

TEST_F(AverageAndPeak, ALinearPeakStaysLinearWhenALevelComes) {
  scalar_ = ScalarOf(3, kW);
  const Math_var math = Create(Peak, {scalar_});
  Deliver(scalar_, ScalarOf(10, kdBW));
  EXPECT_DOUBLE_EQ(ScalarResult(math).val, 10);
  EXPECT_EQ(UnitsOf(ScalarResult(math)), kW);
}

TEST_F(AverageAndPeak, EqualScalarsKeepTheHeldOneWithItsErrors) {
  scalar_ = ScalarOf(3, kW, -1, 1);
  const Math_var math = Create(Peak, {scalar_});
  Deliver(scalar_, ScalarOf(3, kW, -9, 9));
  EXPECT_EQ(ScalarResult(math).plus_err, 1);
}

TEST_F(AverageAndPeak, APeakTraceOfAnotherSizeIsRefusedUntilReset) {
  trace_ = TraceOf({1, 2});
  const Math_var math = Create(Peak, {trace_});
  EXPECT_EQ(RefusalOf([&] { Deliver(trace_, TraceOf({5, 6, 7})); }), "Doing Peak search: traces are different sizes! ");
  EXPECT_EQ(written_.Take(), "Common_Math/src/MathValueBasicTrace:DoPeak Error: traces are different sizes! 3, 2\n");
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(1, 2));
  Reset<Corvanta::MathFactory::Peak>(math);
  Deliver(trace_, TraceOf({0, 0, 0}));
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(0, 0, 0));
}

TEST_F(AverageAndPeak, AMismatchOfUnitsLeavesThePeak) {
  const Math_var math = Create(Peak, {scalar_});
  EXPECT_THROW(Deliver(scalar_, ScalarOf(9, kSecond)), CORBA::UNKNOWN);
  EXPECT_EQ(ScalarResult(math).val, 1);
}

}  // namespace
}  // namespace Lumenar::Test
