// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/base/ProcessUse.h"
#include "tools/math_web/Snapshot.h"

namespace Lumenar::Web {

/// A number that a reading or an object has now.
struct PresentNumber {
  std::string name;  ///< "SIM/1/VOLTAGE", "math:3"
  std::string unit;  ///< empty where it has none
  double value = 0;
};

/// What the gateway counts of itself, since it began.
struct GatewayCounts {
  std::size_t clients = 0;   ///< now
  std::size_t streams = 0;   ///< now
  std::size_t readings = 0;  ///< subscribed to, now
  std::uint64_t frames = 0;
  std::uint64_t skipped = 0;
  std::uint64_t bytes = 0;
  std::uint64_t requests = 0;
  std::uint64_t refused = 0;  ///< requests and connections that were turned away
  ProcessUse use;
};

/// All that monitoring is told, in the text form of Prometheus; docs/web.md has the table.
/// Threads  pure.
std::string MetricsText(const Snapshot& snapshot, const std::vector<PresentNumber>& numbers,
                        const GatewayCounts& counts);

}  // namespace Lumenar::Web
