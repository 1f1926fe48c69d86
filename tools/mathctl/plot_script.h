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

/// A gnuplot script that draws the curves into a PNG file: one panel for each unit and horizontal axis, in order of first
/// use, all of one width. The horizontal axis is the point's number where a trace does not tell step and unit of its
/// axis, else that quantity. Above stands when the first curve was captured, where its trace tells. No text of a name or
/// path can become a command.
/// Errors   Error BadArgument for a path with control characters.
std::string PlotScript(const std::vector<Curve>& curves, const std::string& output);

}  // namespace Lumenar::Mathctl
