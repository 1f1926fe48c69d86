// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>

#include "instruments/common/NumberReading.h"
#include "instruments/probe/TemperatureSensor.h"
#include "instruments/probe/machine_figures.h"
#include "platform/units/Units.h"

namespace Lumenar::Probe {

/// The probe's scalar readings: CPU_LOAD in percent, MEMORY_FREE in bytes, TEMPERATURE in degC; each only where the
/// machine tells it. Their error bands: see CpuLoad, Spread and TemperatureSensor.
/// Threads   one at a time.
class ScalarReadings {
 public:
  /// `root` is the directory that holds "proc" and "sys".
  ScalarReadings(const Instruments::Place& place, const std::filesystem::path& root);

  /// Notes what changes quickly: free memory. Several times between two calls of Publish.
  void Sample();

  /// Publishes all. What cannot be read at the moment is left out. The load is that since the last call.
  void Publish();

 private:
  using Reading = Instruments::NumberReading;

  static void Assign(std::optional<Reading>& reading, const std::optional<Figure>& figure, const Value::Units& units);
  std::optional<Figure> TakeLoad();

  const std::filesystem::path root_;
  CpuTimes last_times_;
  Spread memory_free_;
  std::optional<TemperatureSensor> sensor_;
  std::optional<Reading> cpu_load_;
  std::optional<Reading> memory_free_reading_;
  std::optional<Reading> temperature_;
};

}  // namespace Lumenar::Probe
