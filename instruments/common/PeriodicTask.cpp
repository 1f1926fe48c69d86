// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/PeriodicTask.h"

#include <omniORB4/CORBA.h>

#include <algorithm>
#include <exception>
#include <string>
#include <utility>

#include "platform/base/Diagnostic.h"
#include "platform/orb/CorbaText.h"

namespace Lumenar::Instruments {
namespace {

constexpr double kLongestPeriod_ns = 1e17;  // three years: any sum of a few stays in range

}  // namespace

PeriodicTask::PeriodicTask(std::chrono::nanoseconds period, std::function<bool()> task)
    : period_(std::max(period, std::chrono::nanoseconds(1))), task_(std::move(task)) {}

PeriodicTask::~PeriodicTask() { Stop(); }

void PeriodicTask::Start() {
  Lock lock(mutex_);
  if (!stopped_ && !thread_.joinable()) thread_ = std::thread([this] { Run(); });
}

void PeriodicTask::Stop() noexcept {
  std::thread thread;
  {
    Lock lock(mutex_);
    stopped_ = true;
    changed_.NotifyAll();
    thread = std::move(thread_);
  }
  if (thread.joinable()) thread.join();
}

PeriodicTask::Clock::time_point PeriodicTask::NextDeadline(Clock::time_point deadline, Clock::time_point now,
                                                           std::chrono::nanoseconds period) {
  const auto late = std::max(now - deadline, Clock::duration::zero());
  return deadline + period * (late / period + 1);
}

void PeriodicTask::Run() {
  auto deadline = Clock::now();
  while (WaitUntil(deadline) && RunOnce()) deadline = NextDeadline(deadline, Clock::now(), period_);
}

/// False when the task was stopped.
bool PeriodicTask::WaitUntil(Clock::time_point deadline) {
  Lock lock(mutex_);
  while (!stopped_) {
    const auto left = deadline - Clock::now();
    if (left <= Clock::duration::zero()) return true;
    changed_.WaitFor(mutex_, left);
  }
  return false;
}

/// The start of a thread: what leaves it would end the process.
bool PeriodicTask::RunOnce() noexcept {
  try {
    return task_();
  } catch (const std::exception& failure) {
    WriteError(std::string("instrument: samples end: ") + failure.what());
  } catch (const CORBA::Exception& failure) {
    WriteError("instrument: samples end: " + CorbaText(failure));
  }
  return false;
}

std::chrono::nanoseconds PeriodOf(double rate_Hz) {
  return std::chrono::nanoseconds(
      static_cast<std::chrono::nanoseconds::rep>(std::min(1e9 / rate_Hz, kLongestPeriod_ns)));
}

}  // namespace Lumenar::Instruments
