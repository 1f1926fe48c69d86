// SPDX-License-Identifier: Apache-2.0
#include "client/amounts.h"

#include <fmt/format.h>

#include <cmath>

namespace Lumenar::Client {

std::string WithThousands(std::uint64_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t at = digits.size(); at > 3; at -= 3) digits.insert(at - 3, ",");
  return digits;
}

std::string DurationInWords(std::chrono::duration<double> length) {
  constexpr double kMinute = 60, kHour = 3600, kDay = 86400;
  const double s = length.count();
  if (!std::isfinite(s)) return "an unknown time";
  if (s < 0) return "-" + DurationInWords(-length);
  if (s < 0.9995) return fmt::format("{:.0f} ms", s * 1000);
  if (s < 9.95) return fmt::format("{:.1f} s", s);
  if (s < kMinute) return fmt::format("{:.0f} s", std::floor(s));
  if (s < kHour) return fmt::format("{:.0f} min {:.0f} s", std::floor(s / kMinute), std::floor(std::fmod(s, kMinute)));
  if (s < 2 * kDay)
    return fmt::format("{:.0f} h {:.0f} min", std::floor(s / kHour), std::floor(std::fmod(s, kHour) / kMinute));
  return fmt::format("{:.0f} days", std::floor(s / kDay));
}

std::string RateInWords(double per_second) {
  if (per_second >= 0.5) return fmt::format("{:.3g} a second", per_second);
  if (per_second * 60 >= 0.5) return fmt::format("{:.3g} a minute", per_second * 60);
  return fmt::format("{:.3g} an hour", per_second * 3600);
}

std::string CountInWords(std::uint64_t count, const std::string& thing) {
  return fmt::format("{} {}{}", WithThousands(count), thing, count == 1 ? "" : "s");
}

}  // namespace Lumenar::Client
