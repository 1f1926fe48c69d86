// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace Lumenar::Test {

/// While it lives, one allocation of this thread fails: the `which`-th, from 1, that the program's own code asks for.
/// Those of shared libraries, among them the ORB, do not count: they make no promise for that case.
class AllocationFault {
 public:
  explicit AllocationFault(std::size_t which) noexcept;
  ~AllocationFault();
  AllocationFault(const AllocationFault&) = delete;
  AllocationFault& operator=(const AllocationFault&) = delete;

  /// Whether there was such an allocation.
  bool HasStruck() const noexcept;
};

}  // namespace Lumenar::Test
