// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/plot_script.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace Lumenar::Mathctl {
namespace {

constexpr std::size_t kMostPoints = 24000;  // of a curve; many times what a picture can tell apart
constexpr std::size_t kFewPoints = 60;      // of a history, whose samples show as points then

// In single quotes nothing is special but the quote itself, and the end of the line.
std::string InQuotes(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) {
    const bool control = static_cast<unsigned char>(c) < 0x20;
    quoted += c == '\'' ? std::string("''") : std::string(1, control ? ' ' : c);
  }
  return quoted + "'";
}

std::string ScriptNumber(double number) { return std::isfinite(number) ? fmt::format("{:.9g}", number) : "NaN"; }

bool HasBand(const Curve& curve) { return !curve.low.empty() && !curve.high.empty(); }

void AppendData(std::string& script, std::size_t number, const Curve& whole) {
  const Curve curve = Thinned(whole, kMostPoints);
  const auto out = std::back_inserter(script);
  fmt::format_to(out, "$curve{} << END_OF_CURVE\n", number);
  for (std::size_t i = 0; i < curve.values.size(); ++i) {
    fmt::format_to(out, "{} {}", ScriptNumber(curve.X(i)), ScriptNumber(curve.values[i]));
    if (HasBand(curve)) fmt::format_to(out, " {} {}", ScriptNumber(curve.low[i]), ScriptNumber(curve.high[i]));
    script += '\n';
  }
  fmt::format_to(out, "END_OF_CURVE\n");
}

std::string CurveCommand(const Curve& curve, std::size_t number, std::size_t colour) {
  const bool points = curve.along == Along::Time && curve.values.size() <= kFewPoints;
  std::string command;
  if (HasBand(curve)) {
    command = fmt::format("$curve{} using 1:3:4 with filledcurves fill transparent solid 0.25 linecolor {} notitle, ",
                          number, colour);
  }
  return command + fmt::format("$curve{} using 1:2 with {} linecolor {} title {}", number,
                               points ? "linespoints" : "lines", colour, InQuotes(curve.name));
}

std::string RangeText(const Range& range) { return fmt::format("[{:.17g}:{:.17g}]", range.low, range.high); }

std::string PanelCommand(const Panel& panel, const Chart& chart) {
  std::string command =
      fmt::format("set xlabel {}\nset ylabel {}\nset xrange {}\nset yrange {}\nplot ", InQuotes(panel.axis),
                  InQuotes(panel.units), RangeText(panel.x), RangeText(panel.y));
  for (std::size_t i = 0; i < panel.curves.size(); ++i) {
    const std::size_t number = panel.curves[i];
    command += (i == 0 ? "" : ", ") + CurveCommand(chart.curves[number], number, i + 1);
  }
  return command + "\n";
}

std::string TerminalCommand(PictureKind kind, std::size_t panels) {
  constexpr std::size_t kTallest = 30000;
  const std::size_t height = std::min(150 + 350 * panels, kTallest);
  switch (kind) {
    case PictureKind::Svg: return fmt::format("set terminal svg noenhanced size 1000,{} background '#ffffff'", height);
    case PictureKind::Pdf:
      return fmt::format("set terminal pdfcairo noenhanced size 10in,{:.2f}in", static_cast<double>(height) / 100);
    case PictureKind::Png: break;
  }
  return fmt::format("set terminal pngcairo noenhanced size 1000,{}", height);
}

// One width for all panels, so that their axes stand above each other.
constexpr const char* kForm =
    "set grid\nset key outside top horizontal\nset lmargin at screen 0.1\nset rmargin at screen 0.97\n";

}  // namespace

std::string PlotScript(const Chart& chart, PictureKind kind) {
  std::string script = TerminalCommand(kind, chart.panels.size()) + "\n";
  for (std::size_t i = 0; i < chart.curves.size(); ++i) AppendData(script, i, chart.curves[i]);
  script += fmt::format("{}set multiplot layout {},1 title {}\n", kForm, chart.panels.size(), InQuotes(chart.title));
  for (const Panel& panel : chart.panels) script += PanelCommand(panel, chart);
  return script + "unset multiplot\n";
}

}  // namespace Lumenar::Mathctl
