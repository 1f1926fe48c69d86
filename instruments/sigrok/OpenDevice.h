// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "instruments/sigrok/SigrokLibrary.h"

namespace Lumenar::Sigrok {

/// A device that was found by a scan in this process, opened and set.
/// Threads   the one that the device is used on.
class OpenDevice {
 public:
  /// What a device is to be.
  struct Wanted {
    DeviceName name;
    std::vector<DeviceOption> options;  ///< set once it is open
    std::vector<std::string> channels;  ///< the analog channels that are used; empty: all
  };

  /// Scans, opens the one device that is found, sets its options, and switches all channels off but those that are
  /// used.
  /// Errors   DeviceError; among them none or several devices, and a channel, group or option that it does not have.
  OpenDevice(const SigrokLibrary& library, const Wanted& wanted);
  ~OpenDevice();
  OpenDevice(const OpenDevice&) = delete;
  OpenDevice& operator=(const OpenDevice&) = delete;

  sr_dev_inst* Instance() const noexcept { return instance_; }

  /// A group of its channels by name; null for the empty name, the device itself.
  /// Errors   DeviceError for a group that it does not have.
  const sr_channel_group* Group(const std::string& name) const;

  /// The value of an option; null where it has none that can be read.
  VariantPtr Get(const sr_channel_group* group, std::uint32_t key) const;
  VariantPtr List(const sr_channel_group* group, std::uint32_t key) const;

  /// Errors   DeviceError.
  void Set(const DeviceOption& option) const;

  /// Samples a second; 0 where it has no such rate.
  double SampleRate_Hz() const;

 private:
  sr_dev_inst* Choose(const DeviceName& name, const GSList* found) const;
  void UseChannels(const std::vector<std::string>& names) const;

  sr_dev_driver* driver_;
  sr_dev_inst* instance_ = nullptr;
};

/// The names of a device's analog channels.
std::vector<std::string> AnalogChannels(const sr_dev_inst* device);

}  // namespace Lumenar::Sigrok
