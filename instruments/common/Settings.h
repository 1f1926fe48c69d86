// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>

namespace Lumenar::Instruments {

/// Settings of an instrument by name, as "PROBE_RATE".
using Settings = std::map<std::string, std::string>;

/// The environment variables whose names begin with `prefix`.
Settings SettingsFromEnvironment(const std::string& prefix);

/// The text of a setting; empty when it is not set.
std::string TextSetting(const Settings& settings, const std::string& name);

/// A setting that is a number; `absent` when it is not set or empty.
/// Errors   std::invalid_argument when it is no number, or outside lower .. upper.
double NumberSetting(const Settings& settings, const std::string& name, double absent, double lower, double upper);

}  // namespace Lumenar::Instruments
