// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Lumenar::Sigrok {

/// The error that a data sheet allows: so many percent of the reading, and so much of the unit.
struct ErrorRule {
  double percent = 0;
  double absolute = 0;

  /// Half the width of the band about a reading; 0 about one that is not finite.
  double Of(double reading) const noexcept;
  friend bool operator==(const ErrorRule&, const ErrorRule&) = default;
};

/// A rule for one reading, or, without a name, for all that have none of their own.
struct NamedErrorRule {
  std::string reading;
  ErrorRule rule;
};

/// Reads a sum of numbers, those with "%" or "ppm" behind them of the reading: "0.5 % + 0.003".
/// Errors   std::invalid_argument; also for negative numbers.
ErrorRule ParseErrorRule(std::string_view text);

/// Reads rules with ';' between, each "RULE" or "READING = RULE".
/// Errors   std::invalid_argument.
std::vector<NamedErrorRule> ParseErrorRules(std::string_view text);

/// The rule for a reading; null where there is none.
const ErrorRule* FindErrorRule(const std::vector<NamedErrorRule>& rules, std::string_view reading) noexcept;

}  // namespace Lumenar::Sigrok
