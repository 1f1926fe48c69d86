// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "instruments/common/Instrument.h"
#include "platform/base/PeriodicTask.h"
#include "recording/EntryReader.h"

namespace Lumenar::Replay {

/// How a recording is played.
struct PlayOptions {
  std::string path;
  std::map<std::uint32_t, std::string> items;  ///< the readings to play, by index, and their item names; empty: all
  double speed = 1;                            ///< as many times as fast as recorded; 0: without pauses
  bool loop = false;                           ///< start again behind the last sample
  bool level_units = false;                    ///< plain dB as dB of a unit, see LevelUnits
  int go_descriptor = -1;  ///< readable when the first sample is due; -1: at once. So several processes begin together
};

/// The readings of a recording, published as they were recorded: every record bit for bit, at the distances of their
/// arrival. A reading holds its first sample from the start where that stands near the beginning of the file; what was
/// present when the recording began is not published.
class PlayedRecording : public Instruments::Instrument {
 public:
  /// Reads the beginning of the file.
  /// Errors   std::runtime_error, "PATH:LINE: reason"; std::invalid_argument for a reading that is not there.
  explicit PlayedRecording(const PlayOptions& options);
  ~PlayedRecording() override;

  void Offer(const Instruments::Place& place) override;

 private:
  using Clock = PeriodicTask::Clock;
  class Played;
  struct First;

  void Survey();
  void Note(const Lumenar::Recording::Entry& entry);
  bool HasAllFirsts() const;
  void ChooseItems();
  bool HasBegun();
  std::optional<Clock::time_point> Step();
  std::optional<Clock::time_point> StepOnce();
  bool FetchNext();
  void NoteTime(const Lumenar::Recording::Sample& sample);
  Clock::time_point DueOf(const Lumenar::Recording::Sample& sample) const;
  bool BeginAgain();

  const PlayOptions options_;
  std::vector<First> firsts_;  // of every reading of the file
  std::map<std::uint32_t, std::string> items_;
  std::optional<std::int64_t> begin_ns_;  // of the first sample that was published
  std::map<std::uint32_t, std::unique_ptr<Played>> readings_;
  // The rest belongs to the task.
  std::unique_ptr<Lumenar::Recording::EntryReader> reader_;
  std::optional<Lumenar::Recording::Sample> next_;
  std::optional<Clock::time_point> origin_;  // when the first sample is due
  std::int64_t end_ns_ = 0;                  // of the last sample that was published, of all readings
  std::uint64_t samples_ = 0;                // the same, how many
  bool was_played_ = false;                  // once to its end: these are known
  std::uint64_t published_ = 0;
  PeriodicTask task_{[this] { return Step(); }};
};

/// Reads the settings REPLAY_RECORDING (a path), REPLAY_READINGS ("0=WAKEUP;2=LEVEL"), REPLAY_SPEED, REPLAY_LOOP,
/// REPLAY_LEVELS ("unit") and REPLAY_GO (a descriptor).
/// Errors   std::invalid_argument.
PlayOptions ParsePlayOptions(const Instruments::Settings& settings);

}  // namespace Lumenar::Replay
