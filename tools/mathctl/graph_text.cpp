// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/graph_text.h"

#include <fmt/format.h>

#include <deque>
#include <iterator>
#include <utility>

#include "client/Text.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

using Client::GraphNode;
using Client::Printable;

// What stands in front of a line, by its place among the inputs.
struct BranchSigns {
  const char *between, *last, *beside, *below;
};
constexpr BranchSigns kBoxSigns{"├─ ", "└─ ", "│  ", "   "};
constexpr BranchSigns kAsciiBranches{"|- ", "`- ", "|  ", "   "};

std::string NodeTypeText(const Client::MathReport& object) {
  const std::string size = object.size > 0 ? fmt::format(" {}", object.size) : "";
  return Printable(object.type) + size;
}

std::string NodeWords(const GraphNode& node, const Client::NameOfTopic& name) {
  if (!node.object) return node.name + (node.away ? ": away" : "");
  const std::string units = node.object->points > 0 ? " in " + UnitsForPeople(node.object->units) : "";
  return fmt::format("{} {}{}: {}", node.name, NodeTypeText(*node.object), units,
                     Client::StateInWords(*node.object, name));
}

// Writes trees without recursion, whose depth others decide.
class TreeWriter {
 public:
  TreeWriter(const Client::ObjectGraph& graph, const Client::NameOfTopic& name, const BranchSigns& signs)
      : graph_(graph), name_(name), signs_(signs), written_(graph.Nodes().size(), false) {}

  std::vector<std::string> Write() {
    for (std::size_t i = 0; i < graph_.Nodes().size(); ++i) {
      if (graph_.Nodes()[i].object && graph_.Nodes()[i].users == 0) roots_.push_back(i);
    }
    while (!roots_.empty()) {
      WriteTree(roots_.front());
      roots_.pop_front();
    }
    return std::move(lines_);
  }

 private:
  struct Step {
    std::size_t node;
    std::string front;   // of its own line
    std::string margin;  // of the lines of its inputs
    int depth;
  };

  void WriteTree(std::size_t root) {
    if (written_[root]) return;
    std::vector<Step> steps{{root, "", "", 0}};
    while (!steps.empty()) {
      const Step step = std::move(steps.back());
      steps.pop_back();
      WriteStep(step, steps);
    }
  }

  void WriteStep(const Step& step, std::vector<Step>& steps) {
    constexpr int kDeepest = 32;
    const GraphNode& node = graph_.Nodes()[step.node];
    const bool has_more = !node.inputs.empty();
    if (has_more && written_[step.node]) return AddLine(step, node.name + " (see above)");
    if (has_more && step.depth >= kDeepest) {
      roots_.push_back(step.node);
      return AddLine(step, node.name + " (see below)");
    }
    written_[step.node] = true;
    AddLine(step, NodeWords(node, name_));
    for (auto input = node.inputs.rbegin(); input != node.inputs.rend(); ++input) {
      const bool last = input == node.inputs.rbegin();
      steps.push_back({*input, step.margin + (last ? signs_.last : signs_.between),
                       step.margin + (last ? signs_.below : signs_.beside), step.depth + 1});
    }
  }

  void AddLine(const Step& step, const std::string& words) { lines_.push_back(step.front + words); }

  const Client::ObjectGraph& graph_;
  const Client::NameOfTopic& name_;
  const BranchSigns& signs_;
  std::vector<bool> written_;
  std::deque<std::size_t> roots_;
  std::vector<std::string> lines_;
};

std::string InDotQuotes(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
  return quoted + "\"";
}

// The label of a node, a line for each part.
std::string DotLabel(const GraphNode& node, const Client::NameOfTopic& name) {
  if (!node.object) return InDotQuotes(NodeWords(node, name));
  std::string label = InDotQuotes(node.name + " " + NodeTypeText(*node.object));
  label.pop_back();
  const std::string units = node.object->points > 0 ? UnitsForPeople(node.object->units) + ", " : "";
  const std::string state = InDotQuotes(units + Client::StateInWords(*node.object, name));
  return label + "\\n" + state.substr(1);
}

const char* DotStyle(const GraphNode& node) {
  const bool well = node.object ? Client::StateOf(*node.object) == Client::MathState::Live : !node.away;
  if (!well) return node.object ? "shape=ellipse, color=red" : "shape=box, color=red";
  return node.object ? "shape=ellipse" : "shape=box";
}

}  // namespace

std::vector<std::string> GraphText(const Client::ObjectGraph& graph, const Client::NameOfTopic& name, bool ascii) {
  return TreeWriter(graph, name, ascii ? kAsciiBranches : kBoxSigns).Write();
}

std::string GraphDot(const Client::ObjectGraph& graph, const Client::NameOfTopic& name) {
  std::string text = "digraph objects {\n  rankdir=LR;\n";
  const auto out = std::back_inserter(text);
  for (std::size_t i = 0; i < graph.Nodes().size(); ++i) {
    const GraphNode& node = graph.Nodes()[i];
    fmt::format_to(out, "  n{} [label={}, {}];\n", i, DotLabel(node, name), DotStyle(node));
    for (const std::size_t input : node.inputs) fmt::format_to(out, "  n{} -> n{};\n", input, i);
  }
  return text + "}\n";
}

}  // namespace Lumenar::Mathctl
