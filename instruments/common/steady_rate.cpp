// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/steady_rate.h"

#include <omniORB4/CORBA.h>

#include <algorithm>
#include <exception>
#include <optional>
#include <string>
#include <utility>

#include "platform/base/Diagnostic.h"
#include "platform/orb/CorbaText.h"

namespace Lumenar::Instruments {
namespace {

using Clock = PeriodicTask::Clock;

constexpr double kLongestPeriod_ns = 1e17;  // three years: any sum of a few stays in range

bool RunOnce(const std::function<bool()>& task) noexcept {
  try {
    return task();
  } catch (const std::exception& failure) {
    WriteError(std::string("instrument: samples end: ") + failure.what());
  } catch (const CORBA::Exception& failure) {
    WriteError("instrument: samples end: " + CorbaText(failure));
  }
  return false;
}

}  // namespace

PeriodicTask::Step AtSteadyRate(std::chrono::nanoseconds period, std::function<bool()> task) {
  const auto positive = std::max(period, std::chrono::nanoseconds(1));
  return [positive, task = std::move(task),
          deadline = std::optional<Clock::time_point>()]() mutable -> std::optional<Clock::time_point> {
    if (!deadline) deadline = Clock::now();
    if (!RunOnce(task)) return std::nullopt;
    deadline = NextDeadline(*deadline, Clock::now(), positive);
    return deadline;
  };
}

Clock::time_point NextDeadline(Clock::time_point deadline, Clock::time_point now, std::chrono::nanoseconds period) {
  const auto late = std::max(now - deadline, Clock::duration::zero());
  return deadline + period * (late / period + 1);
}

std::chrono::nanoseconds PeriodOf(double rate_Hz) {
  return std::chrono::nanoseconds(
      static_cast<std::chrono::nanoseconds::rep>(std::min(1e9 / rate_Hz, kLongestPeriod_ns)));
}

}  // namespace Lumenar::Instruments
