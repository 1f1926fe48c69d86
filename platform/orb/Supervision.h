// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <chrono>
#include <memory>

#include "platform/base/Mutex.h"
#include "platform/base/PeriodicTask.h"
#include "platform/orb/SelfCall.h"

namespace Corvanta {

/// What the service manager that started this process hears of it: that it is ready, that it ends, and, when the manager
/// watches it, that it still works. The last is told twice in the time that the manager allows, each time after the
/// process has answered a question of its own (SelfCall), so that one whose ORB hangs is restarted. Without a service
/// manager nothing happens.
/// Threads   Begin on one thread, once; End on any.
class Supervision {
 public:
  Supervision() = default;
  ~Supervision();
  Supervision(const Supervision&) = delete;
  Supervision& operator=(const Supervision&) = delete;

  /// The process is ready: requests are let in through `poa`. Never throws; what it cannot have is told in one line on
  /// standard error, and the process serves without.
  void Begin(PortableServer::POA_ptr poa) noexcept;

  /// The process ends; who did not begin tells nothing. Returns at once, whatever hangs, but for a service manager that
  /// just takes its second to hear that the process is ready.
  void End() noexcept;

 private:
  using Clock = Lumenar::PeriodicTask::Clock;

  void Watch(PortableServer::POA_ptr poa, std::chrono::microseconds limit);
  Clock::time_point Look();
  void NoteSilence(bool is_silent);

  Lumenar::Mutex mutex_;  // a leaf
  bool began_ GUARDED_BY(mutex_) = false;
  bool ended_ GUARDED_BY(mutex_) = false;
  SelfCall* interruptible_ GUARDED_BY(mutex_) = nullptr;
  std::chrono::microseconds pause_{};
  std::unique_ptr<SelfCall> call_;  ///< the looks' own, once they have begun
  bool was_silent_ = false;         ///< the looks' own
  Lumenar::PeriodicTask looks_{[this] { return Look(); }};
};

}  // namespace Corvanta
