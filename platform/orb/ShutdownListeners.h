// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <thread>
#include <utility>
#include <vector>

#include "platform/base/Mutex.h"

namespace Corvanta {

/// What is to be done once before the ORB stops, newest first.
class ShutdownListeners {
 public:
  long Add(std::function<void()> listener);

  /// Waits for the listener when another thread runs it just now.
  void Remove(long token);

  /// Runs all listeners, on this thread; false, without running any, when a thread did or does that already.
  bool Run() noexcept;

  /// Whether Run was called.
  bool Began() const;

 private:
  mutable Lumenar::Mutex mutex_;
  Lumenar::Condition changed_;
  std::vector<std::pair<long, std::function<void()>>> listeners_ GUARDED_BY(mutex_);
  long next_token_ GUARDED_BY(mutex_) = 1;
  bool began_ GUARDED_BY(mutex_) = false;
  long running_ GUARDED_BY(mutex_) = 0;  // token
  std::thread::id runner_ GUARDED_BY(mutex_);
};

}  // namespace Corvanta
