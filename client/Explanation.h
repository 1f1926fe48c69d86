// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "client/Computation.h"
#include "client/Connection.h"
#include "client/MathObjects.h"
#include "client/SourceFacts.h"
#include "client/TopicNames.h"

namespace Lumenar::Client {

/// A math object, or a reading at the end of the road.
struct ExplainedNode {
  std::string name;  ///< for people, printable: "math:3", "PROBE/1/LEVEL"
  std::string topic;
  std::optional<MathReport> object;
  std::string state;                  ///< of an object, as StateInWords
  Computation computation;            ///< of an object
  std::string last_refusal;           ///< of an object: why it refused a sample; empty when it refused none
  std::optional<SourceFacts> source;  ///< of a reading of an instrument
  std::vector<std::size_t> inputs;    ///< numbers of nodes, in the object's order
};

/// What a result is computed from, down to the instruments.
struct Explanation {
  std::vector<ExplainedNode> nodes;  ///< what was asked for first, every object before its inputs, each once
  std::chrono::duration<double> counted_over{0};  ///< between the two looks at the published counts
};

/// Explains a reading or a math object's RESULT; `objects` are those of the engine that may have it. Takes `count_for`,
/// in which samples are counted.
/// Errors   those of remote calls to the naming service and the math engine; what is away besides shows in its node.
Explanation Explain(Connection& connection, MathObjects& objects, const Reading& reading, TopicNames& names,
                    std::chrono::milliseconds count_for);

}  // namespace Lumenar::Client
