// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/Chart.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "platform/records/Records.h"

namespace Lumenar::Mathctl {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;
using testing::ElementsAre;

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

BT_DATA ChartTrace(std::size_t points, const Value::Units& units, double x_step = 0, Value::Units_list x_unit = {}) {
  BT_DATA trace{};
  trace.units = VALUE::UnitsToCorba(units);
  trace.x_step = x_step;
  trace.header[2] = static_cast<CORBA::ULong>(x_unit);
  trace.samples.length(static_cast<CORBA::ULong>(points));
  for (CORBA::ULong i = 0; i < trace.samples.length(); ++i) trace.samples[i] = static_cast<float>(i);
  return trace;
}

Curve Values(const std::vector<double>& values) {
  Curve curve;
  curve.units = "W";
  curve.values = values;
  return curve;
}

TEST(Chart, ShowsTheQuantityOfTheAxisWhereATraceTellsIt) {
  const auto axis = [](double step, Value::Units_list unit) {
    return ChartOf({CurveOfTrace("a", ChartTrace(1001, Value::C_Watts, step, unit))}).panels.at(0).axis;
  };
  EXPECT_EQ(axis(1e-6, Value::U_Second), "time (us)");
  EXPECT_EQ(axis(1e6, Value::U_Hertz), "frequency (MHz)");
  EXPECT_EQ(axis(0.5, Value::U_Meter), "distance (m)");
  EXPECT_EQ(axis(1, Value::U_Volt), "axis (V)");
  EXPECT_EQ(axis(1, Value::U_None), "point");
  EXPECT_EQ(axis(0, Value::U_Second), "point");
  EXPECT_EQ(axis(kNotANumber, Value::U_Second), "point");
  EXPECT_EQ(axis(1, static_cast<Value::Units_list>(4000)), "point");
}

TEST(Chart, CurvesOverOneQuantityShareItsPrefixAndItsRange) {
  const Chart chart = ChartOf({CurveOfTrace("short", ChartTrace(11, Value::C_Watts, 1e-6, Value::U_Second)),
                               CurveOfTrace("long", ChartTrace(11, Value::C_Kelvin, 1e-3, Value::U_Second))});
  ASSERT_EQ(chart.panels.size(), 2u);
  for (const Panel& panel : chart.panels) {
    EXPECT_EQ(panel.axis, "time (ms)");
    EXPECT_DOUBLE_EQ(panel.x.low, 0);
    EXPECT_NEAR(panel.x.high, 10, 1e-9);
  }
  EXPECT_NEAR(chart.curves[0].X(10), 0.01, 1e-12);
  EXPECT_TRUE(chart.panels[0].shares_axis);
  EXPECT_FALSE(chart.panels[1].shares_axis);
}

TEST(Chart, PanelsOverOneAxisStandBehindEachOther) {
  const Chart chart = ChartOf({CurveOfTrace("a", ChartTrace(2, Value::C_Watts, 1e-3, Value::U_Second)),
                               CurveOfTrace("b", ChartTrace(2, Value::C_Watts)),
                               CurveOfTrace("c", ChartTrace(2, Value::C_Kelvin, 1e-3, Value::U_Second))});
  ASSERT_EQ(chart.panels.size(), 3u);
  EXPECT_EQ(chart.panels[0].units, "W");
  EXPECT_EQ(chart.panels[1].units, "K");
  EXPECT_EQ(chart.panels[2].axis, "point");
}

TEST(Chart, LeavesRoomAboveAndBelowTheCurves) {
  const Panel panel = ChartOf({Values({0, 100})}).panels.at(0);
  EXPECT_DOUBLE_EQ(panel.y.low, -5);
  EXPECT_DOUBLE_EQ(panel.y.high, 105);
}

TEST(Chart, TheErrorBandHasRoom) {
  Curve curve = Values({1, 2});
  curve.low = {-10, 1};
  curve.high = {2, 10};
  const Panel panel = ChartOf({curve}).panels.at(0);
  EXPECT_DOUBLE_EQ(panel.y.low, -11);
  EXPECT_DOUBLE_EQ(panel.y.high, 11);
}

TEST(Chart, EveryRangeHasALength) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity(), kMost = std::numeric_limits<double>::max();
  for (const auto& values :
       {std::vector<double>{}, {0}, {7}, {-7, -7}, {kNotANumber}, {kInfinity, 1}, {-kMost, kMost}}) {
    const Panel panel = ChartOf({Values(values)}).panels.at(0);
    EXPECT_GT(panel.y.Length(), 0) << testing::PrintToString(values);
    EXPECT_GT(panel.x.Length(), 0) << testing::PrintToString(values);
    EXPECT_TRUE(std::isfinite(panel.y.Length())) << testing::PrintToString(values);
  }
}

