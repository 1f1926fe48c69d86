// SPDX-License-Identifier: Apache-2.0
// The simulator: readings whose every sample is known beforehand.

#include "instruments/sim/SimInstrument.h"

namespace Lumenar::Instruments {

const InstrumentKind& ThisInstrument() {
  static const InstrumentKind kind{"SIM", "Lumenar::SimInit", "sim.engine", "SIM_",
                                   CreateInstrument<Sim::SimInstrument>};
  return kind;
}

}  // namespace Lumenar::Instruments
