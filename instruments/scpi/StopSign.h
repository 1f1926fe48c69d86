// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace Lumenar::Scpi {

/// Leaves a wait that a stop sign has ended. No error: nothing catches it but the thread that waited.
struct Stopped {};

/// Ends waits for a device from another thread: it has a descriptor to wait for beside the device's.
/// Threads   any.
class StopSign {
 public:
  /// Errors   std::system_error without a descriptor.
  StopSign();
  ~StopSign();
  StopSign(const StopSign&) = delete;
  StopSign& operator=(const StopSign&) = delete;

  /// For good.
  void Raise() noexcept;
  bool IsRaised() const noexcept;

  /// Waits until then.
  /// Errors   Stopped.
  void WaitUntil(std::chrono::steady_clock::time_point time) const;

  /// Readable once the sign is raised.
  int Descriptor() const noexcept { return descriptor_; }

 private:
  const int descriptor_;
};

}  // namespace Lumenar::Scpi
