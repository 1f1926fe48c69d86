// SPDX-License-Identifier: Apache-2.0
// The worked examples of docs/numbers.md through a live engine: the input reads 10 dBm, then 7 dBm.
#include <limits>

#include "tests/support/EngineFixture.h"

namespace Lumenar::Test {
namespace {

using WorkedExamples = EngineFixture;

TEST_F(WorkedExamples, Subtract) {
  ScalarInput first(bench_, "FIRST", ScalarOf(10, kdBm));
  ScalarInput second(bench_, "SECOND", ScalarOf(7, kdBm));
  Corvanta::MathFactory::Math_var math = Create(Subtract, Inputs(first, second));
  EXPECT_NEAR(ScalarResult(math).val, 6.9794, 5e-5);
  EXPECT_EQ(UnitsOf(ScalarResult(math)), kdBm);
}

TEST_F(WorkedExamples, RelativeSubtract) {
  ScalarInput first(bench_, "FIRST", ScalarOf(10, kdBm));
  ScalarInput second(bench_, "SECOND", ScalarOf(7, kdBm));
  Corvanta::MathFactory::Math_var math = Create(RelativeSubtract, Inputs(first, second));
  EXPECT_DOUBLE_EQ(ScalarResult(math).val, 3);
  EXPECT_EQ(UnitsOf(ScalarResult(math)), kdBm);
}

TEST_F(WorkedExamples, Average) {
  ScalarInput input(bench_, "INPUT", ScalarOf(10, kdBm));
  Corvanta::MathFactory::Math_var math = Create(MathType::Average, Inputs(input));
  Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
  Corvanta::EngineAttribLong_var(average->AttrSize())->Set(2);
  Watcher<Scalar> results(ResultTopic(math));
  input = ScalarOf(7, kdBm);
  ASSERT_EQ(results.WaitFor(1).size(), 1u);
  EXPECT_NEAR(results.All()[0].val, 8.7540, 5e-5);
}

TEST_F(WorkedExamples, AverageAfterAnInfinityIsOffUntilReset) {
  ScalarInput input(bench_, "INPUT", ScalarOf(1, Value::C_Watts));
  Corvanta::MathFactory::Math_var math = Create(MathType::Average, Inputs(input));
  Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
  Corvanta::EngineAttribLong_var(average->AttrSize())->Set(2);
  Watcher<Scalar> results(ResultTopic(math));
  input = ScalarOf(std::numeric_limits<double>::infinity(), Value::C_Watts);  // its mean is refused: RESULT stays 1
  input = ScalarOf(2, Value::C_Watts);                                        // (2 * 1 + 2 - 1) / 2
  input = ScalarOf(3, Value::C_Watts);                                        // refused: the infinity leaves the sum
  input = ScalarOf(4, Value::C_Watts);                                        // (2 * 1.5 + 4 - 2) / 2
  ASSERT_EQ(results.WaitFor(2).size(), 2u);
  Corvanta::EngineAttribVoid_var(average->AttrReset())->Set();
  input = ScalarOf(5, Value::C_Watts);
  const auto published = results.WaitFor(4);
  ASSERT_EQ(published.size(), 4u);
  EXPECT_EQ(published[0].val, 1.5);
  EXPECT_EQ(published[1].val, 2.5);
  EXPECT_EQ(published[2].val, 4);
  EXPECT_EQ(published[3].val, 5);
}

TEST_F(WorkedExamples, Peak) {
  ScalarInput input(bench_, "INPUT", ScalarOf(10, kdBm));
  Corvanta::MathFactory::Math_var math = Create(MathType::Peak, Inputs(input));
  Watcher<Scalar> results(ResultTopic(math));
  input = ScalarOf(7, kdBm);
  ASSERT_EQ(results.WaitFor(1).size(), 1u);
  EXPECT_NEAR(results.All()[0].val, 10, 1e-12);
}

TEST_F(WorkedExamples, CumulativeAdd) {
  TraceInput trace(bench_, "TRACE", Trace({10, 7}, kdBm));
  LongInput start(bench_, "START", 0);
  LongInput stop(bench_, "STOP", 1);
  Corvanta::MathFactory::Math_var math = Create(MathType::CumulativeAdd, Inputs(trace, start, stop));
  EXPECT_NEAR(ScalarResult(math).val, 11.7643, 1e-4);
  EXPECT_EQ(UnitsOf(ScalarResult(math)), kdBm);
}

}  // namespace
}  // namespace Lumenar::Test
