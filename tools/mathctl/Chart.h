// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "BASIC_TRACE.hh"

namespace Lumenar::Mathctl {

/// What stands along the horizontal axis of a curve.
enum class Along {
  Points,  ///< the number of the point, from 0
  Unit,    ///< a quantity of a unit that the trace tells
  Time,    ///< seconds since the first sample of a history
};

/// One curve to be drawn: the points of a trace, or the history of a scalar.
struct Curve {
  std::string name;   ///< for people; printable
  std::string units;  ///< of the values, for people
  Along along = Along::Points;
  std::uint32_t x_unit = 0;    ///< for Along::Unit, its number (VALUE_UNITS)
  double x_step = 1;           ///< the distance of two neighbouring points, in that unit without prefix
  std::vector<double> at;      ///< where each value stands; empty: at x_step times its number
  std::vector<double> values;  ///< those that are not finite leave a gap
  std::vector<double> low;     ///< ends of the error band of each value; both empty: there is none
  std::vector<double> high;
  std::chrono::system_clock::time_point from;  ///< capture of the trace, or arrival of the first sample; 0: not known
  std::chrono::system_clock::time_point to;    ///< the same, or arrival of the last sample

  double X(std::size_t i) const { return at.empty() ? x_step * static_cast<double>(i) : at[i]; }
};

/// A trace as a curve; along the axis that its header tells, else along the number of its points.
Curve CurveOfTrace(const std::string& name, const Corvanta::BASIC_TRACE::BT_DATA& trace);

/// At most about `most` points of a curve, among them the smallest and the greatest of each stretch, and the gaps.
Curve Thinned(Curve curve, std::size_t most);

struct Range {
  double low = 0;
  double high = 1;
  double Length() const { return high - low; }
};

/// The curves of one unit over one kind of axis.
struct Panel {
  std::string units;
  std::string axis;  ///< what stands below the axis, as "time (us)"
  Range x;           ///< of all panels over this axis
  Range y;           ///< with some room above and below the curves
  std::vector<std::size_t> curves;
  bool shares_axis = false;  ///< the next panel is over the same axis
};

/// A picture before it is drawn.
struct Chart {
  std::string title;          ///< when the curves were captured; empty where no trace tells
  std::vector<Curve> curves;  ///< with horizontal numbers in the unit that the axis shows
  std::vector<Panel> panels;  ///< those over one axis behind each other, else in order of first use
};

Chart ChartOf(std::vector<Curve> curves);

/// A round distance (1, 2 or 5 times a power of ten) that divides a range into at most `most` parts.
double TickStep(const Range& range, int most);

/// The multiples of `step` in a range, ascending.
std::vector<double> TicksOf(const Range& range, double step);

/// A multiple of `step`, with as many digits as tell it from its neighbours.
std::string TickText(double tick, double step);

}  // namespace Lumenar::Mathctl
