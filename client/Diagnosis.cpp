// SPDX-License-Identifier: Apache-2.0
#include "client/Diagnosis.h"

#include <algorithm>
#include <numeric>
#include <thread>
#include <utility>

#include "client/MathObjects.h"
#include "client/ObjectGraph.h"
#include "client/Text.h"
#include "client/TopicNames.h"
#include "client/amounts.h"
#include "client/diagnosis_parts.h"

namespace Lumenar::Client {
namespace {

constexpr std::size_t kMostSources = 100;  // readings that are looked at, each with calls to its engine

// What is found out about one request, step by step.
class Diagnosis {
 public:
  Diagnosis(Connection& connection, const DiagnosisRequest& request)
      : connection_(connection), request_(request), names_(connection, request.factory) {}

  std::vector<Finding> Run() {
    Take(ExamineSettings(connection_));
    Take(ExamineNaming(connection_, engines_));
    if (findings_.back().verdict == Verdict::Fails) return std::move(findings_);
    Take(ExamineTopicManager(connection_));
    has_manager_ = findings_.back().verdict != Verdict::Fails;
    if (has_manager_) Take(ExamineOwnSubscription(connection_));
    const bool everything = request_.reading.empty();
    if (everything) TakeAll(ExamineHwEnumeration(connection_));
    if (everything) ExamineEngines();
    ExamineMath();
    return std::move(findings_);
  }

 private:
  void Take(Finding finding) {
    finding.text = Line(finding.text);
    findings_.push_back(std::move(finding));
  }

  void TakeAll(std::vector<Finding> findings) {
    for (Finding& finding : findings) Take(std::move(finding));
  }

  // Errors of others come in their own bytes.
  static std::string Line(const std::string& text) {
    const bool clean =
        std::none_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; });
    return clean ? text : Printable(text);
  }

  void ExamineEngines() {
    for (const Engine& engine : engines_) Take(ExamineEngine(connection_, engine));
  }

  void ExamineMath() {
    std::vector<MathReport> reports;
    Reading reading;
    const auto ask = [&](Finding&) {
      const std::string text = request_.reading;
      const auto math = MathNameFromText(text, request_.factory);
      MathObjects objects(connection_, math ? math->engine : request_.factory);
      if (!text.empty()) reading = math ? objects.Result(math->id) : objects.Find(text);
      reports = objects.Reports();
      names_.Learn(objects.Engine(), reports);
    };
    Finding asked = Examined(request_.reading.empty() ? "math engine" : Printable(request_.reading),
                             "see what there is: mathctl engines, mathctl readings, mathctl list", ask);
    if (asked.verdict == Verdict::Fails) return AddEngineOf(std::move(asked));
    const NameOfTopic name = [this](const std::string& topic) { return names_.Of(topic); };
    ExamineGraph(ObjectGraph(reports, name), name, reading);
  }

  // What was asked for cannot be reached: its engine's finding says more, where there is one.
  void AddEngineOf(Finding asked) {
    Take(std::move(asked));
    if (request_.reading.empty()) return;
    for (const Engine& engine : engines_) {
      const bool concerned = engine.name == request_.factory || request_.reading.rfind(engine.name + '/', 0) == 0;
      if (concerned) Take(ExamineEngine(connection_, engine));
    }
  }

  void ExamineGraph(const ObjectGraph& graph, const NameOfTopic& name, const Reading& reading) {
    const bool everything = request_.reading.empty();
    const auto root = everything ? std::nullopt : graph.Find(reading.topic);
    std::vector<std::size_t> nodes;
    if (everything) {
      nodes.resize(graph.Nodes().size());
      std::iota(nodes.begin(), nodes.end(), std::size_t{0});
    } else if (root) {
      nodes = graph.Below(*root);
    }
    if (!everything) ExamineEngineOf(reading.topic);
    if (everything || (root && graph.Nodes()[*root].object)) {
      TakeAll(ExamineObjects(graph, nodes, name, !everything));
      if (has_manager_) Take(ExamineSubscriptions(connection_, graph, nodes));
    }
    std::vector<std::string> topics;
    for (const std::size_t node : nodes) {
      if (!graph.Nodes()[node].object) topics.push_back(graph.Nodes()[node].topic);
    }
    if (!everything && !root) topics.push_back(reading.topic);
    ExamineSources(topics, graph);
  }

  // The time since an object last got a sample of a reading, by the object that got the newest.
  static std::optional<std::chrono::duration<double>> LastHeard(const std::string& topic, const ObjectGraph& graph) {
    std::optional<std::chrono::duration<double>> newest;
    for (const GraphNode& node : graph.Nodes()) {
      if (!node.object) continue;
      for (const InputReport& input : node.object->inputs) {
        if (input.topic == topic && input.age && (!newest || *input.age < *newest)) newest = *input.age;
      }
    }
    return newest;
  }

  void ExamineSources(const std::vector<std::string>& topics, const ObjectGraph& graph) {
    if (topics.empty()) return;
    PublishedCounts before, after;
    if (has_manager_) {
      try {
        before = PublishedOf(connection_);
        std::this_thread::sleep_for(request_.count_for);
        after = PublishedOf(connection_);
      } catch (const Error&) {  // the manager's own finding tells
      }
    }
    const std::size_t asked = std::min(topics.size(), kMostSources);
    for (std::size_t i = 0; i < asked; ++i) {
      ExamineEngineOf(topics[i]);
      Take(ExamineSource(topics[i], engines_, before, after, LastHeard(topics[i], graph)));
    }
    if (asked < topics.size()) Take(SourcesLeftOut(topics.size() - asked));
  }

  static Finding SourcesLeftOut(std::size_t readings) {
    return {"readings", "", Verdict::Look, CountInWords(readings, "more reading") + ", which were not looked at",
            "look at those that matter: mathctl doctor READING"};
  }

  // Each engine once.
  void ExamineEngineOf(const std::string& topic) {
    for (const Engine& engine : engines_) {
      if (topic.rfind(engine.name + '/', 0) != 0) continue;
      const std::string part = "engine " + Printable(engine.name);
      const bool known =
          std::any_of(findings_.begin(), findings_.end(), [&](const Finding& finding) { return finding.part == part; });
      if (!known) Take(ExamineEngine(connection_, engine));
    }
  }

  Connection& connection_;
  const DiagnosisRequest& request_;
  TopicNames names_;
  std::vector<Finding> findings_;
  std::vector<Engine> engines_;
  bool has_manager_ = false;
};

}  // namespace

std::vector<Finding> Diagnose(Connection& connection, const DiagnosisRequest& request) {
  return Diagnosis(connection, request).Run();
}

}  // namespace Lumenar::Client
