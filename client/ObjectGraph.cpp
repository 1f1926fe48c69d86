// SPDX-License-Identifier: Apache-2.0
#include "client/ObjectGraph.h"

#include <fmt/format.h>

#include "client/Text.h"

namespace Lumenar::Client {

ObjectGraph::ObjectGraph(const std::vector<MathReport>& reports, const NameOfTopic& name) {
  nodes_.reserve(reports.size());
  for (const MathReport& report : reports) {
    by_topic_.emplace(report.result_topic, nodes_.size());
    const std::string text = name ? name(report.result_topic) : fmt::format("math:{}", report.id);
    nodes_.push_back({text, report.result_topic, report, false, {}, 0});
  }
  for (std::size_t i = 0; i < reports.size(); ++i) {
    for (const InputReport& input : reports[i].inputs) {
      const std::size_t node = NodeOf(input, name);
      nodes_[i].inputs.push_back(node);
      nodes_[node].away = nodes_[node].away || input.away;
      ++nodes_[node].users;
    }
  }
}

std::size_t ObjectGraph::NodeOf(const InputReport& input, const NameOfTopic& name) {
  const auto [place, is_new] = by_topic_.emplace(input.topic, nodes_.size());
  const std::string text = !is_new ? "" : name ? name(input.topic) : Printable(input.topic);
  if (is_new) nodes_.push_back({text, input.topic, std::nullopt, false, {}, 0});
  return place->second;
}

std::optional<std::size_t> ObjectGraph::Find(const std::string& topic) const {
  const auto found = by_topic_.find(topic);
  return found == by_topic_.end() ? std::nullopt : std::optional(found->second);
}

// An object takes its place when all that use it have theirs; so it is counted how often each is used below the root.
std::vector<std::size_t> ObjectGraph::Below(std::size_t root) const {
  std::vector<std::size_t> uses(nodes_.size(), 0), reached{root};
  std::vector<bool> seen(nodes_.size(), false);
  seen[root] = true;
  for (std::size_t i = 0; i < reached.size(); ++i) {
    for (const std::size_t input : nodes_[reached[i]].inputs) {
      ++uses[input];
      if (!seen[input]) reached.push_back(input);
      seen[input] = true;
    }
  }
  std::vector<std::size_t> ordered{root};
  for (std::size_t i = 0; i < ordered.size(); ++i) {
    for (const std::size_t input : nodes_[ordered[i]].inputs) {
      if (--uses[input] == 0) ordered.push_back(input);
    }
  }
  return ordered;
}

}  // namespace Lumenar::Client
