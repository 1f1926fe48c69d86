// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "instruments/common/Instrument.h"
#include "platform/components/readings/EngineBasicTrace_i.h"
#include "platform/units/Units.h"

namespace Lumenar::Instruments {

/// What all samples of a trace reading have in common.
struct TraceForm {
  Value::Units units;
  double x_step = 0;  ///< distance of two points, in the axis' unit without prefix; 0 where there is none
  Value::Units_list x_unit = Value::U_None;  ///< of the horizontal axis, without prefix
};

/// A trace reading of an instrument; fills the records' header.
/// Threads   one at a time.
class TraceReading {
 public:
  /// `first` is what clients get before the first publication.
  TraceReading(const Place& place, const std::string& name, const TraceForm& form, std::span<const float> first);

  /// Publishes the next sample: sequence number 0 for the first, captured now.
  void Publish(std::span<const float> samples);

 private:
  std::uint32_t next_number_ = 0;
  Corvanta::BASIC_TRACE::BT_DATA record_;
  Corvanta::EngineBasicTrace_i reading_;
};

/// Puts the capture time, in nanoseconds since the epoch, into a record's header.
void SetCaptureTime(Corvanta::BASIC_TRACE::BT_DATA& record, std::uint64_t time_ns);

/// The time now, in nanoseconds since the epoch.
std::uint64_t CaptureTimeNow();

}  // namespace Lumenar::Instruments
