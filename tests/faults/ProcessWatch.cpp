// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/ProcessWatch.h"

#include <fmt/format.h>

#include <stdexcept>

#include "tests/faults/FaultCase.h"
#include "tests/support/IsolatedPlatform.h"
#include "tests/support/ProcessFigures.h"

namespace Lumenar::Test {
namespace {

constexpr int kFew = 4;  // descriptors and threads of the ORB's own that come and go

/// Threads that had work rest for ten seconds before they end: the short form does not wait for that.
int FewThreads() { return ByLength(60, kFew); }

}  // namespace

ProcessWatch::ProcessWatch(std::string name, pid_t pid)
    : name_(std::move(name)),
      pid_(pid),
      memory_kB_(ResidentMemory_kB(pid)),
      descriptors_(CountDescriptors(pid)),
      threads_(CountThreads(pid)) {
  ForgetPeakMemory(pid);
}

std::string ProcessWatch::Stays(std::chrono::seconds limit) const {
  try {
    if (WaitUntil(
            [this] {
              return CountDescriptors(pid_) <= descriptors_ + kFew && CountThreads(pid_) <= threads_ + FewThreads();
            },
            limit) &&
        WaitUntil([this] { return IsAtRest(); }, limit))
      return {};
    return fmt::format("{}: {} descriptors (before {}), {} threads ({}), {}", name_, CountDescriptors(pid_),
                       descriptors_, CountThreads(pid_), threads_, IsAtRest() ? "at rest" : "busy");
  } catch (const std::exception&) {
    return name_ + " is gone";
  }
}

long ProcessWatch::Growth_kB() const { return PeakMemory_kB(pid_) - memory_kB_; }

bool ProcessWatch::IsAtRest() const {
  constexpr std::chrono::milliseconds kSpan{300};
  const auto before = ProcessorTime(pid_);
  WaitUntil([] { return false; }, kSpan);  // the time over which it is watched
  return ProcessorTime(pid_) - before <= kSpan / 5;
}

}  // namespace Lumenar::Test
