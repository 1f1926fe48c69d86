// SPDX-License-Identifier: Apache-2.0
// Instruments that speak SCPI over TCP: what each reading asks stands in device files.

#include "instruments/scpi/ScpiInstrument.h"

namespace Lumenar::Instruments {

const InstrumentKind& ThisInstrument() {
  static const InstrumentKind kind{"SCPI", "Lumenar::ScpiInit", "scpi.engine", "SCPI_",
                                   CreateInstrument<Scpi::ScpiInstrument>};
  return kind;
}

}  // namespace Lumenar::Instruments
