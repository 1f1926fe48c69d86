// SPDX-License-Identifier: Apache-2.0
// Each operation with real processes: from a reading's sample over the topic manager to the published RESULT.
#include <gmock/gmock.h>

#include "tests/support/EngineFixture.h"

namespace Lumenar::Test {
namespace {

using testing::ElementsAre;
using Value::C_Watts;

std::vector<double> NumbersOf(const std::vector<Scalar>& records) {
  std::vector<double> numbers;
  for (const Scalar& record : records) numbers.push_back(record.val);
  return numbers;
}

using Operations = EngineFixture;

TEST_F(Operations, SubtractOfTracesHoldsAResultAtOnceAndOneForEverySampleOfEitherInput) {
  TraceInput first(bench_, "FIRST", Trace({5, 7, 9}, C_Watts));
  TraceInput second(bench_, "SECOND", Trace({1, 2, 3}, C_Watts));
  Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(first, second));
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(4, 5, 6));

  Watcher<BT_DATA> results(ResultTopic(math));
  first = Trace({10, 10, 10}, C_Watts, 41);
  ASSERT_EQ(results.WaitFor(1).size(), 1u);
  second = Trace({4, 4, 4}, C_Watts, 42);
  const auto published = results.WaitFor(2);
  ASSERT_EQ(published.size(), 2u);
  EXPECT_THAT(SamplesOf(published[0]), ElementsAre(9, 8, 7));
  EXPECT_THAT(SamplesOf(published[1]), ElementsAre(6, 6, 6));
  EXPECT_EQ(published[1].sequence_number, 41u) << "the header comes from the first operand";
  EXPECT_EQ(UnitsOf(published[1]), C_Watts);
}

TEST_F(Operations, SubtractOfScalarsKeepsTheUnitOfTheFirstAndCombinesTheErrors) {
  ScalarInput first(bench_, "FIRST", ScalarOf(5, C_Watts, -0.5, 1));
  ScalarInput second(bench_, "SECOND", ScalarOf(2000, kMilliwatt, -100, 300));
  Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(first, second));
  const Scalar result = ScalarResult(math);
  EXPECT_DOUBLE_EQ(result.val, 3);
  EXPECT_DOUBLE_EQ(result.minus_err, -0.4);
  EXPECT_DOUBLE_EQ(result.plus_err, 0.7);
  EXPECT_EQ(UnitsOf(result), C_Watts);
}

TEST_F(Operations, AUnitMismatchLeavesResultAtItsLastGoodValueAndIsToldOnce) {
  ScalarInput first(bench_, "FIRST", ScalarOf(5, C_Watts));
  ScalarInput second(bench_, "SECOND", ScalarOf(2, C_Watts));
  Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(first, second));
  Watcher<Scalar> results(ResultTopic(math));
  const std::string output_before = engine_.Out();
  second = ScalarOf(1, Value::Make_unit(Value::U_Second));
  second = ScalarOf(1, Value::Make_unit(Value::U_Second));
  second = ScalarOf(4, C_Watts);  // proves that the mismatch has been worked on
  EXPECT_THAT(NumbersOf(results.WaitFor(1)), ElementsAre(1));
  EXPECT_EQ(engine_.Out(), output_before) << "the mismatch passes there without a line";
  const std::string lines = engine_.Error();
  const std::string told =
      "math object 0 over TESTBENCH/1/FIRST, TESTBENCH/1/SECOND refused 1 sample: UnitDimensionNotProper\n";
  const auto at = lines.find(told);
  ASSERT_NE(at, std::string::npos) << lines;
  EXPECT_EQ(lines.find(told, at + 1), std::string::npos) << "once for the first of a kind";
}

TEST_F(Operations, RelativeSubtractOfTracesSubtractsTheDecibelNumbers) {
  TraceInput first(bench_, "FIRST", Trace({10, 20}, kdBm));
  TraceInput second(bench_, "SECOND", Trace({4, 5}, kdBm));
  Corvanta::MathFactory::Math_var math = Create(RelativeSubtract, Inputs(first, second));
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(6, 15));
  Watcher<BT_DATA> results(ResultTopic(math));
  second = Trace({10, 30}, kdBm);
  const auto published = results.WaitFor(1);
  ASSERT_EQ(published.size(), 1u);
  EXPECT_THAT(SamplesOf(published[0]), ElementsAre(0, -10));
  EXPECT_EQ(UnitsOf(published[0]), kdBm);
}

TEST_F(Operations, AverageWithSizeThreeFollowsTheSamples) {
  ScalarInput input(bench_, "INPUT", ScalarOf(1, C_Watts));
  Corvanta::MathFactory::Math_var math = Create(Average, Inputs(input));
  Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
  Corvanta::EngineAttribLong_var size = average->AttrSize();
  Corvanta::EngineReadingBoolean_var full = average->AttrFull();
  EXPECT_TRUE(full->Get()) << "SIZE is 1 and holds one sample";
  size->Set(3);

  Watcher<Scalar> results(ResultTopic(math));
  for (double sample : {2, 3, 4}) input = ScalarOf(sample, C_Watts);
  EXPECT_THAT(NumbersOf(results.WaitFor(3)), ElementsAre(1.5, 2, 3));
  EXPECT_TRUE(full->Get());
  EXPECT_THROW(size->Set(100), Corvanta::LimitsExceeded);
  EXPECT_EQ(size->Get(), 3);
}

