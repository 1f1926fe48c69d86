// SPDX-License-Identifier: Apache-2.0
// The probe: live measurements of the machine itself.

#include "instruments/probe/ProbeInstrument.h"

namespace Lumenar::Instruments {

const InstrumentKind& ThisInstrument() {
  static const InstrumentKind kind{"PROBE", "Lumenar::ProbeInit", "probe.engine", "PROBE_",
                                   CreateInstrument<Probe::ProbeInstrument>};
  return kind;
}

}  // namespace Lumenar::Instruments
