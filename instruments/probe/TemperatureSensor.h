// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "instruments/probe/machine_figures.h"

namespace Lumenar::Probe {

/// A temperature sensor that the kernel offers as a file of millidegrees Celsius.
///
/// The kernel does not tell the sensor's resolution. It is taken from the readings: the largest step, of at most 1
/// degC, of which all readings so far are multiples. The band is half a step either way.
class TemperatureSensor {
 public:
  /// The first sensor below the system directory ("/sys"): of the thermal zones, then of the hardware monitors, by
  /// name. Nothing where none can be read.
  static std::optional<TemperatureSensor> Find(const std::filesystem::path& sys);

  explicit TemperatureSensor(std::filesystem::path file) : file_(std::move(file)) {}

  /// In degC; nothing when the sensor cannot be read at the moment.
  std::optional<Figure> Read();

 private:
  std::filesystem::path file_;
  std::int64_t step_mdegC_ = 1000;
};

}  // namespace Lumenar::Probe
