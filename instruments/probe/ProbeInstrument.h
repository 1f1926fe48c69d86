// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>

#include "instruments/common/Instrument.h"
#include "instruments/common/TraceReading.h"
#include "instruments/probe/ScalarReadings.h"
#include "instruments/probe/WakeupTimer.h"
#include "platform/components/attributes/EngineAttribLong_i.h"

namespace Lumenar::Probe {

/// Live measurements of the machine itself:
///   WAKEUP       trace: how late a 1 kHz timer woke up, for its last 1,001 periods, in us; oldest first, x_step 1 ms
///
///   WAKEUP_DB    the same as levels in dB of 1 us; 0 and less count as 1 ns, which is -30 dB
///
///   LATENESS     trace: how these latenesses spread, in percent of the wake-ups; a point for each us from 0 to 1,000,
///                the last with all that came later. Its points mean the same in each sample: an Average is the usual
///                spread, a Peak the worst
///
///   START, STOP  long attributes, 0 to 1000: a range of points of the traces, for a math object that takes one
///
///   CPU_LOAD, MEMORY_FREE, TEMPERATURE  as ScalarReadings
class ProbeInstrument : public Instruments::Instrument {
 public:
  /// Reads PROBE_RATE, publications of the traces a second, 20 by default.
  /// Errors   std::invalid_argument.
  explicit ProbeInstrument(const Instruments::Settings& settings);

  void Offer(const Instruments::Place& place) override;

 private:
  using Attribute = Corvanta::EngineAttribLong_i;

  void PublishTraces();
  void WatchScalars();

  const double rate_Hz_;
  WakeupHistory history_{kTimerPeriod_ns};
  std::optional<Instruments::TraceReading> wakeup_;
  std::optional<Instruments::TraceReading> wakeup_dB_;
  std::optional<Instruments::TraceReading> lateness_;
  std::unique_ptr<Attribute> start_;
  std::unique_ptr<Attribute> stop_;
  std::optional<ScalarReadings> scalars_;
  unsigned scalar_samples_ = 0;  // WatchScalars' own
  WakeupTimer timer_{history_};
};

}  // namespace Lumenar::Probe
