// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/ErrorBand.h"

#include <charconv>
#include <cmath>
#include <stdexcept>
#include <string>

namespace Lumenar::Instruments {
namespace {

constexpr const char* kBandForm = "expected a band as \"0.0035 % + 0.0005\": a share in % or ppm, a number, or both";

std::string_view WithoutBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// One summand: its number, and what a reading's share is multiplied with, 0 for a number of the unit.
struct Summand {
  double number;
  double share;
};

double ShareOf(std::string_view sign) {
  if (sign == "%") return 1e-2;
  if (sign == "ppm") return 1e-6;
  if (sign.empty()) return 0;
  throw std::invalid_argument(kBandForm);
}

/// Takes a summand, and the "+" behind it, off a text.
Summand TakeSummand(std::string_view& text) {
  text = WithoutBlanks(text);
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || !std::isfinite(number) || number < 0) throw std::invalid_argument(kBandForm);
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  const std::size_t plus = text.find('+');
  const std::string_view sign = WithoutBlanks(text.substr(0, plus));
  text.remove_prefix(plus == std::string_view::npos ? text.size() : plus + 1);
  if (plus != std::string_view::npos && WithoutBlanks(text).empty()) throw std::invalid_argument(kBandForm);
  return {number, ShareOf(sign)};
}

}  // namespace

double ErrorBand::Of(double reading) const {
  return std::isfinite(reading) ? std::abs(reading) * of_reading + of_unit : 0;
}

ErrorBand ErrorBandFromText(std::string_view text) {
  ErrorBand band;
  bool has_share = false, has_number = false;
  do {
    const auto [number, share] = TakeSummand(text);
    bool& is_there = share > 0 ? has_share : has_number;
    if (is_there) throw std::invalid_argument(kBandForm);
    is_there = true;
    (share > 0 ? band.of_reading : band.of_unit) = share > 0 ? number * share : number;
  } while (!text.empty());
  return band;
}

}  // namespace Lumenar::Instruments
