// SPDX-License-Identifier: Apache-2.0
#include "instruments/probe/MonotonicClock.h"

#include <time.h>

#include <cerrno>

namespace Lumenar::Probe {
namespace {

constexpr std::int64_t kSecond_ns = 1'000'000'000;

}  // namespace

std::int64_t SystemClock::Now_ns() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * kSecond_ns + now.tv_nsec;
}

void SystemClock::SleepUntil(std::int64_t deadline_ns) {
  timespec deadline{};
  deadline.tv_sec = static_cast<time_t>(deadline_ns / kSecond_ns);
  deadline.tv_nsec = static_cast<long>(deadline_ns % kSecond_ns);
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {}
}

}  // namespace Lumenar::Probe
