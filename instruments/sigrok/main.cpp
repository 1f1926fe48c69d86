// SPDX-License-Identifier: Apache-2.0
// Devices that libsigrok has drivers for: multimeters, oscilloscopes, supplies at USB, HID and serial ports. Of this
// system's programs and libraries only this one, and the program sigrok_scan beside it, load libsigrok, whose licence
// is the GNU General Public License, version 3 or later.

#include "instruments/sigrok/SigrokInstrument.h"

namespace Lumenar::Instruments {

const InstrumentKind& ThisInstrument() {
  static const InstrumentKind kind{"SIGROK", "Lumenar::SigrokInit", "sigrok_devices.engine", "SIGROK_",
                                   Sigrok::CreateSigrok};
  return kind;
}

}  // namespace Lumenar::Instruments
