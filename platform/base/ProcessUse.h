// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace Lumenar {

/// What this process takes of its machine.
struct ProcessUse {
  double processor_s = 0;            ///< processor time since it began, of all its threads
  std::uint64_t resident_bytes = 0;  ///< memory that it holds now; 0 where the system does not tell
};

/// Threads   any.
ProcessUse UseOfThisProcess();

}  // namespace Lumenar
