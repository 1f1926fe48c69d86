// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace Lumenar {

/// The memory that the histories of all Averages of the process hold together, and its limit.
/// Threads   any.
class HistoryMemory {
 public:
  /// 0 at the start of the process means no limit.
  static void SetLimit(std::uint64_t bytes) noexcept;

  /// What one sample holds, from construction to the end.
  class Share {
   public:
    /// `returned` are bytes of the same history that will be given back for it: who has its full history goes on at the
    /// limit.
    /// Errors   CORBA::IMP_LIMIT beyond the limit.
    explicit Share(std::size_t bytes, std::size_t returned = 0);
    ~Share();
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;

    std::size_t Bytes() const noexcept { return bytes_; }

   private:
    const std::size_t bytes_;
  };
};

}  // namespace Lumenar
