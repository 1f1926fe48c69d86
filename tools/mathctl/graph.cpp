// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "client/MathState.h"
#include "client/Text.h"
#include "client/TopicNames.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/graph_text.h"
#include "tools/mathctl/picture_file.h"
#include "tools/mathctl/plot_terminal.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

using Client::ObjectGraph;
using Client::Printable;

struct GraphArguments {
  std::string output;
  bool ascii = false;
  bool dot = false;
};

nlohmann::ordered_json JsonOfNode(const Client::GraphNode& node, const ObjectGraph& graph,
                                  const Client::NameOfTopic& name) {
  nlohmann::ordered_json inputs = nlohmann::ordered_json::array();
  for (const std::size_t input : node.inputs) inputs.push_back(graph.Nodes()[input].name);
  return {{"name", node.name},
          {"topic", Printable(node.topic)},
          {"type", node.object ? Printable(node.object->type) : ""},
          {"inputs", inputs},
          {"units", node.object && node.object->points > 0 ? UnitsForPeople(node.object->units) : ""},
          {"state", node.object ? Client::StateInWords(*node.object, name)
                    : node.away ? "away"
                                : ""},
          {"users", node.users}};
}

void WriteGraphFile(const Session& session, const std::string& dot, const std::string& path) {
  if (EndsAs(path, ".dot")) {
    WriteWhole(path, dot);
  } else {
    WriteWhole(path, Drawn({"dot", EndsAs(path, ".svg") ? "-Tsvg" : "-Tpng"}, dot, "graphviz"));
  }
  const std::string file = Printable(path);
  if (!session.options.quiet) WriteOut(session.options.Json() ? OneLine({{"file", file}}) : file);
}

void DrawGraph(const Session& session, const GraphArguments& arguments) {
  if (!arguments.output.empty()) RequireWritable(arguments.output);
  Client::MathObjects objects = session.Objects();
  const std::vector<Client::MathReport> reports = objects.Reports();
  Client::TopicNames names(session.connection, session.options.factory);
  names.Learn(objects.Engine(), reports);
  const Client::NameOfTopic name = [&names](const std::string& topic) { return names.Of(topic); };
  const ObjectGraph graph(reports, name);
  if (!arguments.output.empty()) return WriteGraphFile(session, GraphDot(graph, name), arguments.output);
  if (arguments.dot) {
    std::string dot = GraphDot(graph, name);
    dot.pop_back();
    return WriteOut(dot);
  }
  if (session.options.format == Format::Table) {
    for (const std::string& line : GraphText(graph, name, !FormOfOutput(arguments.ascii).utf8)) WriteOut(line);
    return;
  }
  RowWriter writer(session.options, {});
  for (const Client::GraphNode& node : graph.Nodes()) writer.Add(JsonOfNode(node, graph, name), {});
}

std::string CheckGraphFile(const std::string& path) {
  const bool known = EndsAs(path, ".dot") || EndsAs(path, ".svg") || EndsAs(path, ".png");
  return known ? "" : "a graph is a file whose name ends in .dot, .svg or .png";
}

}  // namespace

void DefineGraph(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("graph", "Draws which math object is computed from what");
  verb->footer(
      "A tree for each result that no other object computes with, down to the readings of the instruments. SVG and "
      "PNG\n"
      "are drawn by graphviz.\n"
      "\n"
      "Examples:\n"
      "  mathctl graph\n"
      "  mathctl graph --format dot | dot -Tpdf > graph.pdf\n"
      "  mathctl graph -o graph.svg");
  const auto arguments = std::make_shared<GraphArguments>();
  verb->add_option_function<std::string>(
          "--format",
          [&command, arguments](const std::string& format) {
            arguments->dot = format == "dot";
            command.options.format = format == "json" ? Format::Json : format == "csv" ? Format::Csv : Format::Table;
          },
          "As text, or as dot, json (one object a line) or csv")
      ->transform(CLI::IsMember({"table", "text", "dot", "json", "csv"}, CLI::ignore_case).description(""))
      ->type_name("FORMAT");
  verb->add_option("-o,--output", arguments->output, "Write this .dot, .svg or .png file")
      ->type_name("FILE")
      ->check(CheckGraphFile);
  verb->add_flag("--ascii", arguments->ascii, "No other characters than those of ASCII");
  verb->callback(
      [&command, arguments] { command.run = [arguments](const Session& session) { DrawGraph(session, *arguments); }; });
}

}  // namespace Lumenar::Mathctl
