// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

#include "platform/base/Diagnostic.h"
#include "platform/base/output_error.h"
#include "tools/mathctl/PlottedReadings.h"
#include "tools/mathctl/plot.h"
#include "tools/mathctl/plot_terminal.h"

namespace Lumenar::Mathctl {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kShortestPause{50};  // between two pictures on a terminal
constexpr milliseconds kKeyPause{50};       // between two looks at the keyboard
constexpr int kMostAtOnce = 1000;           // samples taken before the next picture

// The terminal's second screen, without a cursor.
class LiveScreen {
 public:
  LiveScreen() { Say("\x1b[?1049h\x1b[?25l"); }
  ~LiveScreen() { Say("\x1b[?25h\x1b[?1049l"); }
  LiveScreen(const LiveScreen&) = delete;
  LiveScreen& operator=(const LiveScreen&) = delete;

  void Draw(const std::vector<std::string>& lines) const {
    std::string text = "\x1b[H";
    for (const std::string& line : lines) text += line + "\x1b[K\n";
    Say(text + "\x1b[J");
  }

 private:
  // Ends on the terminal with a newline, as every line that leaves: there is room for it below the picture.
  static void Say(const std::string& text) {
    try {
      WriteOut(text);
    } catch (...) {  // a terminal that is gone
    }
  }
};

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
    {
      const Keyboard keyboard;
      std::optional<LiveScreen> screen;
      if (OutputIsTerminal()) screen.emplace();
      Follow(keyboard, screen ? &*screen : nullptr);
    }
    if (OutputIsTerminal()) Write(Picture());  // what was seen last stays
  }

 private:
  void Follow(const Keyboard& keyboard, const LiveScreen* screen) {
    bool changed = screen != nullptr;
    while (!Finished(keyboard)) {
      changed = TakeWhatCame() || changed || SizeChanged();
      const bool late = screen == nullptr || steady_clock::now() >= drawn_ + kShortestPause;
      if (!changed || !late) continue;
      const std::vector<std::string> lines = Picture();
      screen != nullptr ? screen->Draw(lines) : Write(lines);
      drawn_ = steady_clock::now();
      changed = false;
    }
  }

  bool Finished(const Keyboard& keyboard) {
    const auto key = keyboard.Key();
    const bool ended = subscription_.Ended() || (end_ && steady_clock::now() >= *end_) || OutputError() != 0;
    const bool enough = arguments_.results > 0 && plotted_.All() >= arguments_.results;
    return ended || enough || (key && (*key == 'q' || *key == 'Q'));
  }

  bool TakeWhatCame() {
    auto delivery = subscription_.Next(kKeyPause);
    if (!delivery) {
      if (!subscription_.Ended()) LookAfterSilence();
      return false;
    }
    heard_ = steady_clock::now();
    for (int taken = 0; delivery && taken < kMostAtOnce; ++taken) {
      plotted_.Take(std::move(*delivery));
      const bool enough = arguments_.results > 0 && plotted_.All() >= arguments_.results;
      delivery = enough ? std::nullopt : subscription_.Next(milliseconds(0));
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

  bool SizeChanged() {
    const CharacterForm form = FormOfOutput(arguments_.ascii);
    const bool changed = form.columns != form_.columns || form.rows != form_.rows;
    form_ = form;
    return changed && OutputIsTerminal();
  }

  std::vector<std::string> Picture() {
    CharacterForm form = form_ = FormOfOutput(arguments_.ascii);
    constexpr int kRowsBelow = 2;  // the line below, and the cursor's
    form.rows -= kRowsBelow;
    std::vector<std::string> lines = CharacterChart(ChartOf(plotted_.Curves()), form);
    if (OutputIsTerminal()) lines.resize(std::min(lines.size(), static_cast<std::size_t>(std::max(form.rows, 1))));
    const std::string lost = subscription_.Lost() > 0 ? fmt::format(", {} lost here", subscription_.Lost()) : "";
    lines.push_back(fmt::format("{} results{}{}", plotted_.All(), lost, OutputIsTerminal() ? "; q ends" : ""));
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
  CharacterForm form_;
};

}  // namespace

void PlotLive(const Session& session, const PlotArguments& arguments) { LivePlot(session, arguments).Run(); }

}  // namespace Lumenar::Mathctl
