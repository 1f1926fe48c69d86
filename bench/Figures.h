// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Lumenar::Bench {

/// One row of the benchmark table: a figure, what bounds it, both measured in the same run.
///
/// As JSON it is an object with the keys `figure`, `value`, `unit`, `limit`, `ratio`, `target` and `met`, null for what
/// does not exist: a limit that is an optional peer which is not installed, or a figure without a target.
struct Figure {
  std::string figure;           ///< what was measured and against what: "difference of traces, 10001 points, to memcpy"
  std::optional<double> value;  ///< median, in `unit`
  std::string unit;             ///< "ns", "us", "MB" ...; of value and limit
  std::optional<double> limit;  ///< the same for what it is compared with
  std::optional<double> ratio;  ///< value / limit, or limit / value for figures that are "faster than"
  std::optional<double> target;  ///< of the ratio; of the value where there is no limit
  std::optional<bool> met;
};

/// A figure that should be at most `target` times its limit.
Figure AtMost(std::string figure, double value, std::string unit, std::optional<double> limit,
              std::optional<double> target);

/// A figure that should be at least `target` times faster than its limit.
Figure FasterThan(std::string figure, double value, std::string unit, std::optional<double> limit,
                  std::optional<double> target);

/// A figure with a bound of its own, as a size in bytes: at most `target`, if there is one.
Figure Plain(std::string figure, double value, std::string unit, std::optional<double> target = {});

/// The figure as one line of JSON.
std::string JsonLine(const Figure& figure);

/// Appends figures, one JSON object a line, to the file that the environment variable LUMENAR_FIGURES names, and writes
/// them as a table to standard output where it names none.
/// Errors   std::runtime_error when the file cannot be written.
void Report(const std::vector<Figure>& figures);

/// The middle one (the upper middle of an even number). Errors   std::invalid_argument for none.
double Median(std::vector<double> values);

/// The value below which `share` (0 to 1) of the values lie. Errors   std::invalid_argument for none.
double Quantile(std::vector<double> values, double share);

}  // namespace Lumenar::Bench
