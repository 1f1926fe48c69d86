// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <string_view>
#include <thread>
#include <utility>

#include "client/Computation.h"
#include "client/Duration.h"
#include "client/MathState.h"
#include "client/SourceFacts.h"
#include "client/Text.h"
#include "client/TopicNames.h"
#include "client/amounts.h"
#include "client/diagnosis_parts.h"

namespace Lumenar::Client {
namespace {

using Seconds_d = std::chrono::duration<double>;

constexpr std::string_view kReferenceEngine = "REFERENCE/";
constexpr std::size_t kMostShown = 20;               // of objects that are not well, each in a line of its own
constexpr Seconds_d kLongSilence{10};                // after which a reading counts as silent
constexpr std::chrono::milliseconds kRenewal{2500};  // in which subscriptions that were forgotten come back

std::string FirstInput(const ObjectGraph& graph, const GraphNode& node) {
  for (const std::size_t input : node.inputs) {
    if (graph.Nodes()[input].away || node.object->inputs.size() == 1) return graph.Nodes()[input].name;
  }
  for (std::size_t i = 0; i < node.inputs.size(); ++i) {
    if (node.object->inputs[i].samples == 0) return graph.Nodes()[node.inputs[i]].name;
  }
  return node.inputs.empty() ? node.name : graph.Nodes()[node.inputs[0]].name;
}

std::string RemedyFor(MathState state, const ObjectGraph& graph, const GraphNode& node) {
  switch (state) {
    case MathState::InputAway: return fmt::format("see its engine: mathctl doctor {}", FirstInput(graph, node));
    case MathState::Waiting:
    case MathState::Stale:
      return fmt::format("see why its input is silent: mathctl doctor {}", FirstInput(graph, node));
    case MathState::Refusing:
      return fmt::format("see its units and lengths: mathctl explain {0}; to begin anew: mathctl reset {0}", node.name);
    case MathState::Live: return "see what it refused: mathctl explain " + node.name;
  }
  return {};
}

Finding ExamineObject(const ObjectGraph& graph, const GraphNode& node, const NameOfTopic& name) {
  const MathReport& report = *node.object;
  const MathState state = StateOf(report);
  Finding finding;
  finding.part = node.name;
  finding.text = fmt::format("{}: {}", Printable(report.type), StateInWords(report, name));
  if (report.refused > 0)
    finding.text += fmt::format("; the last sample that it refused: {}", ReasonInWords(report.last_reason));
  const bool fails = state == MathState::InputAway || state == MathState::Refusing;
  if (state == MathState::Live && report.refused == 0) return finding;
  finding.verdict = fails ? Verdict::Fails : Verdict::Look;
  finding.remedy = RemedyFor(state, graph, node);
  return finding;
}

std::string FirstNames(std::vector<std::string> names) {
  const std::size_t more = names.size() - std::min(names.size(), kMostShown);
  names.resize(names.size() - more);
  return fmt::format("{}{}", fmt::join(names, ", "), more > 0 ? fmt::format(" and {} more", more) : "");
}

std::string PublishedInWords(const SourceFacts& facts, std::uint64_t samples, std::uint64_t all,
                             std::optional<Seconds_d> heard) {
  std::string text =
      fmt::format("{} between two looks, {} in all", CountInWords(samples, "sample"), WithThousands(all));
  if (facts.captured_ago) text += fmt::format(", captured {} ago", DurationText(*facts.captured_ago));
  if (!facts.captured_ago && heard) text += fmt::format(", the last {} ago", DurationText(*heard));
  return text;
}

// What `mathctl reference load` offers never changes.
bool IsReference(const std::string& topic) { return topic.starts_with(kReferenceEngine); }

bool IsSilent(const SourceFacts& facts, std::optional<Seconds_d> heard) {
  const bool changes_seldom = facts.kind == "long" || facts.kind == "enum" || facts.kind == "boolean";
  const bool captured_lately = facts.captured_ago && *facts.captured_ago < kLongSilence;
  return !changes_seldom && !captured_lately && !(heard && *heard < kLongSilence);
}

}  // namespace

std::vector<Finding> ExamineObjects(const ObjectGraph& graph, const std::vector<std::size_t>& nodes,
                                    const NameOfTopic& name, bool each) {
  std::vector<Finding> findings;
  std::size_t objects = 0, unwell = 0;
  for (const std::size_t number : nodes) {
    const GraphNode& node = graph.Nodes()[number];
    if (!node.object) continue;
    Finding finding = ExamineObject(graph, node, name);
    ++objects;
    unwell += finding.verdict == Verdict::Well ? 0 : 1;
    if (each || (finding.verdict != Verdict::Well && findings.size() < kMostShown))
      findings.push_back(std::move(finding));
  }
  if (each) return findings;
  Finding all;
  all.part = "math objects";
  all.text = CountInWords(objects, "math object");
  if (unwell > 0) all.text += fmt::format(", {} of them not well", WithThousands(unwell));
  if (unwell > findings.size()) {
    all.verdict = Verdict::Look;
    all.remedy = "see all of them: mathctl list";
  }
  findings.insert(findings.begin(), std::move(all));
  return findings;
}

ObjectSubscriptions MatchSubscriptions(const ObjectGraph& graph, const std::vector<std::size_t>& nodes,
                                       const std::vector<SubscriptionView>& subscriptions) {
  std::map<std::pair<std::int32_t, std::string>, std::uint64_t> known;
  for (const SubscriptionView& one : subscriptions) known[{one.handle, one.topic}] = one.dropped;
  ObjectSubscriptions found;
  for (const std::size_t number : nodes) {
    const GraphNode& node = graph.Nodes()[number];
    if (!node.object) continue;
    bool stands = true;
    for (const InputReport& input : node.object->inputs) {
      const auto subscription = known.find({input.handle, input.topic});
      stands = stands && subscription != known.end();
      if (subscription != known.end()) found.dropped += subscription->second;
    }
    if (!stands) found.without.push_back(node.name);
  }
  return found;
}

Finding ExamineSubscriptions(Connection& connection, const ObjectGraph& graph, const std::vector<std::size_t>& nodes) {
  const std::string remedy =
      "they come back by themselves once the engine reaches this topic manager; if they do not, start the engine again";
  return Examined("subscriptions of the math objects", remedy, [&](Finding& finding) {
    ObjectSubscriptions found = MatchSubscriptions(graph, nodes, SubscriptionsOf(connection));
    const bool missed = !found.without.empty();
    if (missed) {  // a manager that was started without its file gets them again within seconds
      std::this_thread::sleep_for(kRenewal);
      found = MatchSubscriptions(graph, nodes, SubscriptionsOf(connection));
    }
    if (!found.without.empty()) {
      throw Error(ErrorKind::NotFound,
                  fmt::format("the topic manager has none for {}: it was started without its state file, or the engine "
                              "uses another one",
                              FirstNames(found.without)));
    }
    finding.text = "all stand at the topic manager";
    if (found.dropped == 0) return;
    finding.verdict = Verdict::Look;
    finding.text += fmt::format("; {} dropped on the way to the math engine", CountInWords(found.dropped, "sample"));
    finding.remedy = "see which: mathctl subscriptions; topic_manager --queue N keeps more";
  });
}

Finding ExamineSource(const std::string& topic, const std::vector<Engine>& engines, const PublishedCounts& before,
                      const PublishedCounts& after, std::optional<Seconds_d> heard) {
  const std::string name = Printable(topic);
  const SourceFacts facts = AskSource(topic, engines);
  Finding finding = Examined("reading " + name, "", [&](Finding& found) {
    if (!facts.problem.empty()) {
      found.remedy = facts.engine.empty() ? RestartRemedy(ReadingOfTopic(topic).engine)
                                          : "see what there is: mathctl engines, mathctl readings";
      found.verdict = Verdict::Fails;
      found.text = facts.problem;
      return;
    }
    const auto first = before.find(topic), last = after.find(topic);
    if (last == after.end()) {
      found.text = "the topic manager has had no sample of it since it was started";
    } else {
      const std::uint64_t earlier = first == before.end() ? 0 : std::min(first->second, last->second);
      found.text = PublishedInWords(facts, last->second - earlier, last->second, heard);
      if (last->second > earlier) return;
    }
    if (IsReference(topic)) found.text = "a stored reference, which does not change";
    if (IsReference(topic) || !IsSilent(facts, heard)) return;
    found.verdict = Verdict::Look;
    found.remedy = fmt::format("see whether the instrument measures: mathctl watch {}", name);
  });
  finding.address = Printable(facts.address);
  return finding;
}

}  // namespace Lumenar::Client
