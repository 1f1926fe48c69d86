// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

#include "platform/base/Diagnostic.h"
#include "platform/base/output_error.h"
#include "tools/mathctl/PlottedReadings.h"
#include "tools/mathctl/Terminal.h"
#include "tools/mathctl/Wakeup.h"
#include "tools/mathctl/plot.h"
#include "tools/mathctl/plot_terminal.h"

namespace Lumenar::Mathctl {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kShortestPause{50};  // between two pictures on a terminal
constexpr milliseconds kKeyPause{50};       // between two looks at the keys
constexpr int kMostAtOnce = 1000;           // samples taken before the next picture

class LivePlot {
 public:
  LivePlot(const Session& session, const PlotArguments& arguments)
      : session_(session),
        arguments_(arguments),
        plotted_(session, arguments.readings),
        subscription_(session.connection),
        end_(arguments.End()) {}

  void Run() {
    plotted_.SubscribeTo(subscription_);
    plotted_.ReadTraces();
    if (!Terminal::IsThere()) return Follow(nullptr);
    {
      Terminal terminal;
      Follow(&terminal);
    }
    Write(Picture());  // what was seen last stays
  }

 private:
  void Follow(Terminal* terminal) {
    bool changed = terminal != nullptr;
    while (!Finished(terminal)) {
      changed = TakeWhatCame() || changed || SizeChanged(terminal);
      const bool late = terminal == nullptr || steady_clock::now() >= drawn_ + kShortestPause;
      if (!changed || !late) continue;
      const std::vector<std::string> lines = Picture();
      terminal != nullptr ? terminal->Draw(lines) : Write(lines);
      drawn_ = steady_clock::now();
      changed = false;
    }
  }

  bool Finished(Terminal* terminal) {
    const auto key = terminal != nullptr ? terminal->NextKey(never_, milliseconds(0)) : std::nullopt;
    const bool ended = subscription_.Ended() || (end_ && steady_clock::now() >= *end_) || OutputError() != 0;
    return ended || HasEnough() || key == Terminal::Key::Quit;
  }

  bool HasEnough() const { return arguments_.results > 0 && plotted_.All() >= arguments_.results; }

  bool TakeWhatCame() {
    auto delivery = subscription_.Next(kKeyPause);
    if (!delivery) {
      if (!subscription_.Ended()) LookAfterSilence();
      return false;
    }
    heard_ = steady_clock::now();
    for (int taken = 0; delivery && taken < kMostAtOnce; ++taken) {
      plotted_.Take(std::move(*delivery));
      delivery = HasEnough() ? std::nullopt : subscription_.Next(milliseconds(0));
    }
    if (delivery) plotted_.Take(std::move(*delivery));
    return true;
  }

  void LookAfterSilence() {
    if (steady_clock::now() < heard_ + session_.connection.Timeout()) return;
    heard_ = steady_clock::now();
    try {
      plotted_.RequireAll();
    } catch (const Client::Error&) {
      if (!subscription_.Ended()) throw;
    }
  }

  bool SizeChanged(const Terminal* terminal) const {
    const CharacterForm form = FormOfOutput(arguments_.ascii);
    return terminal != nullptr && (form.columns != form_.columns || form.rows != form_.rows);
  }

  std::vector<std::string> Picture() {
    constexpr int kRowsBelow = 2;  // the line below, and the cursor's
    CharacterForm form = form_ = FormOfOutput(arguments_.ascii);
    form.rows -= kRowsBelow;
    std::vector<std::string> lines = CharacterChart(ChartOf(plotted_.Curves()), form);
    if (Terminal::IsThere()) lines.resize(std::min(lines.size(), static_cast<std::size_t>(std::max(form.rows, 1))));
    const std::string lost = subscription_.Lost() > 0 ? fmt::format(", {} lost here", subscription_.Lost()) : "";
    lines.push_back(fmt::format("{} results{}{}", plotted_.All(), lost, Terminal::IsThere() ? "; q ends" : ""));
    return lines;
  }

  static void Write(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) WriteOut(line);
  }

  const Session& session_;
  const PlotArguments& arguments_;
  PlottedReadings plotted_;
  Client::Subscription subscription_;
  const std::optional<steady_clock::time_point> end_;
  steady_clock::time_point drawn_{};
  steady_clock::time_point heard_ = steady_clock::now();
  CharacterForm form_;  // of the last picture
  Wakeup never_;        // keys are not waited for
};

}  // namespace

void PlotLive(const Session& session, const PlotArguments& arguments) { LivePlot(session, arguments).Run(); }

}  // namespace Lumenar::Mathctl
