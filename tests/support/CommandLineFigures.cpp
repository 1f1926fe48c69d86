// SPDX-License-Identifier: Apache-2.0
#include "tests/support/CommandLineFigures.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/PseudoTerminal.h"

namespace Lumenar::Test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kProgramLimit{60};

/// Of processes that were started here and have ended.
double ProcessorSecondsOfEnded() {
  rusage use{};
  getrusage(RUSAGE_CHILDREN, &use);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(use.ru_utime) + seconds(use.ru_stime);
}

double ProcessorSecondsOfTop(IsolatedPlatform& platform, int rounds) {
  auto environment = platform.Environment();
  environment["TERM"] = "xterm";
  const double before = ProcessorSecondsOfEnded();
  PseudoTerminal terminal(BuiltProgram("mathctl"), {"top", "-n", std::to_string(rounds), "-d", "0.001"}, environment);
  if (terminal.Wait(kProgramLimit) != 0) throw std::runtime_error("mathctl top: " + terminal.All());
  return ProcessorSecondsOfEnded() - before;
}

}  // namespace

double SecondsToList(IsolatedPlatform& platform) { return SecondsOf(platform, {"list"}); }

double SecondsOf(IsolatedPlatform& platform, const std::vector<std::string>& words) {
  double best = std::numeric_limits<double>::infinity();
  for (int i = 0; i < 5; ++i) {
    const auto begin = Clock::now();
    const auto command = platform.Start("mathctl", words);
    const int exit_code = command->WaitForExit(kProgramLimit);
    if (exit_code != 0 && exit_code != 3)
      throw std::runtime_error("mathctl " + words.front() + ": " + command->Error());
    best = std::min(best, std::chrono::duration<double>(Clock::now() - begin).count());
  }
  return best;
}

double ProcessorSecondsToRedraw(IsolatedPlatform& platform) {
  constexpr int kRounds = 20;
  const double start = ProcessorSecondsOfTop(platform, 1);
  return (ProcessorSecondsOfTop(platform, 1 + kRounds) - start) / kRounds;
}

}  // namespace Lumenar::Test
