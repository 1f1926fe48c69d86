// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/plot.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>

#include "client/Text.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/PlottedReadings.h"
#include "tools/mathctl/Terminal.h"
#include "tools/mathctl/picture_file.h"
#include "tools/mathctl/plot_terminal.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

using Client::Error;
using Client::ErrorKind;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr unsigned long kMostResults = 1000000;

// Takes samples until there are enough of each reading, or the time is over, or the command is ended.
class Collection {
 public:
  Collection(const Session& session, const PlotArguments& arguments, PlottedReadings& plotted)
      : session_(session), arguments_(arguments), plotted_(plotted), subscription_(session.connection) {
    plotted_.SubscribeTo(subscription_);
    end_ = arguments.End();
  }

  void Run() {
    while (!Finished()) {
      if (auto delivery = subscription_.Next(Patience())) {
        plotted_.Take(std::move(*delivery));
      } else if (!Finished()) {
        plotted_.RequireAll();
      }
    }
    if (subscription_.Ended()) return;
    plotted_.ReadTraces();
    const std::string empty = plotted_.FirstEmpty();
    if (empty.empty()) return;
    throw Error(ErrorKind::Unreachable,
                fmt::format("{}: no sample came within {:g} s; `mathctl doctor {}` looks for the reason", empty,
                            arguments_.seconds, empty));
  }

  bool WasEnded() const { return subscription_.Ended(); }

 private:
  bool Finished() const {
    const bool enough = arguments_.results > 0 && plotted_.Fewest() >= arguments_.results;
    return enough || subscription_.Ended() || (end_ && steady_clock::now() >= *end_);
  }

  milliseconds Patience() const {
    const auto limit = session_.connection.Timeout();
    if (!end_) return limit;
    return std::clamp(std::chrono::ceil<milliseconds>(*end_ - steady_clock::now()), milliseconds(0), limit);
  }

  const Session& session_;
  const PlotArguments& arguments_;
  PlottedReadings& plotted_;
  Client::Subscription subscription_;
  std::optional<steady_clock::time_point> end_;
};

// False when there is nothing to draw, because the command was ended before.
bool Collect(const Session& session, const PlotArguments& arguments, PlottedReadings& plotted) {
  if (arguments.results > 0 || arguments.seconds > 0) {
    Collection collection(session, arguments, plotted);
    collection.Run();
    return !collection.WasEnded() || plotted.All() > 0;
  }
  const std::string scalar = plotted.FirstWithoutTrace();
  if (!scalar.empty()) {
    throw Error(ErrorKind::BadArgument,
                fmt::format("{0}: only traces can be drawn at once; `--for SEC` or `-n N` draws the history of {0}, "
                            "--live goes on",
                            scalar));
  }
  plotted.ReadTraces();
  return true;
}

void WritePicture(const Session& session, const PlotArguments& arguments, const Chart& chart) {
  const auto kind = PictureKindOf(arguments.output);
  WriteWhole(arguments.output, Drawn({"gnuplot"}, PlotScript(chart, *kind), "gnuplot-nox"));
  const std::string file = Client::Printable(arguments.output);
  if (!session.options.quiet) WriteOut(session.options.Json() ? OneLine({{"file", file}}) : file);
}

void Plot(const Session& session, const PlotArguments& arguments) {
  const bool to_terminal = arguments.output.empty();
  if (to_terminal && session.options.format != Format::Table)
    throw Error(ErrorKind::BadArgument, "a picture of characters has no other format; `get --samples --json` has one");
  if (!to_terminal) RequireWritable(arguments.output);
  if (arguments.live) return PlotLive(session, arguments);
  PlottedReadings plotted(session, arguments.readings);
  if (!Collect(session, arguments, plotted)) return;
  const Chart chart = ChartOf(plotted.Curves());
  if (!to_terminal) return WritePicture(session, arguments, chart);
  CharacterForm form = FormOfOutput(arguments.ascii);
  if (Terminal::IsThere()) --form.rows;  // for the prompt that follows
  for (const std::string& line : CharacterChart(chart, form)) WriteOut(line);
}

std::string CheckPicture(const std::string& path) {
  return PictureKindOf(path) ? "" : "a picture is a file whose name ends in .png, .svg or .pdf";
}

std::string CheckResults(const std::string& text) {
  unsigned long count = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  const bool is_number = error == std::errc() && end == text.data() + text.size();
  return is_number && count >= 1 && count <= kMostResults
             ? ""
             : fmt::format("a whole number from 1 to {} is needed", kMostResults);
}

}  // namespace

void DefinePlot(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("plot", "Draws traces, and the history of scalars, on the terminal or into a file");
  verb->footer(
      "Without -o the picture is made of characters, as large as the terminal (COLUMNS and LINES where there is "
      "none).\n"
      "A .png, .svg or .pdf file is drawn by gnuplot. Readings of different units have panels of their own. The error\n"
      "band of a scalar is shaded. With -n or --for the picture is drawn when the samples are there; with --live "
      "again\n"
      "with each.\n"
      "\n"
      "Examples:\n"
      "  mathctl plot PROBE/1/WAKEUP_DB math:0\n"
      "  mathctl plot math:4 --for 30 -o history.png\n"
      "  mathctl plot math:0 --live");
  const auto arguments = std::make_shared<PlotArguments>();
  verb->add_option("READING", arguments->readings, "Readings, or math objects as math:3")->required();
  auto* output = verb->add_option("-o,--output", arguments->output, "Draw into this .png, .svg or .pdf file")
                     ->type_name("FILE")
                     ->check(CheckPicture);
  verb->add_flag("--ascii", arguments->ascii, "No other characters than those of ASCII");
  verb->add_flag("--live", arguments->live, "Draw again with each result, until q or Ctrl-C")->excludes(output);
  verb->add_option("-n", arguments->results, "Collect so many results of each reading; with --live: end after so many")
      ->type_name("N")
      ->check(CheckResults);
  verb->add_option("--for", arguments->seconds, "Collect, or draw, for so many seconds")
      ->type_name("SEC")
      ->check(CheckSeconds);
  verb->callback([&command, arguments] {
    command.ends_on_signal = arguments->live || arguments->results > 0 || arguments->seconds > 0;
    command.run = [arguments](const Session& session) { Plot(session, *arguments); };
  });
}

}  // namespace Lumenar::Mathctl
