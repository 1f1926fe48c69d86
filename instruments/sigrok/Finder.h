// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "instruments/sigrok/DeviceName.h"

namespace Lumenar::Sigrok {

/// What a search said.
struct Found {
  bool answers = false;  ///< one device, and one only
  std::string reason;    ///< why not, for people
};

/// Looks for a device in a process of its own (the program sigrok_scan), since a device that does not answer holds a
/// scan for ever: at the limit the process is killed. `give_up` ends it before.
/// Threads  any.
Found FindDevice(const DeviceName& name, std::chrono::milliseconds limit, const std::function<bool()>& give_up);

}  // namespace Lumenar::Sigrok
