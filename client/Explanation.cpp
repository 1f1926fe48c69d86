// SPDX-License-Identifier: Apache-2.0
#include "client/Explanation.h"

#include <map>
#include <thread>
#include <utility>

#include "client/MathState.h"
#include "client/ObjectGraph.h"
#include "client/diagnosis_parts.h"
#include "platform/records/Records.h"

namespace Lumenar::Client {
namespace {

// Empty when the topic manager is away: the explanation is without rates then.
PublishedCounts CountsNow(Connection& connection) {
  try {
    return PublishedOf(connection);
  } catch (const Error&) {
    return {};
  }
}

void CountSamples(Connection& connection, std::chrono::milliseconds count_for, Explanation& explanation) {
  const auto begun = std::chrono::steady_clock::now();
  const PublishedCounts before = CountsNow(connection);
  if (before.empty()) return;
  std::this_thread::sleep_for(count_for);
  const PublishedCounts after = CountsNow(connection);
  explanation.counted_over = std::chrono::steady_clock::now() - begun;
  for (ExplainedNode& node : explanation.nodes) {
    const auto first = before.find(node.topic), last = after.find(node.topic);
    if (node.object || first == before.end() || last == after.end() || last->second < first->second) continue;
    node.source.emplace();
    node.source->published = last->second;
    node.source->rate = static_cast<double>(last->second - first->second) / explanation.counted_over.count();
  }
}

Operand OperandOf(const ExplainedNode& node) {
  Operand operand{node.name, std::nullopt, false, std::nullopt};
  if (node.object) {
    operand.is_trace = node.object->kind == "BasicTrace";
    if (node.object->points > 0) operand.units = VALUE::UnitsFromCorba(node.object->units);
  } else if (node.source) {
    operand.is_trace = node.source->kind == "BasicTrace";
    operand.units = node.source->units;
    operand.number = node.source->number;
  }
  return operand;
}

void Compute(Explanation& explanation, const NameOfTopic& name) {
  for (ExplainedNode& node : explanation.nodes) {
    if (!node.object) continue;
    std::vector<Operand> inputs;
    for (const std::size_t input : node.inputs) inputs.push_back(OperandOf(explanation.nodes[input]));
    node.computation = ComputationOf(node.object->type, inputs, node.object->size);
    node.state = StateInWords(*node.object, name);
    if (node.object->refused > 0) node.last_refusal = ReasonInWords(node.object->last_reason);
  }
}

// The nodes of the graph that the explanation is about, in its order.
Explanation Chosen(const ObjectGraph& graph, const Reading& reading, TopicNames& names) {
  Explanation explanation;
  const auto root = graph.Find(reading.topic);
  if (!root) {
    explanation.nodes.push_back({names.Of(reading.topic), reading.topic, {}, {}, {}, {}, {}, {}});
    return explanation;
  }
  std::map<std::size_t, std::size_t> places;
  const std::vector<std::size_t> numbers = graph.Below(*root);
  for (const std::size_t number : numbers) places.emplace(number, places.size());
  for (const std::size_t number : numbers) {
    const GraphNode& node = graph.Nodes()[number];
    ExplainedNode explained{node.name, node.topic, node.object, {}, {}, {}, {}, {}};
    for (const std::size_t input : node.inputs) {
      if (const auto place = places.find(input); place != places.end()) explained.inputs.push_back(place->second);
    }
    explanation.nodes.push_back(std::move(explained));
  }
  return explanation;
}

}  // namespace

Explanation Explain(Connection& connection, MathObjects& objects, const Reading& reading, TopicNames& names,
                    std::chrono::milliseconds count_for) {
  const std::vector<MathReport> reports = objects.Reports();
  names.Learn(objects.Engine(), reports);
  const NameOfTopic name = [&names](const std::string& topic) { return names.Of(topic); };
  Explanation explanation = Chosen(ObjectGraph(reports, name), reading, names);
  CountSamples(connection, count_for, explanation);
  const std::vector<Engine> engines = connection.Engines();
  for (ExplainedNode& node : explanation.nodes) {
    if (node.object) continue;
    SourceFacts facts = AskSource(node.topic, engines);
    if (node.source) {
      facts.published = node.source->published;
      facts.rate = node.source->rate;
    }
    node.source = std::move(facts);
  }
  Compute(explanation, name);
  return explanation;
}

}  // namespace Lumenar::Client
