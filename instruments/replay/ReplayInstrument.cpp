// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/ReplayInstrument.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <utility>

#include "instruments/common/SampleDriver.h"
#include "instruments/common/TraceReading.h"
#include "instruments/replay/ReadingName.h"
#include "instruments/replay/load_recording.h"

namespace Lumenar::Replay {

using Instruments::NumberSetting;
using Instruments::Place;
using Instruments::SampleDriver;
using Instruments::TextSetting;
using Instruments::TraceReading;

namespace {

constexpr double kMaxRate_Hz = 10000;

std::vector<std::string> SplitPaths(const std::string& text) {
  std::vector<std::string> paths;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(':', begin), text.size());
    if (end > begin) paths.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return paths;
}

bool ParseLoop(const std::string& text) {
  if (text.empty() || text == "loop") return true;
  if (text == "once") return false;
  throw std::invalid_argument("REPLAY_LOOP=" + text + ": expected once or loop");
}

std::size_t ParsePoints(const Instruments::Settings& settings) {
  const double points = NumberSetting(settings, "REPLAY_POINTS", 0, 1, static_cast<double>(kMaxPoints));
  if (points != std::floor(points)) throw std::invalid_argument("REPLAY_POINTS: expected a whole number");
  return static_cast<std::size_t>(points);
}

double RateOf(const RecordedFile& file, double wanted_Hz) {
  return wanted_Hz >= 0 ? wanted_Hz : std::min(file.sweeps_per_s.value_or(kDefaultRate_Hz), kMaxRate_Hz);
}

}  // namespace

/// The readings of one file, all at the same sweep.
class ReplayInstrument::Playback {
 public:
  Playback(const std::string& path, const ReplayOptions& options)
      : name_(ReadingName(path)),
        file_(LoadRecording(path, options.read)),
        rate_Hz_(RateOf(file_, options.rate_Hz)),
        loop_(options.loop) {}

  /// The driver decides when the next sweep is published.
  SampleDriver& Offer(const Place& place) {
    for (const Recording& recording : file_.recordings) {
      readings_.push_back(std::make_unique<TraceReading>(
          place, name_ + recording.suffix, Instruments::TraceForm{recording.units, recording.x_step, recording.x_unit},
          recording.sweeps.front()));
    }
    return driver_.emplace(place, name_, rate_Hz_, [this] { return PublishNext(); });
  }

 private:
  bool PublishNext() {
    for (std::size_t i = 0; i < readings_.size(); ++i) readings_[i]->Publish(file_.recordings[i].sweeps[next_]);
    const std::size_t sweeps = file_.recordings.front().sweeps.size();
    next_ = (next_ + 1) % sweeps;
    return loop_ || next_ != 0;
  }

  const std::string name_;
  const RecordedFile file_;
  const double rate_Hz_;
  const bool loop_;
  std::vector<std::unique_ptr<TraceReading>> readings_;
  std::size_t next_ = 0;                // the driver's calls alone
  std::optional<SampleDriver> driver_;  // goes first
};

ReplayOptions ParseReplayOptions(const Instruments::Settings& settings) {
  ReplayOptions options;
  options.files = SplitPaths(TextSetting(settings, "REPLAY_FILES"));
  if (options.files.empty()) throw std::invalid_argument("REPLAY_FILES names no file: expected paths with ':' between");
  options.rate_Hz = NumberSetting(settings, "REPLAY_RATE", -1, 0, kMaxRate_Hz);
  options.loop = ParseLoop(TextSetting(settings, "REPLAY_LOOP"));
  options.read = {TextSetting(settings, kUnitsSetting), ParsePoints(settings)};
  return options;
}

ReplayInstrument::ReplayInstrument(const ReplayOptions& options) {
  for (const std::string& path : options.files) playbacks_.push_back(std::make_unique<Playback>(path, options));
}

ReplayInstrument::~ReplayInstrument() = default;

void ReplayInstrument::Offer(const Place& place) {
  for (const auto& playback : playbacks_) RunPart(playback->Offer(place));
}

}  // namespace Lumenar::Replay
