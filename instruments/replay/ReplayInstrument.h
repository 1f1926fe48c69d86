// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "instruments/common/Instrument.h"
#include "instruments/replay/ReadOptions.h"

namespace Lumenar::Replay {

/// How recordings are played.
struct ReplayOptions {
  std::vector<std::string> files;
  /// Sweeps a second; 0: one each time that a client says so; below 0: as recorded, else kDefaultRate_Hz.
  double rate_Hz = -1;
  bool loop = true;  ///< start again after the last sweep
  ReadOptions read;  ///< of files of samples
};

inline constexpr double kDefaultRate_Hz = 10;

/// Reads REPLAY_FILES (paths with ':' between), REPLAY_RATE (sweeps a second), REPLAY_LOOP ("once" or "loop"),
/// REPLAY_UNITS and REPLAY_POINTS (of files of samples).
/// Errors   std::invalid_argument.
ReplayOptions ParseReplayOptions(const Instruments::Settings& settings);

/// Recorded sweeps as readings: a trace for each recording, named after its file. Sweep 0 is there from the start; a
/// sweep's capture time is that of its publication.
class ReplayInstrument : public Instruments::Instrument {
 public:
  /// Reads all files.
  /// Errors   as LoadRecording, at the first file that cannot be read.
  explicit ReplayInstrument(const ReplayOptions& options);
  ~ReplayInstrument() override;

  void Offer(const Instruments::Place& place) override;

 private:
  class Playback;
  std::vector<std::unique_ptr<Playback>> playbacks_;
};

}  // namespace Lumenar::Replay
