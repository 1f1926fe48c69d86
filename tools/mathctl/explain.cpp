// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "client/Duration.h"
#include "client/Explanation.h"
#include "client/Text.h"
#include "client/amounts.h"
#include "platform/base/Diagnostic.h"
#include "platform/records/Records.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

using Client::CountInWords;
using Client::DurationText;
using Client::ExplainedNode;
using Client::Explanation;
using Client::Printable;
using Client::RateInWords;
using Json = nlohmann::ordered_json;

struct ExplainArguments {
  std::string reading;
  double count_s = 1;
};

std::string SymbolsOfUnits(const std::optional<Value::Units>& units) {
  return units ? UnitsForPeople(VALUE::UnitsToCorba(*units)) : "";
}

double ResultRate(const Client::MathReport& report) {
  return report.interval.count() > 0 ? 1 / report.interval.count() : 0;
}

std::string StateOfObject(const ExplainedNode& node) {
  const Client::MathReport& report = *node.object;
  std::string text = Printable(report.type);
  if (report.size > 0) text += fmt::format(", {} of {} samples are in", report.filled, report.size);
  text += ": " + node.state;
  if (report.points > 0)
    text += fmt::format("; {} in {}", CountInWords(report.points, "point"), UnitsForPeople(report.units));
  text += "; " + CountInWords(report.results, "result");
  if (report.age) text += fmt::format(", the last {} ago", DurationText(*report.age));
  if (ResultRate(report) > 0) text += fmt::format(", {} (as the object counts)", RateInWords(ResultRate(report)));
  return text;
}

void ExplainObject(const ExplainedNode& node) {
  const Client::MathReport& report = *node.object;
  WriteOut(fmt::format("{} = {}", node.name, node.computation.words));
  WriteOut("  " + node.computation.formula);
  WriteOut("  " + StateOfObject(node));
  for (const std::string& conversion : node.computation.conversions) WriteOut("  " + conversion);
  if (!node.computation.obstacle.empty()) WriteOut("  cannot be computed: " + node.computation.obstacle);
  if (report.refused > 0)
    WriteOut(fmt::format("  refused {}, the last: {}", CountInWords(report.refused, "sample"), node.last_refusal));
}

std::string CaptureInWords(std::chrono::duration<double> ago) {
  return ago.count() < 0 ? fmt::format("captured {} ahead of this machine's clock", DurationText(-ago))
                         : fmt::format("captured {} ago", DurationText(ago));
}

std::string SourceInWords(const Client::SourceFacts& source, std::chrono::duration<double> counted_over) {
  std::string text = Printable(source.kind);
  if (source.kind == "BasicTrace") text = CountInWords(source.points, "point");
  if (source.number) text += fmt::format(" {}", *source.number);
  if (source.units) text += " in " + SymbolsOfUnits(source.units);
  if (source.rate) {
    const std::string rate = *source.rate > 0 ? RateInWords(*source.rate) : "no sample";
    text += fmt::format(", {} (as the topic manager counted over {})", rate, DurationText(counted_over));
  }
  if (source.captured_ago) text += ", " + CaptureInWords(*source.captured_ago);
  return text;
}

void ExplainSource(const ExplainedNode& node, const Explanation& explanation) {
  const Client::SourceFacts& source = *node.source;
  const std::string engine =
      source.engine.empty() ? "" : fmt::format("engine {} at {}", Printable(source.engine), Printable(source.address));
  if (!source.problem.empty()) {
    WriteOut(fmt::format("{}: away ({}){}{}", node.name, source.problem, engine.empty() ? "" : "; ", engine));
  } else {
    WriteOut(fmt::format("{}: {}, {}", node.name, SourceInWords(source, explanation.counted_over), engine));
  }
}

Json InputNames(const ExplainedNode& node, const Explanation& explanation) {
  Json names = Json::array();
  for (const std::size_t input : node.inputs) names.push_back(explanation.nodes[input].name);
  return names;
}

Json JsonOfObject(const ExplainedNode& node, const Explanation& explanation) {
  const Client::MathReport& report = *node.object;
  Json json{{"name", node.name}, {"topic", Printable(node.topic)}, {"type", Printable(report.type)}};
  json["inputs"] = InputNames(node, explanation);
  json["words"] = node.computation.words;
  json["formula"] = node.computation.formula;
  json["conversions"] = node.computation.conversions;
  json["obstacle"] = node.computation.obstacle;
  json["state"] = node.state;
  json["units"] = report.points > 0 ? UnitsForPeople(report.units) : "";
  json["points"] = report.points;
  json["size"] = report.size;
  json["filled"] = report.filled;
  json["results"] = report.results;
  json["per_second"] = ResultRate(report);
  if (report.age) json["age_s"] = std::chrono::duration<double>(*report.age).count();
  json["refused"] = report.refused;
  json["last_refusal"] = node.last_refusal;
  return json;
}

Json JsonOfSource(const ExplainedNode& node) {
  const Client::SourceFacts& source = *node.source;
  Json json{{"name", node.name}, {"topic", Printable(node.topic)}, {"kind", Printable(source.kind)}};
  json["problem"] = source.problem;
  json["engine"] = Printable(source.engine);
  json["address"] = Printable(source.address);
  json["units"] = SymbolsOfUnits(source.units);
  json["points"] = source.points;
  if (source.number) json["value"] = *source.number;
  if (source.published) json["published"] = *source.published;
  if (source.rate) json["per_second"] = *source.rate;
  if (source.captured_ago) json["captured_ago_s"] = source.captured_ago->count();
  return json;
}

void ExplainReading(const Session& session, const ExplainArguments& arguments) {
  const Client::Reading reading = session.Find(arguments.reading);
  const bool computed = Client::IsMathEngine(reading.name.engine);
  Client::MathObjects objects(session.connection, computed ? reading.name.engine : session.options.factory);
  Client::TopicNames names(session.connection, session.options.factory);
  const std::chrono::duration<double> count_for(arguments.count_s);
  const Explanation explanation = Client::Explain(session.connection, objects, reading, names,
                                                  std::chrono::ceil<std::chrono::milliseconds>(count_for));
  RowWriter writer(session.options, {});
  for (const ExplainedNode& node : explanation.nodes) {
    if (session.options.format != Format::Table) {
      writer.Add(node.object ? JsonOfObject(node, explanation) : JsonOfSource(node), {});
    } else if (node.object) {
      ExplainObject(node);
    } else {
      ExplainSource(node, explanation);
    }
  }
}

}  // namespace

void DefineExplain(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("explain", "Says in words and symbols what is computed, from what, and how it goes");
  verb->footer(
      "The object first, then what it is computed from, down to the readings of the instruments. Conversions are "
      "those\n"
      "of the units that the inputs have now. How often an instrument's reading comes is counted by the topic manager\n"
      "while the command waits (--count); how often an object's results come, by the object.\n"
      "\n"
      "Example: mathctl explain math:3");
  const auto arguments = std::make_shared<ExplainArguments>();
  verb->add_option("READING", arguments->reading, "A math object as math:3, or a reading")->required();
  verb->add_option("--count", arguments->count_s, "Count the samples for so many seconds")
      ->type_name("SEC")
      ->check(CheckSeconds)
      ->capture_default_str();
  verb->callback([&command, arguments] {
    command.run = [arguments](const Session& session) { ExplainReading(session, *arguments); };
  });
}

}  // namespace Lumenar::Mathctl
