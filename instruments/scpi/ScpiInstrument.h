// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "instruments/common/Instrument.h"
#include "instruments/scpi/DeviceConfig.h"

namespace Lumenar::Scpi {

class Device;

/// A device of the settings.
struct NamedDevice {
  DeviceConfig config;  ///< with its address
  std::string prefix;   ///< of its items' names, with "_"; may be empty
};

/// Reads SCPI_DEVICES: "[NAME=]FILE[@ADDRESS]", with ";" between. FILE is the path of a device file, or the name of one
/// that comes with this system ("multimeter"); ADDRESS stands for the file's; NAME before the items' names.
/// Errors   std::exception in one line, also when two items of different devices have one name.
std::vector<NamedDevice> DevicesFromSettings(const Instruments::Settings& settings);

/// Readings and settings of instruments that speak SCPI over TCP, each over a connection of its own.
class ScpiInstrument : public Instruments::Instrument {
 public:
  /// Errors   as DevicesFromSettings.
  explicit ScpiInstrument(const Instruments::Settings& settings);
  ~ScpiInstrument() override;

  void Offer(const Instruments::Place& place) override;

 private:
  const std::vector<NamedDevice> configs_;
  std::vector<std::unique_ptr<Device>> devices_;
};

}  // namespace Lumenar::Scpi
