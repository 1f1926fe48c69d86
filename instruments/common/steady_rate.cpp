// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/steady_rate.h"

#include <omniORB4/CORBA.h>

#include <algorithm>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "platform/base/Diagnostic.h"
#include "platform/orb/CorbaText.h"

namespace Lumenar::Instruments {
namespace {

using Clock = PeriodicTask::Clock;

constexpr double kLongestPeriod_ns = 1e17;  // three years: any sum of a few stays in range

enum class RunEnd { GoesOn, Ends, NoMemory };

RunEnd RunOnce(const std::function<bool()>& task) noexcept {
  try {
    return task() ? RunEnd::GoesOn : RunEnd::Ends;
  } catch (const std::bad_alloc&) {
    return RunEnd::NoMemory;
  } catch (const CORBA::NO_MEMORY&) {
    return RunEnd::NoMemory;
  } catch (const std::exception& failure) {
    WriteError(std::string("instrument: samples end: ") + failure.what());
  } catch (const CORBA::Exception& failure) {
    WriteError("instrument: samples end: " + CorbaText(failure));
  }
  return RunEnd::Ends;
}

/// A line for the first of several runs that there was no memory for.
void NoteMemory(bool is_short, bool& was_short) noexcept {
  if (std::exchange(was_short, is_short) || !is_short) return;
  try {
    WriteError("instrument: no memory for a sample; the next is tried");
  } catch (const std::exception&) {  // nor for the line
  }
}

}  // namespace

PeriodicTask::Step AtSteadyRate(std::chrono::nanoseconds period, std::function<bool()> task) {
  const auto positive = std::max(period, std::chrono::nanoseconds(1));
  return [positive, task = std::move(task), was_short = false,
          deadline = std::optional<Clock::time_point>()]() mutable -> std::optional<Clock::time_point> {
    if (!deadline) deadline = Clock::now();
    const RunEnd end = RunOnce(task);
    if (end == RunEnd::Ends) return std::nullopt;
    NoteMemory(end == RunEnd::NoMemory, was_short);
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
