// SPDX-License-Identifier: Apache-2.0
#include "platform/base/PeriodicTask.h"

#include <algorithm>

namespace Lumenar {

void PeriodicTask::Start(std::chrono::nanoseconds pause) {
  Lock lock(mutex_);
  if (stopped_ || thread_.joinable()) return;
  due_ = Clock::now() + pause;
  thread_ = std::thread([this] { Run(); });
}

void PeriodicTask::Wake() noexcept {
  Lock lock(mutex_);
  due_ = std::min(due_, Clock::now());
  changed_.NotifyAll();
}

void PeriodicTask::Stop() noexcept {
  std::thread thread;
  {
    Lock lock(mutex_);
    stopped_ = true;
    changed_.NotifyAll();
    thread.swap(thread_);
  }
  if (thread.joinable()) thread.join();
}

void PeriodicTask::Run() noexcept {
  while (WaitUntilDue() && StepOnce()) {}
}

/// False when the task was stopped.
bool PeriodicTask::WaitUntilDue() {
  Lock lock(mutex_);
  for (auto now = Clock::now(); !stopped_ && now < due_; now = Clock::now()) changed_.WaitFor(mutex_, due_ - now);
  due_ = Clock::time_point::max();
  return !stopped_;
}

/// False when the task has come to its end.
bool PeriodicTask::StepOnce() {
  const std::optional<Clock::time_point> next = step_();
  Lock lock(mutex_);
  if (next) due_ = std::min(due_, *next);
  return next.has_value();
}

}  // namespace Lumenar
