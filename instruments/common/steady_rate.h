// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>

#include "platform/base/PeriodicTask.h"

namespace Lumenar::Instruments {

/// The step of a PeriodicTask that runs `task` at a steady rate: at the first time, then at each multiple of the period
/// since. Multiples that pass while the function runs are skipped, so a slow run delays nothing but itself.
///
/// `task` returns whether to go on. An exception that leaves it is written to standard error and ends the steps; want of
/// memory costs that run alone.
PeriodicTask::Step AtSteadyRate(std::chrono::nanoseconds period, std::function<bool()> task);

/// The first multiple of `period` after `deadline` that has not passed at `now`.
PeriodicTask::Clock::time_point NextDeadline(PeriodicTask::Clock::time_point deadline,
                                             PeriodicTask::Clock::time_point now, std::chrono::nanoseconds period);

/// The period of a rate in runs a second, which is positive; at most three years.
std::chrono::nanoseconds PeriodOf(double rate_Hz);

}  // namespace Lumenar::Instruments
