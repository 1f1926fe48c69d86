// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "instruments/scpi/DeviceConfig.h"

namespace Lumenar::Scpi {

/// Reads the text of a device file; docs/instruments.md has its form.
/// Errors   std::invalid_argument, "FILE:LINE: reason" in one line; `file` is its name for that.
DeviceConfig DeviceFromText(std::string_view text, const std::string& file);

/// Reads a device file of at most 1 MB.
/// Errors   as above; std::runtime_error and std::system_error for a file that cannot be read.
DeviceConfig DeviceFromFile(const std::string& path);

}  // namespace Lumenar::Scpi
