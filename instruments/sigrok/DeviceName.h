// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Lumenar::Sigrok {

/// An option of a device: KEY=VALUE, or GROUP.KEY=VALUE for one of a group of channels. Keys are those of the library,
/// as "samplerate".
struct DeviceOption {
  std::string group;  ///< empty: of the whole device
  std::string key;
  std::string value;

  std::string Text() const;
  friend bool operator==(const DeviceOption&, const DeviceOption&) = default;
};

/// A device as users name it: DRIVER[:KEY=VALUE...], "demo:analog_channels=1". The options are those of the driver's
/// scan.
struct DeviceName {
  std::string driver;
  std::vector<DeviceOption> options;

  std::string Text() const;

  /// The value of the option "conn", where the device is; empty without.
  std::string Connection() const;
};

/// Errors   std::invalid_argument; also for a connection over the network, where the library waits without a limit and
///          takes a broken connection for a reading of 0.
DeviceName ParseDeviceName(std::string_view text);

/// Options with ':' between.
/// Errors   std::invalid_argument.
std::vector<DeviceOption> ParseDeviceOptions(std::string_view text);

}  // namespace Lumenar::Sigrok
