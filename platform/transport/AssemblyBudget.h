// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace Corvanta {

/// How many bytes all connections together may hold of messages that have come in part.
/// Threads   any.
class AssemblyBudget {
 public:
  explicit AssemblyBudget(std::uint64_t limit) : limit_(limit) {}

  /// False, and nothing is taken, when there is not as much left.
  bool Take(std::uint64_t bytes) noexcept {
    if (taken_.fetch_add(bytes) + bytes <= limit_) return true;
    taken_ -= bytes;
    return false;
  }

  void Give(std::uint64_t bytes) noexcept { taken_ -= bytes; }
  std::uint64_t Taken() const noexcept { return taken_; }

 private:
  const std::uint64_t limit_;
  std::atomic<std::uint64_t> taken_{0};
};

}  // namespace Corvanta
