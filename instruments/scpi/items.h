// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "instruments/common/Instrument.h"
#include "instruments/scpi/DeviceConfig.h"
#include "instruments/scpi/Session.h"

namespace Lumenar::Scpi {

/// A reading or a setting of a device. It is offered to clients from its first value on: before that there is nothing
/// that it could tell, and a math object over an invented value would compute with it.
/// Errors   std::runtime_error in one line where the device's answer is none; Stopped; CORBA system exceptions.
/// Threads  one, that of the device.
class DeviceItem {
 public:
  virtual ~DeviceItem() = default;

  /// Asks for what changes with the device's settings alone: when a connection was made, and after each set.
  virtual void Prepare(Session& session) = 0;

  /// Takes a value and publishes it.
  virtual void Measure(Session& session) = 0;
};

/// What is set on behalf of a client; returns when that is done.
/// Errors   CORBA::BAD_PARAM, TRANSIENT and TIMEOUT.
using SetNumber = std::function<void(double number)>;

/// Says why a client's wish is refused; from any thread.
using Refuse = std::function<void(const std::string& why)>;

/// `config` and what `place` refers to outlive the item; `name` is that of the item. `timeout` is the device's.
std::unique_ptr<DeviceItem> MakeReading(const ReadingConfig& config, const Instruments::Place& place, std::string name,
                                        Milliseconds timeout);
std::unique_ptr<DeviceItem> MakeSetting(const SettingConfig& config, const Instruments::Place& place, std::string name,
                                        SetNumber set, Refuse refuse);

/// The command of a setting with the number in its place, in as many digits as it needs.
std::string CommandWith(const SettingConfig& config, double number);

}  // namespace Lumenar::Scpi
