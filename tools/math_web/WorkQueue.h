// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <thread>
#include <vector>

#include "platform/base/Mutex.h"

namespace Lumenar::Web {

/// Threads that do what may take long, calls to other processes above all, in the order in which it came.
/// Threads  any.
class WorkQueue {
 public:
  /// A job; what it throws ends the process, since nobody could be told.
  using Job = std::function<void()>;

  /// `most` jobs may wait.
  WorkQueue(unsigned threads, std::size_t most);
  ~WorkQueue() { Stop(); }
  WorkQueue(const WorkQueue&) = delete;
  WorkQueue& operator=(const WorkQueue&) = delete;

  /// False when there is no room, or it was stopped: the job is not done then.
  bool Add(Job job);

  /// Waits for the jobs that run, and forgets those that wait. For good.
  void Stop() noexcept;

  std::size_t Waiting() const;

 private:
  void Run() noexcept;
  bool Next(Job& job);

  const std::size_t most_;
  mutable Mutex mutex_;  // a leaf
  Condition changed_;
  std::deque<Job> jobs_ GUARDED_BY(mutex_);
  bool stopped_ GUARDED_BY(mutex_) = false;
  std::vector<std::thread> threads_;
};

}  // namespace Lumenar::Web
