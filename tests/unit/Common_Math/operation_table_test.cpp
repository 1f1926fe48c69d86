// SPDX-License-Identifier: Apache-2.0
// Operation x kind x form of each input. The expected numbers come from a calculation with 40 digits, not from the
// engine.
#include <gtest/gtest.h>

#include "tests/support/MathFixture.h"

namespace Lumenar::Test {
namespace {

struct Row {
  int type;
  Value::Units first_unit;
  double first;
  Value::Units second_unit;
  double second;
  double expected;
  Value::Units expected_unit;
};

// Average: SIZE 2, the second input is the second sample.
const Row kTable[] = {
    {Subtract, kW, 8, kW, 3, 5.0, kW},
    {Average, kW, 8, kW, 3, 5.5, kW},
    {Subtract, kW, 8, kdBW, 7, 2.98812766372727715, kW},
    {RelativeSubtract, kW, 8, kdBW, 7, 1.0, kW},
    {Average, kW, 8, kdBW, 7, 8.13309797961798294, kdBW},
    {Subtract, kW, 8, kmW, 2000, 6.0, kW},
    {Average, kW, 8, kmW, 2000, 5.0, kW},
    {Subtract, kW, 8, kdBm, 36, 4.01892829446502749, kW},
    {RelativeSubtract, kW, 8, kdBm, 36, -28.0, kW},
    {Average, kW, 8, kdBm, 36, 7.77465671720100418, kdBW},
    {Subtract, kdBW, 10, kW, 3, 8.45098040014256831, kdBW},
    {RelativeSubtract, kdBW, 10, kW, 3, 7.0, kdBW},
    {Average, kdBW, 10, kW, 3, 6.5, kW},
    {Subtract, kdBW, 10, kdBW, 7, 6.97937560071699592, kdBW},
    {RelativeSubtract, kdBW, 10, kdBW, 7, 3.0, kdBW},
    {Average, kdBW, 10, kdBW, 7, 8.75404866772504134, kdBW},
    {Subtract, kdBW, 10, kmW, 2000, 9.03089986991943586, kdBW},
    {RelativeSubtract, kdBW, 10, kmW, 2000, -1990.0, kdBW},
    {Average, kdBW, 10, kmW, 2000, 6.0, kW},
    {Subtract, kdBW, 10, kdBm, 36, 7.79519169458091402, kdBW},
    {RelativeSubtract, kdBW, 10, kdBm, 36, -26.0, kdBW},
    {Average, kdBW, 10, kdBm, 36, 8.44510467445312473, kdBW},
    {Subtract, kmW, 9000, kW, 3, 6000.0, kmW},
    {Average, kmW, 9000, kW, 3, 6000.0, kmW},
    {Subtract, kmW, 9000, kdBW, 7, 3988.12766372727715, kmW},
    {RelativeSubtract, kmW, 9000, kdBW, 7, 8993.0, kmW},
    {Average, kmW, 9000, kdBW, 7, 38.4546617609437189, kdBm},
    {Subtract, kmW, 9000, kmW, 2000, 7000.0, kmW},
    {Average, kmW, 9000, kmW, 2000, 5500.0, kmW},
    {Subtract, kmW, 9000, kdBm, 36, 5018.92829446502749, kmW},
    {RelativeSubtract, kmW, 9000, kdBm, 36, 8964.0, kmW},
    {Average, kmW, 9000, kdBm, 36, 38.1228055324001143, kdBm},
    {Subtract, kdBm, 40, kW, 3, 38.4509804001425683, kdBm},
    {RelativeSubtract, kdBm, 40, kW, 3, 37.0, kdBm},
    {Average, kdBm, 40, kW, 3, 6500.0, kmW},
    {Subtract, kdBm, 40, kdBW, 7, 36.9793756007169959, kdBm},
    {RelativeSubtract, kdBm, 40, kdBW, 7, 33.0, kdBm},
    {Average, kdBm, 40, kdBW, 7, 38.7540486677250413, kdBm},
    {Subtract, kdBm, 40, kmW, 2000, 39.0308998699194359, kdBm},
    {RelativeSubtract, kdBm, 40, kmW, 2000, -1960.0, kdBm},
    {Average, kdBm, 40, kmW, 2000, 6000.0, kmW},
    {Subtract, kdBm, 40, kdBm, 36, 37.795191694580914, kdBm},
    {RelativeSubtract, kdBm, 40, kdBm, 36, 4.0, kdBm},
    {Average, kdBm, 40, kdBm, 36, 38.4451046744531247, kdBm},
    // Without unit, and a bare gain on a level.
    {Subtract, kNone, 8, kNone, 3, 5, kNone},
    {RelativeSubtract, kdBm, 40, kdB, 3, 37, kdBm},
    {Average, kNone, 8, kNone, 3, 5.5, kNone},
    // Peak of linear samples: the same for both kinds.
    {Peak, kW, 8, kW, 3, 8, kW},
    {Peak, kNone, 3, kNone, 8, 8, kNone},
    {Peak, kdBm, 36, kdBm, 40, 40, kdBm},
    {Peak, kdBm, 40, kdBm, 36, 40, kdBm},
    {Peak, kdBm, 40, kW, 3, 40, kdBm},
    {Peak, kW, 3, kdBW, 10, 10, kW},
    {Peak, kmW, 9000, kdBW, 7, 9000, kmW},
};

// Operands whose units cannot be brought together: nothing is published.
const Row kMismatches[] = {
    {Subtract, kNone, 8, kW, 3, 0, {}},         {Subtract, kW, 8, kNone, 3, 0, {}},
    {Subtract, kW, 8, kSecond, 3, 0, {}},       {Subtract, kdBm, 8, kSecond, 3, 0, {}},
    {RelativeSubtract, kW, 8, kW, 3, 0, {}},    {RelativeSubtract, kNone, 8, kNone, 3, 0, {}},
    {RelativeSubtract, kdB, 8, kdBm, 3, 0, {}}, {RelativeSubtract, kdBm, 8, kSecond, 3, 0, {}},
};

std::string Picture(const Row& row) {
  return "type " + std::to_string(row.type) + ": " + std::to_string(row.first) + " dB" +
         std::to_string(row.first_unit.is_dB) + " 10^" + std::to_string(row.first_unit.base_power) + " and " +
         std::to_string(row.second) + " dB" + std::to_string(row.second_unit.is_dB) + " 10^" +
         std::to_string(row.second_unit.base_power);
}

class OperationTable : public MathFixture {
 protected:
  /// RESULT for two scalars: as two inputs, or as two samples of one.
  Corvanta::MathFactory::Math_var OfScalars(const Row& row) {
    first_scalar_ = ScalarOf(row.first, row.first_unit);
    second_scalar_ = ScalarOf(row.second, row.second_unit);
    if (HasTwoInputs(row.type)) return Create(row.type, {first_scalar_, second_scalar_});
    Corvanta::MathFactory::Math_var math = Create(row.type, {first_scalar_});
    if (row.type == Average) SetSizeTwo(math);
    Deliver(first_scalar_, ScalarOf(row.second, row.second_unit));
    return math;
  }

