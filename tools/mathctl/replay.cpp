// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <memory>

#include "client/Error.h"
#include "client/Text.h"
#include "platform/base/Diagnostic.h"
#include "platform/signals/Signals.h"
#include "tools/mathctl/PlayedEngines.h"
#include "tools/mathctl/Progress.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/recording_survey.h"

namespace Lumenar::Mathctl {
namespace {

constexpr std::chrono::milliseconds kShowPlaying{250};
constexpr std::chrono::milliseconds kLookOn{50};  // of each such time

struct ReplayArguments {
  PlayingOptions options;
  bool stay = false;
};

// How many samples there are is known of a file that was read to its end.
void WriteOffers(const Session& session, const PlayedEngines& engines, const RecordingSurvey& survey) {
  RowWriter rows(session.options, {"READING", "KIND", "SAMPLES", "RECORDED AS"});
  for (const OfferedReading& offered : engines.Offered()) {
    const std::string& kind = survey.readings[offered.index].kind;
    const std::uint64_t samples = survey.samples[offered.index];
    rows.Add({{"reading", offered.name},
              {"kind", kind},
              {"samples", survey.complete ? nlohmann::ordered_json(samples) : nlohmann::ordered_json()},
              {"recorded_as", offered.recorded}},
             {offered.name, kind, survey.complete ? std::to_string(samples) : "-", offered.recorded});
  }
  rows.Finish();
}

/// A file that is played while the rest of it is still being looked at.
class Playing {
 public:
  Playing(const Session& session, const ReplayArguments& arguments)
      : session_(session), arguments_(arguments), surveyor_(arguments.options.file) {}

  void Run() {
    const RecordingSurvey beginning = SurveyBeginning(surveyor_);
    readings_ = beginning.readings.size();
    if (beginning.complete) WarnOfRest(beginning, session_.options.quiet);
    const auto limit = std::max<std::chrono::milliseconds>(session_.connection.Timeout() * 2, std::chrono::seconds(10));
    PlayedEngines engines(arguments_.options, beginning, {}, limit);
    WriteOffers(session_, engines, beginning);
    engines.Go();
    WaitForEnd(engines);
    while (!surveyor_.Survey().complete && problem_.empty()) LookOn();
    if (!engines.Failure().empty()) problem_ = engines.Failure();
    if (!problem_.empty()) throw Client::Error(Client::ErrorKind::Refused, problem_);
    if (!arguments_.stay) return;
    progress_.Show("played; the readings stay until Ctrl-C");
    engines.WaitForSignal();
  }

 private:
  void WaitForEnd(PlayedEngines& engines) {
    const auto begin = std::chrono::steady_clock::now();
    while (!engines.WaitForEnd(kShowPlaying)) {
      LookOn();
      const std::chrono::duration<double> played = std::chrono::steady_clock::now() - begin;
      progress_.Show(fmt::format("{:.0f} s{}", played.count(), LengthText()));
    }
  }

  std::string LengthText() const {
    const PlayingOptions& options = arguments_.options;
    if (options.loop || options.speed <= 0 || !surveyor_.Survey().complete) return {};
    return fmt::format(" of {:.0f}", surveyor_.Survey().Seconds() / options.speed);
  }

  // What is damaged plays up to there.
  void LookOn() {
    if (surveyor_.Survey().complete || !problem_.empty()) return;
    Signals::ThrowIfPending();
    try {
      surveyor_.ReadFor(kLookOn);
    } catch (const Client::Error& error) {
      problem_ = error.what();
    }
    const RecordingSurvey& survey = surveyor_.Survey();
    if (!survey.complete) return;
    progress_.Clear();
    WarnOfRest(survey, session_.options.quiet);
    for (std::size_t late = readings_; late < survey.readings.size(); ++late)
      WriteError(fmt::format("mathctl: {} is introduced late in the file, and is not played",
                             Client::Printable(survey.readings[late].name)));
  }

  const Session& session_;
  const ReplayArguments& arguments_;
  RecordingSurveyor surveyor_;
  std::size_t readings_ = 0;  // that are known when the playing begins
  std::string problem_;
  Progress progress_{session_.options.quiet};
};

std::string CheckSpeed(const std::string& text) {
  double speed = 0;
  const bool is_number = CLI::detail::lexical_cast(text, speed);
  return is_number && speed >= 0 && speed <= 1e6 ? "" : "a number from 0 to 1000000 is needed";
}

constexpr const char* kReplayFooter =
    "FILE is what `mathctl record` wrote, or a file of another instrument: Touchstone (.s1p, .s2p), spectrum sweeps,\n"
    "two columns, OTDR levels or samples of sigrok-cli (.csv, and .sr with REPLAY_UNITS=V in the environment).\n"
    "A recorded reading has its name again, in an engine of its own process: while another PROBE/1 runs, the\n"
    "recorded one is PROBE/2. The result of math:3 becomes REPLAY/1/MATH_3. Each sample is the recorded one bit by\n"
    "bit, with the time of its capture. Levels in plain dB of other instruments' files are offered as dB(10^2 %),\n"
    "the same numbers with a unit, which RelativeSubtract needs.\n"
    "\n"
    "Examples:\n"
    "  mathctl replay night.jsonl.zst --speed 10\n"
    "  mathctl replay night.jsonl --rename PROBE/1=NIGHT --loop\n"
    "  mathctl replay filter.s2p --stay";

}  // namespace

void DefineReplay(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("replay", "Plays a recording as readings of the same names, units and times");
  verb->footer(kReplayFooter);
  const auto arguments = std::make_shared<ReplayArguments>();
  PlayingOptions& options = arguments->options;
  verb->add_option("FILE", options.file, "The recording")->required();
  verb->add_option("--speed", options.speed, "So many times as fast; 0: without pauses")
      ->check(CheckSpeed)
      ->type_name("N")
      ->capture_default_str();
  verb->add_flag("--loop", options.loop, "Begin again behind the last sample, until Ctrl-C");
  verb->add_flag("--stay", arguments->stay, "Leave the readings there behind the last sample, until Ctrl-C");
  verb->add_option("--rename", options.renames, "An engine or a reading under another name; may be repeated")
      ->type_name("OLD=NEW")
      ->allow_extra_args(false);
  verb->callback([&command, arguments] {
    command.ends_on_signal = true;
    command.run = [arguments](const Session& session) { Playing(session, *arguments).Run(); };
  });
}

}  // namespace Lumenar::Mathctl