TEST(Chart, SaysWhenItWasCaptured) {
  EXPECT_EQ(ChartOf({CurveOfTrace("a", ChartTrace(1, Value::C_Watts))}).title, "");
  constexpr std::uint64_t kTime_ns = 1'000'000'000'000'000'000;  // 2001-09-09
  BT_DATA trace = ChartTrace(1, Value::C_Watts);
  trace.header[0] = static_cast<CORBA::ULong>(kTime_ns >> 32);
  trace.header[1] = static_cast<CORBA::ULong>(kTime_ns);
  const Curve first = CurveOfTrace("a", trace);
  EXPECT_EQ(ChartOf({first}).title, "captured 2001-09-09T01:46:40.000000Z");
  trace.header[1] += 1'000'000'000;
  EXPECT_EQ(ChartOf({CurveOfTrace("b", trace), first}).title,
            "captured from 2001-09-09T01:46:40.000000Z to 2001-09-09T01:46:41.000000Z");
}

TEST(Chart, ThinningKeepsTheExtremesAndTheGaps) {
  std::vector<double> values(30000, 1.0);
  values[20] = -3;
  values[12345] = 9;
  values[29999] = kNotANumber;
  const Curve thin = Thinned(Values(values), 300);
  EXPECT_LE(thin.values.size(), 300u);
  const auto has = [&](double x, double value) {
    for (std::size_t i = 0; i < thin.values.size(); ++i) {
      if (thin.at[i] == x) return std::isnan(value) ? std::isnan(thin.values[i]) : thin.values[i] == value;
    }
    return false;
  };
  EXPECT_TRUE(has(20, -3));
  EXPECT_TRUE(has(12345, 9));
  EXPECT_TRUE(has(29999, kNotANumber));
  EXPECT_EQ(Thinned(Values({1, 2, 3}), 3).values.size(), 3u);
}

TEST(Ticks, AreRoundNumbersInTheRange) {
  EXPECT_DOUBLE_EQ(TickStep({0, 10}, 5), 2);
  EXPECT_DOUBLE_EQ(TickStep({0, 10}, 4), 5);
  EXPECT_DOUBLE_EQ(TickStep({0, 1}, 10), 0.1);
  EXPECT_DOUBLE_EQ(TickStep({-3e-6, 3e-6}, 3), 2e-6);
  EXPECT_THAT(TicksOf({-4, 5}, 2), ElementsAre(-4, -2, 0, 2, 4));
  EXPECT_LE(TicksOf({1e300, 1e300 + 1e285}, 1e280).size(), 100u);
}

TEST(Ticks, HaveAsManyDigitsAsTellThemApart) {
  EXPECT_EQ(TickText(-20, 20), "-20");
  EXPECT_EQ(TickText(0.30000000000000004, 0.1), "0.3");
  EXPECT_EQ(TickText(0, 1e-12), "0");
  EXPECT_EQ(TickText(1.5e-9, 5e-10), "1.5e-09");
  EXPECT_EQ(TickText(2e9, 1e9), "2e+09");
}

}  // namespace
}  // namespace Lumenar::Mathctl
