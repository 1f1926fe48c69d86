// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/HistoryMemory.h"

#include <omniORB4/CORBA.h>

#include <atomic>
#include <limits>

namespace Lumenar {
namespace {

constexpr std::uint64_t kNone = std::numeric_limits<std::uint64_t>::max();

std::atomic<std::uint64_t> limit{kNone};
std::atomic<std::uint64_t> used{0};

}  // namespace

void HistoryMemory::SetLimit(std::uint64_t bytes) noexcept { limit = bytes == 0 ? kNone : bytes; }

HistoryMemory::Share::Share(std::size_t bytes, std::size_t returned) : bytes_(bytes) {
  const std::uint64_t together = used.fetch_add(bytes_) + bytes_;
  if (bytes_ <= returned || together <= limit || together - limit <= returned) return;
  used -= bytes_;
  throw CORBA::IMP_LIMIT(0, CORBA::COMPLETED_NO);
}

HistoryMemory::Share::~Share() { used -= bytes_; }

}  // namespace Lumenar
