// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace Lumenar::Mathctl {

/// Ends a wait of another thread, once and for good.
/// Threads   any.
class Wakeup {
 public:
  /// Errors   std::system_error when the system has no descriptor left.
  Wakeup();
  ~Wakeup();
  Wakeup(const Wakeup&) = delete;
  Wakeup& operator=(const Wakeup&) = delete;

  void Call() noexcept;
  bool WasCalled() const noexcept;

  /// Waits until Call, `limit`, or something to be read at `descriptor` (unless -1); true for the last.
  bool WaitFor(int descriptor, std::chrono::milliseconds limit) const;

 private:
  const int event_;
};

}  // namespace Lumenar::Mathctl
