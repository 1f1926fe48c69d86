// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "BASIC_TRACE.hh"

namespace Lumenar::Mathctl {

/// A trace to be drawn, with the name of its curve.
struct Curve {
  std::string name;
  Corvanta::BASIC_TRACE::BT_DATA trace;
};

/// A gnuplot script that draws the curves into a PNG file: one panel a unit, in order of first use; the horizontal axis
/// is the point's number, because a trace does not tell the unit of its step. No text of a name or path can become a
/// command.
/// Errors   Error BadArgument for a path with control characters.
std::string PlotScript(const std::vector<Curve>& curves, const std::string& output);

}  // namespace Lumenar::Mathctl
