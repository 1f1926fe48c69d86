// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/plot_script.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <iterator>

#include "client/Error.h"
#include "client/Text.h"
#include "platform/records/Records.h"
#include "platform/units/unit_table.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

// The horizontal axis of a curve: what stands below it, and the step between two points in that unit.
struct Axis {
  std::string label = "point";
  double step = 1;
};

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

Axis AxisOf(const Corvanta::BASIC_TRACE::BT_DATA& trace) {
  const auto unit = static_cast<Value::Units_list>(trace.header[2]);
  if (Value::Find_unit(unit) == nullptr || !(trace.x_step > 0) || !std::isfinite(trace.x_step)) return {};
  const int power = PrefixPower(trace.x_step * std::max<double>(trace.samples.length(), 2) - trace.x_step);
  const std::string units = UnitsForPeople(VALUE::UnitsToCorba(Value::Make_unit(unit, 1, power)));
  return {fmt::format("{} ({})", QuantityOf(unit), units), trace.x_step / std::pow(10.0, power)};
}

// A panel holds the curves of one unit over one kind of axis.
struct Panel {
  std::string units;
  std::string axis;
  std::vector<const Curve*> curves;
};

std::vector<Panel> PanelsOf(const std::vector<Curve>& curves) {
  std::vector<Panel> panels;
  for (const Curve& curve : curves) {
    const std::string units = UnitsForPeople(curve.trace.units), axis = AxisOf(curve.trace).label;
    auto panel = std::find_if(panels.begin(), panels.end(),
                              [&](const Panel& known) { return known.units == units && known.axis == axis; });
    if (panel == panels.end()) panel = panels.insert(panels.end(), {units, axis, {}});
    panel->curves.push_back(&curve);
  }
  return panels;
}

// In single quotes nothing is special but the quote itself.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? "''" : std::string(1, c);
  return quoted + "'";
}

void AppendData(std::string& script, std::size_t number, const Curve& curve) {
  const auto out = std::back_inserter(script);
  const double step = AxisOf(curve.trace).step;
  fmt::format_to(out, "$curve{} << END_OF_CURVE\n", number);
  for (CORBA::ULong i = 0; i < curve.trace.samples.length(); ++i) {
    const float sample = curve.trace.samples[i];
    fmt::format_to(out, "{:.9g} {}\n", i * step, std::isfinite(sample) ? fmt::format("{}", sample) : "NaN");
  }
  fmt::format_to(out, "END_OF_CURVE\n");
}

std::string PanelCommand(const Panel& panel, const std::vector<Curve>& curves) {
  std::string command = fmt::format("set xlabel {}\nset ylabel {}\nplot ", Quoted(panel.axis), Quoted(panel.units));
  for (std::size_t i = 0; i < panel.curves.size(); ++i) {
    const Curve& curve = *panel.curves[i];
    const auto number = &curve - curves.data();
    command += fmt::format("{}$curve{} using 1:2 with lines title {}", i == 0 ? "" : ", ", number,
                           Quoted(Client::Printable(curve.name)));
  }
  return command + "\n";
}

// Empty where the trace does not tell.
std::string CaptureTimeOf(const std::vector<Curve>& curves) {
  const std::uint64_t time_ns =
      curves.empty() ? 0 : std::uint64_t{curves[0].trace.header[0]} << 32 | curves[0].trace.header[1];
  if (time_ns == 0) return {};
  const std::chrono::nanoseconds since_epoch(static_cast<std::int64_t>(time_ns & ~(std::uint64_t{1} << 63)));
  return "captured " + UtcText(std::chrono::system_clock::time_point(
                           std::chrono::duration_cast<std::chrono::system_clock::duration>(since_epoch)));
}

// One width for all panels, so that their axes stand above each other, and room above each curve.
constexpr const char* kForm =
    "set grid\nset key outside top horizontal\nset lmargin at screen 0.1\nset rmargin at screen 0.97\n"
    "set offsets graph 0, 0, 0.05, 0\n";

}  // namespace

std::string PlotScript(const std::vector<Curve>& curves, const std::string& output) {
  if (std::any_of(output.begin(), output.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; })) {
    throw Client::Error(Client::ErrorKind::BadArgument, "the file name holds control characters");
  }
  const std::vector<Panel> panels = PanelsOf(curves);
  std::string script = fmt::format("set terminal pngcairo noenhanced size 1000,{}\nset output {}\n",
                                   150 + 350 * panels.size(), Quoted(output));
  for (std::size_t i = 0; i < curves.size(); ++i) AppendData(script, i, curves[i]);
  script += fmt::format("{}set multiplot layout {},1 title {}\n", kForm, panels.size(), Quoted(CaptureTimeOf(curves)));
  for (const Panel& panel : panels) script += PanelCommand(panel, curves);
  return script + "unset multiplot\n";
}

}  // namespace Lumenar::Mathctl