  /// The same for traces of 67 equal samples: every index takes the same road.
  Corvanta::MathFactory::Math_var OfTraces(const Row& row) {
    first_trace_ = TraceOf(std::vector<float>(67, static_cast<float>(row.first)), row.first_unit);
    second_trace_ = TraceOf(std::vector<float>(67, static_cast<float>(row.second)), row.second_unit);
    if (HasTwoInputs(row.type)) return Create(row.type, {first_trace_, second_trace_});
    Corvanta::MathFactory::Math_var math = Create(row.type, {first_trace_});
    if (row.type == Average) SetSizeTwo(math);
    Deliver(first_trace_, TraceOf(std::vector<float>(67, static_cast<float>(row.second)), row.second_unit));
    return math;
  }

  void SetSizeTwo(Corvanta::MathFactory::Math_ptr math) {
    const Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
    const Corvanta::EngineAttribLong_var size = average->AttrSize();
    size->Set(2);
  }

  ScalarInput first_scalar_{namer_, registration_, ScalarOf(1)};
  ScalarInput second_scalar_{namer_, registration_, ScalarOf(1)};
  TraceInput first_trace_{namer_, registration_, TraceOf({1})};
  TraceInput second_trace_{namer_, registration_, TraceOf({1})};
};

TEST_F(OperationTable, ScalarsInAllForms) {
  for (const Row& row : kTable) {
    SCOPED_TRACE(Picture(row));
    const Corvanta::MathFactory::Math_var math = OfScalars(row);
    const Scalar result = ScalarResult(math);
    EXPECT_NEAR(result.val, row.expected, 1e-13 * std::abs(row.expected));
    EXPECT_EQ(UnitsOf(result), row.expected_unit);
    Factory().DeleteMath(math->GetId());
  }
}

TEST_F(OperationTable, TracesInAllForms) {
  for (const Row& row : kTable) {
    SCOPED_TRACE(Picture(row));
    const Corvanta::MathFactory::Math_var math = OfTraces(row);
    const BT_DATA result = TraceResult(math);
    ASSERT_EQ(result.samples.length(), 67u);
    // Single precision: a few units in the last place for each step; in dB an absolute error of that of the linear
    // number.
    const double tolerance = 4e-7 * std::abs(row.expected) + (row.expected_unit.is_dB ? 2e-6 : 0);
    for (const float sample : SamplesOf(result)) {
      ASSERT_NEAR(sample, row.expected, tolerance);
      ASSERT_EQ(Bits(sample), Bits(result.samples[0])) << "one number gives one result at every index";
    }
    EXPECT_EQ(UnitsOf(result), row.expected_unit);
    Factory().DeleteMath(math->GetId());
  }
}

TEST_F(OperationTable, UnitsThatDoNotMeetPublishNothing) {
  for (const Row& row : kMismatches) {
    SCOPED_TRACE(Picture(row));
    const Corvanta::MathFactory::Math_var scalars = OfScalars(row);
    EXPECT_EQ(Manager().PublishedOn(ResultTopic(scalars)).size(), 0u);
    EXPECT_EQ(UnitsOf(ScalarResult(scalars)), kNone);
    const Corvanta::MathFactory::Math_var traces = OfTraces(row);
    EXPECT_EQ(Manager().PublishedOn(ResultTopic(traces)).size(), 0u);
    EXPECT_EQ(TraceResult(traces).samples.length(), 0u) << "the default";
  }
  EXPECT_EQ(written_.Take(), "");
}

struct SumRow {
  Value::Units unit;
  int start;
  int stop;
  double expected;
  Value::Units expected_unit;
};

TEST_F(OperationTable, SumsOfTracesInAllForms) {
  const SumRow table[] = {
      {kW, 0, 2, 20, kW},
      {kmW, 1, 2, 10, kmW},
      {kNone, 0, 0, 10, kNone},
      {kdBm, 0, 2, 12.5555886012918188, kdBm},  // 10 + 5.01187 + 3 mW
      {kdBW, 0, 1, 11.7643486, kdBW},
  };
  LongInput start(namer_, registration_, 0);
  LongInput stop(namer_, registration_, 0);
  for (const SumRow& row : table) {
    SCOPED_TRACE(row.expected);
    first_trace_ = row.unit.is_dB ? TraceOf({10, 7, 4.77121255f}, row.unit) : TraceOf({10, 7, 3}, row.unit);
    start = row.start;
    stop = row.stop;
    const Scalar result = ScalarResult(Create(CumulativeAdd, {first_trace_, start, stop}));
    EXPECT_NEAR(result.val, row.expected, 2e-6);
    EXPECT_EQ(UnitsOf(result), row.expected_unit);
  }
}

}  // namespace
}  // namespace Lumenar::Test
