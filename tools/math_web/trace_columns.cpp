// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/trace_columns.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace Lumenar::Web {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct Extremes {
  float smallest;
  float largest;
};

/// Lanes side by side, so that the compiler uses the processor's vectors: a comparison with NaN is false, so NaN never
/// gets in.
template <bool kWithoutNegative>
Extremes ExtremesOf(std::span<const float> samples) {
  constexpr std::size_t kLanes = 8;
  std::array<float, kLanes> low, high;
  low.fill(kInfinity);
  high.fill(-kInfinity);
  const auto take = [&](std::size_t lane, float sample) {
    if (kWithoutNegative) sample = sample < 0 ? kNaN : sample;
    low[lane] = sample < low[lane] ? sample : low[lane];
    high[lane] = sample > high[lane] ? sample : high[lane];
  };
  std::size_t i = 0;
  for (; i + kLanes <= samples.size(); i += kLanes)
    for (std::size_t lane = 0; lane < kLanes; ++lane) take(lane, samples[i + lane]);
  for (; i < samples.size(); ++i) take(0, samples[i]);
  const Extremes found{*std::min_element(low.begin(), low.end()), *std::max_element(high.begin(), high.end())};
  return found.smallest <= found.largest ? found : Extremes{kNaN, kNaN};
}

/// An index on the axis, no farther outside the trace than one point.
double IndexAt(const Axis& axis, double x, double points) {
  return std::clamp((x - axis.first) / axis.step, -2.0, points + 1);
}

double At(const Axis& axis, double index) { return axis.first + index * axis.step; }

Columns WholePoints(std::span<const float> samples, const Axis& axis, const PointRange& range) {
  Columns columns;
  columns.count = static_cast<std::uint32_t>(range.Size());
  columns.x = At(axis, static_cast<double>(range.begin));
  columns.step = axis.step;
  const auto shown = samples.subspan(range.begin, range.Size());
  columns.values.assign(shown.begin(), shown.end());
  return columns;
}

}  // namespace

PointRange PointsBetween(const Axis& axis, std::size_t points, std::optional<double> from, std::optional<double> to) {
  const auto count = static_cast<double>(points);
  double first = from ? IndexAt(axis, *from, count) : (axis.step > 0 ? 0 : count);
  double last = to ? IndexAt(axis, *to, count) : (axis.step > 0 ? count : 0);
  if (first > last) std::swap(first, last);
  const double begin = std::clamp(std::floor(first), 0.0, count);
  const double end = std::clamp(std::ceil(last) + 1, begin, count);
  return {static_cast<std::size_t>(begin), static_cast<std::size_t>(end)};
}

Columns Thin(std::span<const float> samples, const Axis& axis, const View& view, bool without_negative) {
  const PointRange range = PointsBetween(axis, samples.size(), view.from, view.to);
  if (range.Size() <= std::size_t{2} * view.columns || view.columns == 0)
    return view.columns == 0 ? Columns{} : WholePoints(samples, axis, range);
  Columns columns;
  columns.whole = false;
  columns.count = view.columns;
  const double width = static_cast<double>(range.Size()) / view.columns;  // in points
  columns.x = At(axis, static_cast<double>(range.begin) + (width - 1) / 2);
  columns.step = axis.step * width;
  columns.values.reserve(std::size_t{2} * view.columns);
  for (std::size_t column = 0; column < view.columns; ++column) {
    const std::size_t begin = range.begin + column * range.Size() / view.columns;
    const std::size_t end = range.begin + (column + 1) * range.Size() / view.columns;
    const auto part = samples.subspan(begin, end - begin);
    const Extremes found = without_negative ? ExtremesOf<true>(part) : ExtremesOf<false>(part);
    columns.values.push_back(found.smallest);
    columns.values.push_back(found.largest);
  }
  return columns;
}

}  // namespace Lumenar::Web
