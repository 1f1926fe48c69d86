// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/mathctl/EngineHost.h"
#include "tools/mathctl/recording_survey.h"

namespace Lumenar::Mathctl {

/// How a recording is offered.
struct PlayingOptions {
  std::string file;
  double speed = 1;  ///< 0: without pauses
  bool loop = false;
  bool level_units = false;          ///< plain dB as dB of a unit
  std::vector<std::string> renames;  ///< "OLD=NEW", of engines or readings
};

/// One reading as it is offered.
struct OfferedReading {
  std::uint32_t index = 0;  ///< in the recording
  std::string recorded;     ///< its name there
  std::string name;         ///< that it has now
};

/// The engines of a recording, each in a process of its own under the name that it had, or has by a rename: those that
/// are free of them.
/// Errors   Client::Error; Signal_Exception.
class PlayedEngines {
 public:
  /// Starts the engines. `chosen`: indexes of the readings to offer; empty: all that have samples.
  PlayedEngines(const PlayingOptions& options, const RecordingSurvey& survey, const std::vector<std::uint32_t>& chosen,
                std::chrono::milliseconds limit);
  ~PlayedEngines();
  PlayedEngines(const PlayedEngines&) = delete;
  PlayedEngines& operator=(const PlayedEngines&) = delete;

  /// In the order of the recording.
  const std::vector<OfferedReading>& Offered() const { return offered_; }

  /// Lets the samples go, of all engines at once.
  void Go();

  /// Whether all samples were played within `limit`.
  bool WaitForEnd(std::chrono::milliseconds limit);

  /// When they were played: why not all of the file could be; empty where it could.
  std::string Failure() const;

  /// Lets the readings stay until a signal comes.
  /// Errors   Signal_Exception always; Client::Error when an engine has ended.
  [[noreturn]] void WaitForSignal();

 private:
  /// Name without instance, and instance: engines of one name are started in the order of their instances.
  using EngineKey = std::pair<std::string, unsigned long>;
  using Items = std::map<std::uint32_t, std::string>;

  void Plan(const RecordingSurvey& survey, const std::vector<std::uint32_t>& chosen);
  void Place(const Recording::ReadingInfo& reading);
  void Start(const EngineKey& key, const Items& items, std::chrono::milliseconds limit);
  void TakeOffers(const EngineHost& host, const RecordingSurvey& survey);

  const PlayingOptions& options_;
  std::vector<std::pair<std::string, std::string>> renames_;
  std::map<EngineKey, Items> plan_;
  std::vector<OfferedReading> offered_;
  std::vector<std::unique_ptr<EngineHost>> hosts_;
};

}  // namespace Lumenar::Mathctl
