// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "instruments/replay/LineReader.h"
#include "instruments/replay/Recording.h"

namespace Lumenar::Replay {

/// Two columns of numbers.
struct XyTable {
  std::vector<double> x;
  std::vector<float> y;
};

/// The two fields of a line that has exactly two.
/// Errors   FormatError.
std::pair<std::string_view, std::string_view> TwoFields(const Line& line);

/// Reads the remaining lines as `x,y`, x rising; empty lines are skipped.
/// Errors   FormatError; also when there is no row.
XyTable ReadXyTable(LineReader& lines);

/// A unit's text.
/// Errors   FormatError.
Value::Units ParseUnits(std::string_view text, std::size_t line);

/// The distance of neighbours on an axis, times `scale`; 0 for less than two points, where a point lies more than a
/// tenth of the mean distance beside the even grid, and where the distance is too large for a number.
double StepOf(std::span<const double> axis, double scale);

/// The one sweep of a table as a file's contents: `x` and `y` are the units of the columns.
RecordedFile OneSweep(XyTable table, const Value::Units& x, const Value::Units& y);

}  // namespace Lumenar::Replay
