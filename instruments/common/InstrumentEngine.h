// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "instruments/common/Instrument.h"
#include "platform/components/GUI_Able_i.h"
#include "platform/orb/EngineOrb.h"

namespace Lumenar::Instruments {

/// An instrument as an engine: brings it up with its ORB, runs it, takes it down.
class InstrumentEngine {
 public:
  /// Settings, ORB wrapper, registration object, readings, announcement, in this order; so a setting that is wrong
  /// leaves no name behind. The engine's own object, at Lumenar/local/NAME/INSTANCE, is its registration object.
  /// Errors   those of these steps; a hardware-enumeration service that is not there is none.
  explicit InstrumentEngine(const InstrumentKind& kind);

  /// Samples end first, then the ORB with all requests, then the readings go.
  ~InstrumentEngine();

  InstrumentEngine(const InstrumentEngine&) = delete;
  InstrumentEngine& operator=(const InstrumentEngine&) = delete;

  /// Produces samples and serves requests, on the caller's thread, until the ORB is shut down.
  /// Errors   Term_Exception and Quit_Exception when a signal was the reason.
  void Join();

 private:
  InstrumentEngine(const InstrumentKind& kind, std::unique_ptr<Instrument> instrument);
  void InstallRegistration();
  void Announce() noexcept;

  const InstrumentKind& kind_;
  Corvanta::EngineOrb orb_;
  GUI_Able_i gui_able_;
  Corvanta::ItemNamer namer_;
  std::unique_ptr<Instrument> instrument_;
};

}  // namespace Lumenar::Instruments
