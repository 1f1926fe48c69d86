// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/Chart.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "platform/records/Records.h"
#include "platform/units/unit_table.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

using std::chrono::system_clock;

constexpr double kMargin = 0.05;     // of a panel's height, above and below its curves
constexpr double kFarthest = 1e307;  // numbers beyond are drawn at it, so that lengths stay finite
constexpr std::size_t kMostTicks = 100;

const char* QuantityOf(Value::Units_list unit) {
  switch (unit) {
    case Value::U_Second: return "time";
    case Value::U_Hertz: return "frequency";
    case Value::U_Meter: return "distance";
    default: return "axis";
  }
}

// The power of ten of the prefix with which an axis of this length ends at 1,000 at most, and beyond 1.
int PrefixPower(double length) {
  constexpr double kThousandStays = 1e-3;
  if (!(length > 0) || !std::isfinite(length)) return 0;
  return std::clamp(static_cast<int>(std::floor((std::log10(length) - kThousandStays) / 3)) * 3, -15, 18);
}

system_clock::time_point CapturePoint(const Corvanta::BASIC_TRACE::BT_DATA& trace) {
  const std::uint64_t time_ns = std::uint64_t{trace.header[0]} << 32 | trace.header[1];
  const std::chrono::nanoseconds since_epoch(static_cast<std::int64_t>(time_ns & ~(std::uint64_t{1} << 63)));
  return system_clock::time_point(std::chrono::duration_cast<system_clock::duration>(since_epoch));
}

bool TellsItsAxis(const Corvanta::BASIC_TRACE::BT_DATA& trace) {
  const bool known = Value::Find_unit(static_cast<Value::Units_list>(trace.header[2])) != nullptr;
  return known && trace.x_step > 0 && std::isfinite(trace.x_step);
}

// One horizontal axis, of all panels over it.
struct HorizontalAxis {
  Along along;
  std::uint32_t unit;
  double low;  // in the unit without prefix
  double high;
  std::string label;
  double scale;  // from the unit without prefix to the one shown

  bool Fits(const Curve& curve) const { return curve.along == along && curve.x_unit == unit; }
};

void Widen(double& low, double& high, double number) {
  if (!std::isfinite(number)) return;
  number = std::clamp(number, -kFarthest, kFarthest);
  low = std::min(low, number);
  high = std::max(high, number);
}

void Label(HorizontalAxis& axis, const std::vector<Curve>& curves) {
  axis.scale = 1;
  axis.label = "point";
  if (axis.along == Along::Points) return;
  const auto unit = axis.along == Along::Time ? Value::U_Second : static_cast<Value::Units_list>(axis.unit);
  const int power = axis.along == Along::Time ? 0 : PrefixPower(std::max(std::fabs(axis.low), std::fabs(axis.high)));
  const std::string units = UnitsForPeople(VALUE::UnitsToCorba(Value::Make_unit(unit, 1, power)));
  axis.scale = std::pow(10.0, -power);
  axis.label = fmt::format("{} ({})", QuantityOf(unit), units);
  if (axis.along != Along::Time) return;
  const auto first = std::find_if(curves.begin(), curves.end(), [&](const Curve& curve) { return axis.Fits(curve); });
  axis.label = fmt::format("time since {} ({})", ClockText(first->from), units);
}

std::vector<HorizontalAxis> AxesOf(const std::vector<Curve>& curves) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  std::vector<HorizontalAxis> axes;
  for (const Curve& curve : curves) {
    auto axis = std::find_if(axes.begin(), axes.end(), [&](const auto& known) { return known.Fits(curve); });
    if (axis == axes.end()) axis = axes.insert(axes.end(), {curve.along, curve.x_unit, kInfinity, -kInfinity, {}, 1});
    if (curve.values.empty()) continue;
    Widen(axis->low, axis->high, curve.X(0));
    Widen(axis->low, axis->high, curve.X(curve.values.size() - 1));
  }
  for (HorizontalAxis& axis : axes) {
    if (!(axis.low <= axis.high)) axis.low = axis.high = 0;
    Label(axis, curves);
  }
  return axes;
}

Range AxisRange(const HorizontalAxis& axis) {
  const Range range{axis.low * axis.scale, axis.high * axis.scale};
  return range.Length() > 0 ? range : Range{range.low - 0.5, range.high + 0.5};
}

Range ValueRange(const std::vector<Curve>& curves, const Panel& panel) {
  double low = std::numeric_limits<double>::infinity(), high = -low;
  for (const std::size_t number : panel.curves) {
    for (const auto* values : {&curves[number].values, &curves[number].low, &curves[number].high}) {
      for (const double value : *values) Widen(low, high, value);
    }
  }
  if (!(low <= high)) return {-1, 1};
  const double room = high > low ? (high - low) * kMargin : std::max(std::fabs(low) * kMargin, 1e-30);
  return low == 0 && high == 0 ? Range{-1, 1} : Range{low - room, high + room};
}

Panel& PanelFor(const Curve& curve, const HorizontalAxis& axis, std::vector<Panel>& panels) {
  const auto found = std::find_if(panels.begin(), panels.end(), [&](const Panel& known) {
    return known.units == curve.units && known.axis == axis.label;
  });
  if (found != panels.end()) return *found;
  Panel panel;
  panel.units = curve.units;
  panel.axis = axis.label;
  panel.x = AxisRange(axis);
  return *panels.insert(panels.end(), std::move(panel));
}

