// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "instruments/common/Instrument.h"
#include "instruments/sigrok/OpenDevice.h"
#include "instruments/sigrok/SessionContext.h"
#include "platform/units/Units.h"

namespace Lumenar::Sigrok {

/// Options of a device, or of a group of its channels, that clients set: numbers as attributes GROUP_KEY, a switch as 0
/// and 1. Each is there once the device was open, and keeps what the device has.
///
/// A client's Set is done on the session's thread, and what the device says it has then is published. Refused are, with
/// BAD_PARAM, a number outside of the limits that the device tells (those that it does not tell it keeps itself), in
/// another unit, or that it does not take; with NO_RESPONSE one that comes while the device is away.
/// Threads   Learn and Forget on the session's thread; Set any.
class DeviceSettings {
 public:
  /// `names` are KEY or GROUP.KEY.
  /// Errors   DeviceError for an option that there is not, or that is no number.
  DeviceSettings(const Instruments::Place& place, SessionContext& context, const std::vector<std::string>& names);
  ~DeviceSettings();
  DeviceSettings(const DeviceSettings&) = delete;
  DeviceSettings& operator=(const DeviceSettings&) = delete;

  /// Reads the options of an open device, which is the one that is set until Forget; `changed` is called when one was.
  /// Errors   DeviceError for one that the device does not let be set.
  void Learn(const OpenDevice& device, const std::function<void()>& changed);
  void Forget() noexcept;

 private:
  class Setting;
  std::vector<std::unique_ptr<Setting>> settings_;
};

/// The limits that a device tells of an option's numbers: the least and the greatest of a list, or of a range. Nothing
/// where the value is of another kind.
struct NumberLimits {
  double least;
  double greatest;
};
std::optional<NumberLimits> LimitsFrom(GVariant* list);

/// A value of an option as a number, a switch as 0 or 1; nothing for one that is none.
std::optional<double> NumberFrom(GVariant* value);

/// The value of an option of this kind that a number stands for, rounded where it counts; null where there is none.
VariantPtr ValueFromNumber(const sr_key_info& info, double number);

/// The unit of an option's number.
Value::Units UnitsOfOption(std::uint32_t key) noexcept;

}  // namespace Lumenar::Sigrok
