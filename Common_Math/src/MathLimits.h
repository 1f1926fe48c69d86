// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/transport/SettingsFile.h"

namespace Lumenar {

/// What the math objects of an engine may take together.
struct MathLimits {
  explicit MathLimits(const Corvanta::SettingsFile& settings = {})
      : objects(settings.Number("math.max_objects", 100000)),
        history_bytes(settings.Number("math.max_history_bytes", 512u << 20)) {}

  std::size_t objects;          ///< that live at once
  std::uint64_t history_bytes;  ///< of the samples that all Averages hold
};

}  // namespace Lumenar
