// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "client/MathState.h"
#include "client/ObjectGraph.h"

namespace Lumenar::Mathctl {

/// The graph as trees: each result that nobody computes with, and below it what it is computed from. What stands twice is
/// written out once; what lies deeper than 32 steps goes on in a tree of its own. `name` gives
/// the names of topics in states, as StateInWords; `ascii`: without characters of boxes.
std::vector<std::string> GraphText(const Client::ObjectGraph& graph, const Client::NameOfTopic& name, bool ascii);

/// The graph in the DOT language.
std::string GraphDot(const Client::ObjectGraph& graph, const Client::NameOfTopic& name);

}  // namespace Lumenar::Mathctl
