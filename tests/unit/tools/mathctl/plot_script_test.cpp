// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/plot_script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace Lumenar::Mathctl {
namespace {

using testing::HasSubstr;
using testing::Not;

Curve ScriptCurve(const std::string& name, const std::vector<double>& values, const std::string& units = "W") {
  Curve curve;
  curve.name = name;
  curve.units = units;
  curve.values = values;
  return curve;
}

std::string ScriptOf(std::vector<Curve> curves, PictureKind kind = PictureKind::Png) {
  return PlotScript(ChartOf(std::move(curves)), kind);
}

TEST(PlotScript, DrawsOnePanelAUnit) {
  const std::string script = ScriptOf({ScriptCurve("a", {1, 2}), ScriptCurve("b", {3}, "K"), ScriptCurve("c", {4})});
  EXPECT_THAT(script, HasSubstr("$curve0 << END_OF_CURVE\n0 1\n1 2\nEND_OF_CURVE\n"));
  EXPECT_THAT(script, HasSubstr("set multiplot layout 2,1 title ''\n"));
  EXPECT_THAT(script, HasSubstr("set ylabel 'W'\nset xrange [0:1]\n"));
  EXPECT_THAT(script, HasSubstr("plot $curve0 using 1:2 with lines linecolor 1 title 'a', "
                                "$curve2 using 1:2 with lines linecolor 2 title 'c'\n"));
  EXPECT_THAT(script, HasSubstr("plot $curve1 using 1:2 with lines linecolor 1 title 'b'\n"));
}

/// The graphics program would end the axis at the highest point itself.
TEST(PlotScript, KeepsRoomAboveAndBelowTheCurves) {
  EXPECT_THAT(ScriptOf({ScriptCurve("a", {0, 100})}), HasSubstr("set yrange [-5:105]\nplot "));
  Curve curve = ScriptCurve("a", {0, 100});
  curve.low = {-100, 0};
  curve.high = {50, 300};
  EXPECT_THAT(ScriptOf({curve}), HasSubstr("set yrange [-120:320]\nplot "));
}

TEST(PlotScript, ShadesTheErrorBand) {
  Curve curve = ScriptCurve("a", {1, 2});
  curve.low = {0.5, 1.5};
  curve.high = {3, 4};
  const std::string script = ScriptOf({curve});
  EXPECT_THAT(script, HasSubstr("\n0 1 0.5 3\n1 2 1.5 4\n"));
  EXPECT_THAT(script, HasSubstr("plot $curve0 using 1:3:4 with filledcurves"));
}

TEST(PlotScript, ChoosesTheTerminalByTheKindOfPicture) {
  EXPECT_THAT(ScriptOf({ScriptCurve("a", {1})}, PictureKind::Png), HasSubstr("set terminal pngcairo noenhanced"));
  EXPECT_THAT(ScriptOf({ScriptCurve("a", {1})}, PictureKind::Svg), HasSubstr("set terminal svg noenhanced"));
  EXPECT_THAT(ScriptOf({ScriptCurve("a", {1})}, PictureKind::Pdf), HasSubstr("set terminal pdfcairo noenhanced"));
}

TEST(PlotScript, LeavesGapsForWhatCannotBeDrawn) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  EXPECT_THAT(ScriptOf({ScriptCurve("a", {-kInfinity, 1})}), HasSubstr("\n0 NaN\n1 1\n"));
}

TEST(PlotScript, ALongTraceCostsNoMoreThanItsPicture) {
  std::vector<double> values(1000000, 0.0);
  values[123456] = 7;
  const std::string script = ScriptOf({ScriptCurve("a", values)});
  EXPECT_LT(script.size(), 1000000u);
  EXPECT_THAT(script, HasSubstr("\n123456 7\n"));
}

TEST(PlotScript, NoNameBecomesACommand) {
  const std::string script = ScriptOf({ScriptCurve("x'\n!rm `id`", {1})});
  EXPECT_THAT(script, HasSubstr("title 'x'' !rm `id`'"));
  EXPECT_THAT(script, Not(HasSubstr("\n!rm")));
}

}  // namespace
}  // namespace Lumenar::Mathctl