std::vector<Panel> PanelsOf(const std::vector<Curve>& curves, const std::vector<HorizontalAxis>& axes) {
  std::vector<Panel> panels;
  for (const HorizontalAxis& axis : axes) {
    for (std::size_t i = 0; i < curves.size(); ++i) {
      if (axis.Fits(curves[i])) PanelFor(curves[i], axis, panels).curves.push_back(i);
    }
  }
  for (std::size_t i = 0; i < panels.size(); ++i) {
    panels[i].y = ValueRange(curves, panels[i]);
    panels[i].shares_axis = i + 1 < panels.size() && panels[i].axis == panels[i + 1].axis;
  }
  return panels;
}

std::string TitleOf(const std::vector<Curve>& curves) {
  constexpr system_clock::time_point kUnknown{};
  system_clock::time_point first{}, last{};
  for (const Curve& curve : curves) {
    if (curve.from == kUnknown) continue;
    first = first == kUnknown ? curve.from : std::min(first, curve.from);
    last = std::max(last, curve.to);
  }
  if (first == kUnknown) return {};
  return first == last ? "captured " + UtcText(first)
                       : fmt::format("captured from {} to {}", UtcText(first), UtcText(last));
}

void ToShownUnit(Curve& curve, double scale) {
  curve.x_step *= scale;
  for (double& x : curve.at) x *= scale;
}

// The points of a stretch that have to be drawn, in their order.
std::vector<std::size_t> TellingPoints(const Curve& curve, std::size_t begin, std::size_t end) {
  std::size_t least = end, most = end, gap = end;
  for (std::size_t i = begin; i < end; ++i) {
    if (!std::isfinite(curve.values[i])) {
      gap = i;
      continue;
    }
    if (least == end || curve.values[i] < curve.values[least]) least = i;
    if (most == end || curve.values[i] > curve.values[most]) most = i;
  }
  std::vector<std::size_t> points;
  for (const std::size_t point : {least, most, gap}) {
    if (point != end) points.push_back(point);
  }
  std::sort(points.begin(), points.end());
  points.erase(std::unique(points.begin(), points.end()), points.end());
  return points;
}

}  // namespace

Curve CurveOfTrace(const std::string& name, const Corvanta::BASIC_TRACE::BT_DATA& trace) {
  Curve curve;
  curve.name = name;
  curve.units = UnitsForPeople(trace.units);
  curve.from = curve.to = CapturePoint(trace);
  if (TellsItsAxis(trace)) {
    curve.along = Along::Unit;
    curve.x_unit = trace.header[2];
    curve.x_step = trace.x_step;
  }
  const float* samples = trace.samples.get_buffer();
  curve.values.assign(samples, samples + trace.samples.length());
  return curve;
}

Curve Thinned(Curve curve, std::size_t most) {
  constexpr std::size_t kPointsOfStretch = 3;  // at most
  if (curve.values.size() <= most) return curve;
  const std::size_t stretches = std::max<std::size_t>(most / kPointsOfStretch, 1), count = curve.values.size();
  Curve thin = curve;
  thin.at.clear();
  thin.values.clear();
  thin.low.clear();
  thin.high.clear();
  for (std::size_t i = 0; i < stretches; ++i) {
    for (const std::size_t point : TellingPoints(curve, count * i / stretches, count * (i + 1) / stretches)) {
      thin.at.push_back(curve.X(point));
      thin.values.push_back(curve.values[point]);
      if (!curve.low.empty()) thin.low.push_back(curve.low[point]);
      if (!curve.high.empty()) thin.high.push_back(curve.high[point]);
    }
  }
  return thin;
}

Chart ChartOf(std::vector<Curve> curves) {
  Chart chart;
  const std::vector<HorizontalAxis> axes = AxesOf(curves);
  chart.title = TitleOf(curves);
  chart.panels = PanelsOf(curves, axes);
  for (Curve& curve : curves) {
    const auto axis = std::find_if(axes.begin(), axes.end(), [&](const auto& known) { return known.Fits(curve); });
    ToShownUnit(curve, axis->scale);
  }
  chart.curves = std::move(curves);
  return chart;
}

double TickStep(const Range& range, int most) {
  const double least = range.Length() / std::max(most, 1);
  const double power = std::pow(10.0, std::floor(std::log10(least)));
  for (const double digit : {1.0, 2.0, 5.0}) {
    if (digit * power >= least * (1 - 1e-9)) return digit * power;
  }
  return 10 * power;
}

std::vector<double> TicksOf(const Range& range, double step) {
  std::vector<double> ticks;
  const double first = std::ceil(range.low / step - 1e-9), last = std::floor(range.high / step + 1e-9);
  if (!std::isfinite(first) || !std::isfinite(last)) return ticks;
  for (double number = first; number <= last && ticks.size() < kMostTicks; ++number) {
    ticks.push_back(number == 0 ? 0.0 : number * step);
    if (number + 1 == number) break;  // beyond what a double tells apart
  }
  return ticks;
}

std::string TickText(double tick, double step) {
  constexpr double kLongest = 1e6;
  constexpr int kMostDecimals = 6;
  const int power = static_cast<int>(std::floor(std::log10(step) + 1e-9));
  if (std::fabs(tick) < kLongest && -power <= kMostDecimals) return fmt::format("{:.{}f}", tick, std::max(-power, 0));
  if (tick == 0) return "0";
  const int digits = static_cast<int>(std::floor(std::log10(std::fabs(tick)) + 1e-9)) - power;
  return fmt::format("{:.{}e}", tick, std::clamp(digits, 0, 15));
}

}  // namespace Lumenar::Mathctl
