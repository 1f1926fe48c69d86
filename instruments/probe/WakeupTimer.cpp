// SPDX-License-Identifier: Apache-2.0
#include "instruments/probe/WakeupTimer.h"

namespace Lumenar::Probe {

void MeasureWakeups(MonotonicClock& clock, WakeupHistory& history, const std::atomic<bool>& stop) {
  std::int64_t deadline_ns = clock.Now_ns() + kTimerPeriod_ns;
  while (!stop) {
    clock.SleepUntil(deadline_ns);
    deadline_ns = history.WokeUp(deadline_ns, clock.Now_ns());
  }
}

void WakeupTimer::Start() {
  Lock lock(mutex_);
  if (stop_ || thread_.joinable()) return;
  thread_ = std::thread([this] { MeasureWakeups(clock_, history_, stop_); });
}

void WakeupTimer::Stop() noexcept {
  Lock lock(mutex_);  // held while the thread ends, which takes no lock of this
  stop_ = true;
  if (thread_.joinable()) thread_.join();
}

}  // namespace Lumenar::Probe
