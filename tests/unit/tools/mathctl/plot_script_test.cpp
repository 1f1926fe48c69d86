// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/plot_script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "client/Error.h"
#include "platform/records/Records.h"
#include "platform/units/Units.h"

namespace Lumenar::Mathctl {
namespace {

using testing::HasSubstr;
using testing::Not;

Curve MakeCurve(const std::string& name, const std::vector<float>& samples, const Value::Units& units,
                double step = 0) {
  Curve curve{name, DefaultRecord<Corvanta::BASIC_TRACE::BT_DATA>()};
  curve.trace.units = VALUE::UnitsToCorba(units);
  curve.trace.x_step = step;
  curve.trace.samples.length(static_cast<CORBA::ULong>(samples.size()));
  for (CORBA::ULong i = 0; i < curve.trace.samples.length(); ++i) curve.trace.samples[i] = samples[i];
  return curve;
}

TEST(PlotScript, DrawsOnePanelAUnit) {
  const std::string script = PlotScript({MakeCurve("a", {1, 2}, Value::C_Watts, 0.5),
                                         MakeCurve("b", {3}, Value::C_Kelvin), MakeCurve("c", {4}, Value::C_Watts)},
                                        "out.png");
  EXPECT_THAT(script, HasSubstr("$curve0 << END_OF_CURVE\n0 1\n1 2\nEND_OF_CURVE\n"));
  EXPECT_THAT(script, HasSubstr("set multiplot layout 2,1"));
  EXPECT_THAT(
      script,
      HasSubstr(
          "set ylabel 'W'\nplot $curve0 using 1:2 with lines title 'a', $curve2 using 1:2 with lines title 'c'\n"));
  EXPECT_THAT(script, HasSubstr("set ylabel 'K'\nplot $curve1 using 1:2 with lines title 'b'\n"));
}

TEST(PlotScript, ShowsTheQuantityOfTheAxisWhereATraceTellsIt) {
  Curve curve = MakeCurve("a", std::vector<float>(1001, 1), Value::C_Watts, 1e-6);
  curve.trace.header[2] = Value::U_Second;
  EXPECT_THAT(PlotScript({curve}, "out.png"), HasSubstr("\n1000 1\nEND_OF_CURVE\n"));
  EXPECT_THAT(PlotScript({curve}, "out.png"), HasSubstr("set xlabel 'time (us)'\nset ylabel 'W'\n"));
  curve.trace.x_step = 1e6;
  curve.trace.header[2] = Value::U_Hertz;
  EXPECT_THAT(PlotScript({curve}, "out.png"), HasSubstr("set xlabel 'frequency (MHz)'\n"));
  for (const CORBA::ULong no_unit : {0u, 4000000000u}) {
    curve.trace.header[2] = no_unit;
    EXPECT_THAT(PlotScript({curve}, "out.png"), HasSubstr("set xlabel 'point'\n")) << no_unit;
  }
}

TEST(PlotScript, CurvesOverDifferentAxesHaveDifferentPanels) {
  Curve over_time = MakeCurve("a", {1, 2}, Value::C_Watts, 1e-3);
  over_time.trace.header[2] = Value::U_Second;
  EXPECT_THAT(PlotScript({over_time, MakeCurve("b", {1, 2}, Value::C_Watts)}, "out.png"),
              HasSubstr("set multiplot layout 2,1"));
}

TEST(PlotScript, SaysWhenTheFirstCurveWasCaptured) {
  Curve curve = MakeCurve("a", {1}, Value::C_Watts);
  EXPECT_THAT(PlotScript({curve}, "out.png"), HasSubstr("layout 1,1 title ''\n"));
  constexpr std::uint64_t kTime_ns = 1'000'000'000'000'000'000;  // 2001-09-09
  curve.trace.header[0] = static_cast<CORBA::ULong>(kTime_ns >> 32);
  curve.trace.header[1] = static_cast<CORBA::ULong>(kTime_ns);
  EXPECT_THAT(PlotScript({curve}, "out.png"), HasSubstr("title 'captured 2001-09-09T01:46:40.000000Z'\n"));
}

TEST(PlotScript, LeavesGapsForWhatCannotBeDrawn) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  EXPECT_THAT(PlotScript({MakeCurve("a", {-kInfinity, 1}, Value::C_Watts)}, "out.png"), HasSubstr("\n0 NaN\n1 1\n"));
}

TEST(PlotScript, NoNameOrPathBecomesACommand) {
  const std::string script = PlotScript({MakeCurve("x'\n!rm `id`", {1}, Value::C_Watts)}, "it's.png");
  EXPECT_THAT(script, HasSubstr("set output 'it''s.png'"));
  EXPECT_THAT(script, HasSubstr("title 'x''\\x0a!rm `id`'"));
  EXPECT_THAT(script, Not(HasSubstr("\n!rm")));
  EXPECT_THROW(PlotScript({}, "a\n!id"), Client::Error);
}

}  // namespace
}  // namespace Lumenar::Mathctl
