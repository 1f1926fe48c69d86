// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <atomic>
#include <string>

namespace Lumenar::Test {

/// What the preloaded library counts in one process: blocks of at least the threshold.
struct BlockCounts {
  std::atomic<unsigned> allocated;
  std::atomic<unsigned> copied;
};

/// Environment of the library: where the counts are kept, and the least size in bytes of a block that counts.
inline constexpr const char* kCountsDirectory = "BLOCK_COUNTS_DIRECTORY";
inline constexpr const char* kCountsThreshold = "BLOCK_COUNTS_THRESHOLD";

inline std::string CountsFile(const std::string& directory, pid_t process) {
  return directory + "/counts." + std::to_string(process);
}

}  // namespace Lumenar::Test
