// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace Lumenar::Python {

/// Whether this process may use what it has of the platform. A child that was forked while its parent had clients open
/// has their memory without their threads: it must leave all of it alone.
class ProcessMark {
 public:
  /// Once, when the module is imported.
  static void Begin();

  /// Counts what a child could not use; for the time of a block.
  class InUse {
   public:
    InUse() noexcept;
    ~InUse();
    InUse(const InUse&) = delete;
    InUse& operator=(const InUse&) = delete;
  };

  /// Returns when nothing is in use; false after `limit`.
  static bool WaitUntilFree(std::chrono::milliseconds limit);

  /// True in a child that was forked while something was in use.
  static bool IsOrphan() noexcept;

  /// Errors   Client::Error BadArgument in such a child.
  static void RequireOwn();
};

}  // namespace Lumenar::Python
