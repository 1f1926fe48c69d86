// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>

#include "client/MathState.h"
#include "platform/base/Diagnostic.h"
#include "platform/base/output_error.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/Terminal.h"
#include "tools/mathctl/Wakeup.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/top_frame.h"

namespace Lumenar::Mathctl {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

struct TopArguments {
  ObjectSelection selection;
  unsigned long rounds = 0;  // 0: no limit
  double delay_s = 1;
  bool trouble_first = false;
};

class Top {
 public:
  Top(const Session& session, const TopArguments& arguments)
      : session_(session), arguments_(arguments), reports_(session, arguments.selection), uses_(session.connection) {
    Corvanta::ORB_base& orb = session.connection.Orb();
    orb.Activate();
    token_ = orb.AddShutdownListener([this] { End(); });
  }

  ~Top() { session_.connection.Orb().RemoveShutdownListener(token_); }

  void Run() {
    if (!LookFirst()) return;
    if (session_.options.format == Format::Table && Terminal::IsThere()) {
      terminal_ = std::make_unique<Terminal>();
      taken_ = terminal_.get();
      if (Ended()) terminal_->Leave();
    }
    RowWriter rows(session_.options, {});
    for (unsigned long round = 1; !Ended(); ++round) {
      Show(rows);
      if (round == arguments_.rounds || !WaitForNext()) break;
      LookAgain();
    }
    if (terminal_) terminal_->Leave();
  }

 private:
  // On the thread of the signal: whatever hangs here, the terminal is as it was.
  void End() {
    wakeup_.Call();
    if (Terminal* terminal = taken_) terminal->Leave();
  }

  bool Ended() const { return wakeup_.WasCalled() || OutputError() != 0; }

  void Look() {
    look_.time = std::chrono::system_clock::now();
    look_.problem.clear();
    look_.engines = uses_.Look();
    look_.objects = &reports_.Ask();
    if (reports_.Silent()) look_.problem = reports_.Silent()->what();
    LookAtQueues();
    SortObjects();
  }

  // What is wrong with the command line is said before the terminal is taken. False when it was told to end meanwhile.
  bool LookFirst() {
    try {
      Look();
      reports_.RequireAll();
      return true;
    } catch (const Client::Error&) {
      if (!Ended()) throw;
      return false;
    }
  }

  // On a terminal who is away may come back; in a pipe nobody would see that it is missing.
  void LookAgain() {
    try {
      Look();
    } catch (const Client::Error& error) {
      if (Ended()) return;
      if (!terminal_) throw;
      look_.problem = error.what();
    }
  }

  void LookAtQueues() {
    look_.queues.reset();
    try {
      const auto manager = session_.connection.TopicManager();
      const auto all = Client::Remote("topic manager",
                                      [&] { return Corvanta::SubscriptionStatusSeq_var(manager->Subscriptions()); });
      auto& queues = look_.queues.emplace();
      queues.reserve(all->length());
      for (CORBA::ULong i = 0; i < all->length(); ++i) {
        queues[all.in()[i].handle] = {all.in()[i].queued, all.in()[i].dropped};
      }
    } catch (const Client::Error& error) {
      look_.problem = error.what();
    }
  }

  void SortObjects() {
    order_.clear();
    for (const ReportedObject& object : *look_.objects) order_.push_back(&object);
    if (!arguments_.trouble_first) return;
    std::stable_partition(order_.begin(), order_.end(), [](const ReportedObject* object) {
      return Client::StateOf(object->report) != Client::MathState::Live;
    });
  }

  void Show(RowWriter& rows) {
    if (terminal_) return Draw();
    if (session_.options.format == Format::Table) return WriteBlock();
    if (session_.options.Json()) {
      for (const EngineUse& use : look_.engines) rows.Add(TopEngineJson(use, look_), {});
    }
    for (const ReportedObject* object : order_) rows.Add(TopObjectJson(session_, *object, reports_.Names(), look_), {});
  }

  void WriteBlock() {
    for (const std::string& line : TopHeading(look_)) WriteOut(line);
    WriteOut("");
    std::vector<Row> rows;
    for (const ReportedObject* object : order_) rows.push_back(TopCells(session_, *object, reports_.Names(), look_));
    WriteTable(TopHeader(), std::move(rows));
    WriteOut("");
  }

