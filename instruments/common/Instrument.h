// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "instruments/common/Settings.h"
#include "platform/components/GUI_AbleRegistration.h"
#include "platform/components/ItemNamer.h"

namespace Lumenar::Instruments {

/// Where an instrument's readings get their names and are listed.
struct Place {
  Corvanta::ItemNamer& namer;
  GUI_AbleRegistration& registration;
};

/// A source of readings. Its life: constructed from its settings, Offer, Start, Stop; destroyed when the ORB is gone,
/// so that no request meets its destruction.
class Instrument {
 public:
  virtual ~Instrument() = default;

  /// Creates the readings and attributes, with what they hold before the first sample. Requests do not come before this
  /// returns.
  virtual void Offer(const Place& place) = 0;

  /// Begins to produce samples, on threads of its own.
  virtual void Start() = 0;

  /// Ends that, and waits for the threads. May come before Start, which then does nothing.
  virtual void Stop() noexcept = 0;
};

/// What the parts that instruments have in common need to know of one kind of instrument.
struct InstrumentKind {
  const char* name;    ///< under which it is known in Lumenar/local, as "PROBE"
  const char* title;   ///< as it stands in lines of output, as "Lumenar::ProbeInit"
  const char* file;    ///< under which it announces itself, as "probe.engine"
  const char* prefix;  ///< of its settings, as "PROBE_"
  /// Errors   std::exception for settings that cannot be used; nothing is running yet.
  std::unique_ptr<Instrument> (*create)(const Settings& settings);
};

/// The kind of the engine library that this is linked into; each instrument's main.cpp defines it.
const InstrumentKind& ThisInstrument();

}  // namespace Lumenar::Instruments
