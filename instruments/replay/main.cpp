// SPDX-License-Identifier: Apache-2.0
// The replay instrument: recorded sweeps from files, or a recording of this system under the names of its engines.

#include <cstdlib>
#include <string>

#include "instruments/replay/PlayedRecording.h"
#include "instruments/replay/ReplayInstrument.h"

namespace Lumenar::Instruments {

namespace {

/// Under which name the engine is registered: that of REPLAY_ENGINE, for recordings of other engines.
const std::string& EngineName() {
  static const char* told = std::getenv("REPLAY_ENGINE");
  static const std::string name = told != nullptr && *told != '\0' ? told : "REPLAY";
  return name;
}

}  // namespace

const InstrumentKind& ThisInstrument() {
  static const InstrumentKind kind{
      EngineName().c_str(), "Lumenar::ReplayInit", "replay.engine", "REPLAY_",
      [](const Settings& settings) -> std::unique_ptr<Instrument> {
        if (!TextSetting(settings, "REPLAY_RECORDING").empty())
          return std::make_unique<Replay::PlayedRecording>(Replay::ParsePlayOptions(settings));
        return std::make_unique<Replay::ReplayInstrument>(Replay::ParseReplayOptions(settings));
      }};
  return kind;
}

}  // namespace Lumenar::Instruments
