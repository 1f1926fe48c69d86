// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "client/MathObjects.h"
#include "client/MathState.h"

namespace Lumenar::Client {

/// A math object, or a reading that one computes from.
struct GraphNode {
  std::string name;                  ///< for people: "math:3", "PROBE/1/LEVEL"; printable
  std::string topic;                 ///< on which its samples are published
  std::optional<MathReport> object;  ///< nothing for a reading of an instrument
  bool away = false;                 ///< the engine that publishes it does not answer, as an object over it has found
  std::vector<std::size_t> inputs;   ///< numbers of nodes, in the object's order
  std::size_t users = 0;             ///< how often objects have it as an input
};

/// What is computed from what: the math objects of an engine and the readings that they have as inputs.
class ObjectGraph {
 public:
  /// An object's input is another's RESULT where the topics are the same. The nodes are the objects, ascending by id,
  /// then the readings in order of first use. `name` gives a topic's name for people; without one an object is "math:3"
  /// and a reading its topic.
  explicit ObjectGraph(const std::vector<MathReport>& reports, const NameOfTopic& name = {});

  const std::vector<GraphNode>& Nodes() const { return nodes_; }

  /// The node of a topic; nothing when no object publishes it or has it as an input.
  std::optional<std::size_t> Find(const std::string& topic) const;

  /// A node and all that it is computed from, down to the instruments: each once, itself first, every object before its
  /// inputs.
  std::vector<std::size_t> Below(std::size_t root) const;

 private:
  std::size_t NodeOf(const InputReport& input, const NameOfTopic& name);

  std::vector<GraphNode> nodes_;
  std::map<std::string, std::size_t> by_topic_;
};

}  // namespace Lumenar::Client