TEST_F(Operations, ResetOfAverageClearsTheHistoryAndPublishesTheNewestSample) {
  ScalarInput input(bench_, "INPUT", ScalarOf(5, C_Watts));
  Corvanta::MathFactory::Math_var math = Create(Average, Inputs(input));
  Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
  Corvanta::EngineAttribLong_var(average->AttrSize())->Set(4);
  Watcher<Scalar> results(ResultTopic(math));
  input = ScalarOf(7, C_Watts);
  results.WaitFor(1);
  Corvanta::EngineAttribVoid_var(average->AttrReset())->Set();
  EXPECT_FALSE(Corvanta::EngineReadingBoolean_var(average->AttrFull())->Get());
  input = ScalarOf(9, C_Watts);
  EXPECT_THAT(NumbersOf(results.WaitFor(3)), ElementsAre(6, 7, 9));
}

TEST_F(Operations, AverageOfATraceInDecibelsIsTakenInLinearPower) {
  TraceInput input(bench_, "INPUT", Trace({10, 0}, kdBm));
  Corvanta::MathFactory::Math_var math = Create(Average, Inputs(input));
  Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
  Corvanta::EngineAttribLong_var(average->AttrSize())->Set(2);
  Watcher<BT_DATA> results(ResultTopic(math));
  input = Trace({7, 0}, kdBm);
  const auto published = results.WaitFor(1);
  ASSERT_EQ(published.size(), 1u);
  EXPECT_NEAR(published[0].samples[0], 8.754049, 1e-4);
  EXPECT_NEAR(published[0].samples[1], 0, 1e-5);
  EXPECT_EQ(UnitsOf(published[0]), kdBm);
}

TEST_F(Operations, PeakHoldsThePointwiseMaximumUntilReset) {
  TraceInput input(bench_, "INPUT", Trace({1, 4, 2}, C_Watts));
  Corvanta::MathFactory::Math_var math = Create(Peak, Inputs(input));
  Corvanta::MathFactory::Peak_var peak = Corvanta::MathFactory::Peak::_narrow(math);
  Watcher<BT_DATA> results(ResultTopic(math));
  input = Trace({3, 0, 2}, C_Watts);
  ASSERT_EQ(results.WaitFor(1).size(), 1u);
  EXPECT_THAT(SamplesOf(results.All()[0]), ElementsAre(3, 4, 2));
  Corvanta::EngineAttribVoid_var(peak->AttrReset())->Set();
  EXPECT_THAT(SamplesOf(TraceResult(math)), ElementsAre(3, 4, 2)) << "RESET publishes nothing";
  input = Trace({1, 1, 1}, C_Watts);
  ASSERT_EQ(results.WaitFor(2).size(), 2u);
  EXPECT_THAT(SamplesOf(results.All()[1]), ElementsAre(1, 1, 1));
}

TEST_F(Operations, PeakOfScalarsPublishesForEverySample) {
  ScalarInput input(bench_, "INPUT", ScalarOf(3, C_Watts));
  Corvanta::MathFactory::Math_var math = Create(Peak, Inputs(input));
  Watcher<Scalar> results(ResultTopic(math));
  for (double sample : {1, 5, 2}) input = ScalarOf(sample, C_Watts);
  EXPECT_THAT(NumbersOf(results.WaitFor(3)), ElementsAre(3, 5, 5));
}

TEST_F(Operations, CumulativeAddSumsTheRangeAndAStopSampleMovesTheStart) {
  TraceInput trace(bench_, "TRACE", Trace({1, 2, 3, 4, 5}, C_Watts));
  LongInput start(bench_, "START", 1);
  LongInput stop(bench_, "STOP", 3);
  Corvanta::MathFactory::Math_var math = Create(CumulativeAdd, Inputs(trace, start, stop));
  EXPECT_EQ(ScalarResult(math).val, 9);
  Watcher<Scalar> results(ResultTopic(math));
  start = 2;
  EXPECT_THAT(NumbersOf(results.WaitFor(1)), ElementsAre(7));
  stop = 0;  // overwrites the start index; the stop stays 3
  EXPECT_THAT(NumbersOf(results.WaitFor(2)), ElementsAre(7, 10));
  trace = Trace({10, 10, 10, 10, 10}, C_Watts);
  EXPECT_THAT(NumbersOf(results.WaitFor(3)), ElementsAre(7, 10, 40));
}

TEST_F(Operations, ResultOfOneObjectIsTheInputOfAnother) {
  TraceInput input(bench_, "INPUT", Trace({1, 5, 3}, C_Watts));
  TraceInput zero(bench_, "ZERO", Trace({1, 1, 1}, C_Watts));
  Corvanta::MathFactory::Math_var difference = Create(Subtract, Inputs(input, zero));
  Corvanta::MathFactory::ReadingAttribSeq chained;
  chained.length(1);
  chained[0] = difference->AttrResult();
  Corvanta::MathFactory::Math_var peak = Create(Peak, chained);
  Watcher<BT_DATA> results(ResultTopic(peak));
  input = Trace({7, 2, 3}, C_Watts);
  const auto published = results.WaitFor(1);
  ASSERT_EQ(published.size(), 1u);
  EXPECT_THAT(SamplesOf(published[0]), ElementsAre(6, 4, 2));
}

}  // namespace
}  // namespace Lumenar::Test
