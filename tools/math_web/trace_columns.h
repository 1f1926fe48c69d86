// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "tools/math_web/View.h"

namespace Lumenar::Web {

/// The horizontal axis of a trace: point i stands at first + i * step.
struct Axis {
  double first = 0;
  double step = 1;  ///< finite, not 0; negative where the axis falls
};

/// Points of a trace, as indexes.
struct PointRange {
  std::size_t begin = 0;
  std::size_t end = 0;  ///< behind the last
  std::size_t Size() const { return end - begin; }
};

/// The points of a trace from `from` to `to`, in any order, and one more on either side, so that a line through them
/// reaches the edges of the picture.
PointRange PointsBetween(const Axis& axis, std::size_t points, std::optional<double> from, std::optional<double> to);

/// A trace made as narrow as the picture that shows it.
struct Columns {
  bool whole = true;          ///< `values` are the points themselves; else a minimum and a maximum for each column
  std::uint32_t count = 0;    ///< of points or of columns
  double x = 0;               ///< of the first point, or of the first column's middle
  double step = 1;            ///< from one to the next
  std::vector<float> values;  ///< count, or twice as many
};

/// The points that a view shows: themselves where twice as many columns have room for them, else of each column the
/// smallest and the largest number, so that no peak is lost.
/// Shape    any length; at most 2 * view.columns values come out.
/// Numbers  infinities count, NaN does not; a column of nothing else is NaN, NaN. `without_negative` treats negative
///          numbers as NaN, as their decibels will be.      Threads  pure.
Columns Thin(std::span<const float> samples, const Axis& axis, const View& view, bool without_negative = false);

}  // namespace Lumenar::Web
