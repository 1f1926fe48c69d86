// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/plot_script.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "client/Error.h"
#include "client/Text.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

// A panel holds the curves of one unit.
struct Panel {
  std::string units;
  std::vector<const Curve*> curves;
};

std::vector<Panel> PanelsOf(const std::vector<Curve>& curves) {
  std::vector<Panel> panels;
  for (const Curve& curve : curves) {
    const std::string units = UnitsForPeople(curve.trace.units);
    auto panel = std::find_if(panels.begin(), panels.end(), [&](const Panel& known) { return known.units == units; });
    if (panel == panels.end()) panel = panels.insert(panels.end(), {units, {}});
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
  fmt::format_to(out, "$curve{} << END_OF_CURVE\n", number);
  for (CORBA::ULong i = 0; i < curve.trace.samples.length(); ++i) {
    const float sample = curve.trace.samples[i];
    fmt::format_to(out, "{} {}\n", i, std::isfinite(sample) ? fmt::format("{}", sample) : "NaN");
  }
  fmt::format_to(out, "END_OF_CURVE\n");
}

std::string PanelCommand(const Panel& panel, const std::vector<Curve>& curves) {
  std::string command = fmt::format("set ylabel {}\nplot ", Quoted(panel.units));
  for (std::size_t i = 0; i < panel.curves.size(); ++i) {
    const Curve& curve = *panel.curves[i];
    const auto number = &curve - curves.data();
    command += fmt::format("{}$curve{} using 1:2 with lines title {}", i == 0 ? "" : ", ", number,
                           Quoted(Client::Printable(curve.name)));
  }
  return command + "\n";
}

}  // namespace

std::string PlotScript(const std::vector<Curve>& curves, const std::string& output) {
  if (std::any_of(output.begin(), output.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; })) {
    throw Client::Error(Client::ErrorKind::BadArgument, "the file name holds control characters");
  }
  const std::vector<Panel> panels = PanelsOf(curves);
  std::string script = fmt::format("set terminal pngcairo noenhanced size 1000,{}\nset output {}\n",
                                   150 + 350 * panels.size(), Quoted(output));
  for (std::size_t i = 0; i < curves.size(); ++i) AppendData(script, i, curves[i]);
  script += fmt::format("set grid\nset key outside top horizontal\nset xlabel 'point'\nset multiplot layout {},1\n",
                        panels.size());
  for (const Panel& panel : panels) script += PanelCommand(panel, curves);
  return script + "unset multiplot\n";
}

}  // namespace Lumenar::Mathctl
