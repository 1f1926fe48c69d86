// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

namespace Lumenar::Test {

/// So much may a process grow whose peers send it nonsense: what its threads and connections need. A sanitizer keeps what
/// was given back for a while, and stacks of threads that have ended.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long kMemory_kB = 2 * 1024 * 1024;
#else
constexpr long kMemory_kB = 20 * 1024;
#endif

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
