// SPDX-License-Identifier: Apache-2.0
// The simulator: readings whose every sample is known beforehand.

#include "instruments/sim/SimInstrument.h"

namespace Lumenar::Instruments {

const InstrumentKind& ThisInstrument() {
  static const InstrumentKind kind{"SIM", "Lumenar::SimInit", "sim.engine", "SIM_",
                                   [](const Settings& settings) -> std::unique_ptr<Instrument> {
                                     return std::make_unique<Sim::SimInstrument>(Sim::ReadSimConfig(settings));
                                   }};
  return kind;
}

}  // namespace Lumenar::Instruments
