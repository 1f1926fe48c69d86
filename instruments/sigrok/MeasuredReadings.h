// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "instruments/common/Instrument.h"
#include "instruments/sigrok/SampleCutter.h"
#include "instruments/sigrok/error_bands.h"

namespace Lumenar::Sigrok {

/// Publishes what is measured. A reading is created when something of its meaning comes for the first time, which is
/// its first sample; a line on standard output says so. It keeps its last one when nothing comes any more.
/// Threads   one at a time.
class MeasuredReadings final : public MeasurementSink {
 public:
  static constexpr std::size_t kMostReadings = 256;

  MeasuredReadings(const Instruments::Place& place, std::vector<NamedErrorBand> errors);
  ~MeasuredReadings() override;

  /// Errors   std::length_error beyond kMostReadings; CORBA system exceptions.
  void TakeNumber(const Meaning& meaning, const UnitRow& units, const MeasuredNumber& number) override;
  void TakeTrace(const Meaning& meaning, const UnitRow& units, std::span<const float> samples, double step_s) override;

 private:
  class Number;
  class Trace;

  void RequireRoom() const;

  const Instruments::Place place_;
  const std::vector<NamedErrorBand> errors_;
  std::map<Meaning, std::unique_ptr<Number>> numbers_;
  std::map<Meaning, std::unique_ptr<Trace>> traces_;
};

}  // namespace Lumenar::Sigrok
