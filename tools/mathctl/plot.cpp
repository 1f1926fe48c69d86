// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <cstdio>
#include <memory>
#include <variant>

#include "client/values.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/plot_script.h"

namespace Lumenar::Mathctl {
namespace {

using Client::Error;
using Client::ErrorKind;

struct PlotArguments {
  std::vector<std::string> readings;
  std::string output;
};

Curve CurveOf(const Session& session, const std::string& text) {
  const Client::Reading reading = session.Find(text);
  Corvanta::SampleRecord value = Client::GetValue(reading);
  auto* trace = std::get_if<Corvanta::BASIC_TRACE::BT_DATA>(&value);
  if (trace == nullptr)
    throw Error(ErrorKind::BadArgument, Client::FullName(reading.name) + ": only traces can be drawn");
  const auto id = Client::MathIdFromText(text);
  const std::string name =
      id ? fmt::format("math:{} {}", *id, session.Objects().Get(*id).type) : Client::FullName(reading.name);
  return {name, std::move(*trace)};
}

void RunGnuplot(const std::string& script) {
  std::FILE* pipe = popen("timeout 60 gnuplot", "w");
  if (pipe == nullptr) throw Error(ErrorKind::Refused, "gnuplot cannot be started");
  std::fwrite(script.data(), 1, script.size(), pipe);
  if (pclose(pipe) != 0) throw Error(ErrorKind::Refused, "gnuplot did not draw the picture (is it installed?)");
}

void Plot(const Session& session, const PlotArguments& arguments) {
  std::vector<Curve> curves;
  for (const std::string& reading : arguments.readings) curves.push_back(CurveOf(session, reading));
  RunGnuplot(PlotScript(curves, arguments.output));
  WriteOut(arguments.output);
}

}  // namespace

void DefinePlot(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("plot", "Draws the present values of traces into a PNG file, by gnuplot");
  const auto arguments = std::make_shared<PlotArguments>();
  verb->add_option("READING", arguments->readings, "Traces: readings, or math objects as math:3")->required();
  verb->add_option("-o,--output", arguments->output, "The file")->required();
  verb->callback(
      [&command, arguments] { command.run = [arguments](const Session& session) { Plot(session, *arguments); }; });
}

}  // namespace Lumenar::Mathctl
