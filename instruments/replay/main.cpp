// SPDX-License-Identifier: Apache-2.0
// The replay instrument: recorded sweeps, from files.

#include "instruments/replay/ReplayInstrument.h"

namespace Lumenar::Instruments {

const InstrumentKind& ThisInstrument() {
  static const InstrumentKind kind{
      "REPLAY", "Lumenar::ReplayInit", "replay.engine", "REPLAY_",
      [](const Settings& settings) -> std::unique_ptr<Instrument> {
        return std::make_unique<Replay::ReplayInstrument>(Replay::ParseReplayOptions(settings));
      }};
  return kind;
}

}  // namespace Lumenar::Instruments
