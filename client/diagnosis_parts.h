// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "client/Diagnosis.h"
#include "client/MathState.h"
#include "client/ObjectGraph.h"

namespace Lumenar::Client {

// The parts of Diagnose, each of which gives its findings.

/// How a part is examined: what fails with an Error is its finding.
template <class Examine>
Finding Examined(const std::string& part, const std::string& remedy, Examine&& examine) {
  Finding finding;
  finding.part = part;
  try {
    examine(finding);
  } catch (const Error& error) {
    finding.verdict = Verdict::Fails;
    finding.text = error.what();
    finding.remedy = remedy;
  }
  return finding;
}

/// The topic manager's subscriptions, as it tells them.
struct SubscriptionView {
  std::int32_t handle = 0;
  std::string topic;
  std::string address;
  bool stalled = false;
  std::uint64_t dropped = 0;
};

/// What starts an engine again, by its registered name.
std::string RestartRemedy(const std::string& engine);

using PublishedCounts = std::map<std::string, std::uint64_t>;  ///< by topic

/// Errors   those of remote calls.
std::vector<SubscriptionView> SubscriptionsOf(Connection& connection);
PublishedCounts PublishedOf(Connection& connection);

Finding ExamineSettings(Connection& connection);
Finding ExamineNaming(Connection& connection, std::vector<Engine>& engines);
Finding ExamineTopicManager(Connection& connection);

/// Publishes a sample to a subscription of our own: does the topic manager reach this process?
Finding ExamineOwnSubscription(Connection& connection);

std::vector<Finding> ExamineHwEnumeration(Connection& connection);
Finding ExamineEngine(Connection& connection, const Engine& engine);

/// The math objects among these nodes of a graph: `each`, or those that are not well and one finding for the rest.
std::vector<Finding> ExamineObjects(const ObjectGraph& graph, const std::vector<std::size_t>& nodes,
                                    const NameOfTopic& name, bool each);

/// What the topic manager has of the subscriptions of some math objects.
struct ObjectSubscriptions {
  std::vector<std::string> without;  ///< names of objects that lack one
  std::uint64_t dropped = 0;         ///< samples of theirs
};

ObjectSubscriptions MatchSubscriptions(const ObjectGraph& graph, const std::vector<std::size_t>& nodes,
                                       const std::vector<SubscriptionView>& subscriptions);

/// Whether every input of these objects has its subscription at the topic manager.
Finding ExamineSubscriptions(Connection& connection, const ObjectGraph& graph, const std::vector<std::size_t>& nodes);

/// A reading of an instrument; `before` and `after` are two looks at the published counts, `heard` the time since an
/// object last got a sample of it.
Finding ExamineSource(const std::string& topic, const std::vector<Engine>& engines, const PublishedCounts& before,
                      const PublishedCounts& after, std::optional<std::chrono::duration<double>> heard);

}  // namespace Lumenar::Client
