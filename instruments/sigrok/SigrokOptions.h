// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "instruments/common/Settings.h"
#include "instruments/sigrok/DeviceName.h"
#include "instruments/sigrok/error_bands.h"

namespace Lumenar::Sigrok {

/// What users tell this instrument.
struct SigrokOptions {
  DeviceName device;
  std::vector<DeviceOption> config;     ///< set at the open device
  std::vector<std::string> channels;    ///< empty: all that are analog
  std::vector<std::string> attributes;  ///< options, KEY or GROUP.KEY, that clients can set
  std::vector<NamedErrorBand> errors;
  std::optional<std::size_t> points;            ///< of a trace that is cut from a stream; 1: numbers
  std::chrono::milliseconds scan_limit{10000};  ///< of a search for the device
  std::chrono::milliseconds retry{3000};        ///< between two searches
  /// How long a device may be silent before it is searched for; 0: for ever; nothing: as its kind is.
  std::optional<std::chrono::milliseconds> silence;
  int log_level = 0;  ///< 0 to 5: what the library says on standard error

  /// Whether the device is told to end by itself.
  bool HasEnd() const;
};

/// Reads SIGROK_DEVICE, SIGROK_CONFIG, SIGROK_CHANNELS, SIGROK_ATTRIBUTES, SIGROK_ERROR, SIGROK_POINTS,
/// SIGROK_SCAN_LIMIT, SIGROK_RETRY, SIGROK_SILENCE and SIGROK_LOG.
/// Errors   std::invalid_argument, "NAME=TEXT: reason".
SigrokOptions ParseSigrokOptions(const Instruments::Settings& settings);

}  // namespace Lumenar::Sigrok
