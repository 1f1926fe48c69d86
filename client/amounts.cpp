// SPDX-License-Identifier: Apache-2.0
#include "client/amounts.h"

#include <fmt/format.h>

namespace Lumenar::Client {

std::string WithThousands(std::uint64_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t at = digits.size(); at > 3; at -= 3) digits.insert(at - 3, ",");
  return digits;
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
