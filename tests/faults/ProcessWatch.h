// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

namespace Lumenar::Test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long kSanitizer_kB = 16 * 1024 * 1024;  // it keeps what was given back, and stacks of threads that have ended
#else
constexpr long kSanitizer_kB = 0;
#endif

/// So much may a process grow whose peers send it nonsense: what its threads and connections need; and at one message.
constexpr long kMemory_kB = 20 * 1024 + kSanitizer_kB;
constexpr long kMemoryOfOne_kB = 1024 + kSanitizer_kB;

/// Looks at a process before and after something was done to it.
class ProcessWatch {
 public:
  ProcessWatch(std::string name, pid_t pid);

  /// Waits until descriptors and threads are as many as they were, but for a few, and the process rests; what stays
  /// otherwise, in words, empty when nothing does.
  std::string Stays(std::chrono::seconds limit = std::chrono::seconds(30)) const;

  /// How much more memory was resident at any moment since the beginning.
  long Growth_kB() const;

  const std::string& Name() const { return name_; }

 private:
  bool IsAtRest() const;

  std::string name_;
  pid_t pid_;
  long memory_kB_;
  int descriptors_;
  int threads_;
};

}  // namespace Lumenar::Test