  // The objects that there is room for, and no work for those that there is none for.
  void Draw() {
    const Terminal::Size size = terminal_->GetSize();
    std::vector<std::string> lines = TopHeading(look_);
    lines.push_back("");
    const std::size_t taken = lines.size() + 2;  // the header, and the row that is left free
    page_ = size.rows > taken ? size.rows - taken : 1;
    first_ = std::min(first_, order_.size() > page_ ? order_.size() - page_ : 0);
    std::vector<Row> rows{TopHeader()};
    for (std::size_t i = first_; i < std::min(order_.size(), first_ + page_); ++i) {
      rows.push_back(TopCells(session_, *order_[i], reports_.Names(), look_));
    }
    const std::size_t header = lines.size();
    for (std::string& line : AlignedLines(rows)) lines.push_back(std::move(line));
    for (std::string& line : lines) line = CutTo(line, size.columns);
    if (Terminal::WantsColor()) Color(lines, header);
    terminal_->Draw(lines);
  }

  void Color(std::vector<std::string>& lines, std::size_t header) const {
    lines[header] = "\x1b[7m" + lines[header] + "\x1b[0m";
    for (std::size_t i = header + 1; i < lines.size(); ++i) {
      const Client::MathReport& report = order_[first_ + i - header - 1]->report;
      if (Client::StateOf(report) == Client::MathState::Live) continue;
      lines[i] = "\x1b[33m" + lines[i] + "\x1b[0m";
    }
  }

  // False when it is to end. Keys are obeyed at once, without asking anybody anew.
  bool WaitForNext() {
    const auto next = steady_clock::now() + milliseconds(static_cast<long long>(arguments_.delay_s * 1000));
    for (;;) {
      const auto left = std::chrono::ceil<milliseconds>(next - steady_clock::now());
      if (left.count() <= 0) return !Ended();
      if (!terminal_) {
        wakeup_.WaitFor(-1, left);
        if (Ended()) return false;
        continue;
      }
      const auto key = terminal_->NextKey(wakeup_, left);
      if (Ended() || key == Terminal::Key::Quit) return false;
      if (key && Scroll(*key)) Draw();
    }
  }

  bool Scroll(Terminal::Key key) {
    const auto back = [this](std::size_t rows) { first_ -= std::min(first_, rows); };
    switch (key) {
      case Terminal::Key::Up: back(1); break;
      case Terminal::Key::Down: first_ += 1; break;
      case Terminal::Key::PageUp: back(page_); break;
      case Terminal::Key::PageDown: first_ += page_; break;
      case Terminal::Key::First: first_ = 0; break;
      case Terminal::Key::Last: first_ = order_.size(); break;
      default: return false;
    }
    return true;
  }

  const Session& session_;
  const TopArguments& arguments_;
  ObjectReports reports_;
  EngineUses uses_;
  Wakeup wakeup_;
  long token_ = 0;
  std::unique_ptr<Terminal> terminal_;
  std::atomic<Terminal*> taken_{nullptr};  // the same, for the thread of a signal
  TopLook look_;
  std::vector<const ReportedObject*> order_;  // as they are shown
  std::size_t first_ = 0;                     // of them on the screen
  std::size_t page_ = 1;
};

constexpr const char* kTopFooter =
    "Above stand the engines with the processor time that each takes, in percent of one processor, and its memory. "
    "QUEUED\n"
    "and DROPPED are of the object's subscriptions: samples that wait at the topic manager, and those that it lost.\n"
    "\n"
    "Keys: q ends, as Ctrl-C does; up, down, page up, page down, g and G move. Where standard output is no terminal, "
    "each\n"
    "round is a block of lines; with --json, a line for each engine and each object. NO_COLOR=1 leaves colours out.\n"
    "\n"
    "Examples:\n"
    "  mathctl top\n"
    "  mathctl top --trouble Average        # the Averages, those that are not live first\n"
    "  mathctl top -n 3 --delay 10 --json";

}  // namespace

void DefineTop(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("top", "The same as list, live, with queues, losses and processor time");
  const auto arguments = std::make_shared<TopArguments>();
  verb->add_option("OBJECT", arguments->selection.filters,
                   "These alone: math:3, or a pattern with * and ? of an object, a type or an input");
  verb->add_flag("--all", arguments->selection.all_engines, "Of all math engines");
  verb->add_option("-n", arguments->rounds, "End after so many rounds")->check(CheckCount);
  verb->add_option("-d,--delay", arguments->delay_s, "Seconds from round to round")
      ->check(CheckSeconds)
      ->capture_default_str();
  verb->add_flag("--trouble", arguments->trouble_first, "Objects that are not live come first");
  verb->footer(kTopFooter);
  verb->callback([&command, arguments] {
    command.ends_on_signal = true;
    command.run = [arguments](const Session& session) { Top(session, *arguments).Run(); };
  });
}

}  // namespace Lumenar::Mathctl
