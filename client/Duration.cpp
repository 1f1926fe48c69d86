// SPDX-License-Identifier: Apache-2.0
#include "client/Duration.h"

#include <fmt/format.h>

namespace Lumenar::Client {
namespace {

struct DurationStep {
  double below_s;
  double unit_s;
  const char* format;
};

// Each unit until there are two of the next one.
constexpr DurationStep kDurationSteps[] = {
    {0.9995, 1e-3, "{:.0f} ms"}, {9.95, 1, "{:.1f} s"},      {120, 1, "{:.0f} s"},
    {7200, 60, "{:.0f} min"},    {172800, 3600, "{:.0f} h"},
};

}  // namespace

std::string DurationText(std::chrono::duration<double> time) {
  const double seconds = time.count();
  for (const DurationStep& step : kDurationSteps) {
    if (seconds < step.below_s) return fmt::format(fmt::runtime(step.format), seconds / step.unit_s);
  }
  return fmt::format("{:.0f} days", seconds / 86400);
}

}  // namespace Lumenar::Client
