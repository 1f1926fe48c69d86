// SPDX-License-Identifier: Apache-2.0
#include "client/TopicNames.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "client/Error.h"
#include "client/MathName.h"

namespace Lumenar::Client {

ReadingName ReadingOfTopic(const std::string& topic) {
  const std::size_t slash = topic.rfind('/');
  const std::size_t item = slash == std::string::npos ? 0 : slash + 1;
  const std::string engine = topic.substr(0, slash == std::string::npos ? 0 : slash);
  // Only a math engine marks its topics: what an instrument calls its readings is its own affair.
  const std::size_t mark = IsMathEngine(engine) ? topic.find('@', item) : std::string::npos;
  return {engine, topic.substr(item, mark == std::string::npos ? mark : mark - item)};
}

TopicNames::TopicNames(Connection& connection, std::string factory)
    : connection_(connection), factory_(std::move(factory)) {}

void TopicNames::Learn(const std::string& engine, const std::vector<MathReport>& reports) {
  if (Knows(engine, reports)) return;
  if (!asked_.insert(engine).second) {
    for (auto result = results_.begin(); result != results_.end();)
      result = result->second.engine == engine ? results_.erase(result) : std::next(result);
  }
  learned_[engine] = reports.size();
  results_.reserve(results_.size() + reports.size());
  for (const MathReport& report : reports) results_[report.result_topic] = {engine, report.id};
}

// Objects come and go much more rarely than reports of them.
bool TopicNames::Knows(const std::string& engine, const std::vector<MathReport>& reports) const {
  const auto learned = learned_.find(engine);
  if (learned == learned_.end() || learned->second != reports.size()) return false;
  return std::all_of(reports.begin(), reports.end(), [&](const MathReport& report) {
    const auto known = results_.find(report.result_topic);
    return known != results_.end() && known->second.id == report.id && known->second.engine == engine;
  });
}

void TopicNames::LearnFrom(const std::string& engine) {
  if (!IsMathEngine(engine) || !asked_.insert(engine).second) return;
  try {
    Learn(engine, MathObjects(connection_, engine).Reports());
  } catch (const Error&) {  // away: what it offers is known by the readings' names alone
  }
}

std::string TopicNames::Of(const std::string& topic) {
  const ReadingName reading = ReadingOfTopic(topic);
  LearnFrom(reading.engine);
  const auto result = results_.find(topic);
  if (result != results_.end()) return MathText(result->second, factory_);
  const bool is_result = reading.item.rfind("RESULT", 0) == 0;
  return FullName(reading) + (is_result && learned_.count(reading.engine) != 0 ? " (gone)" : "");
}

}  // namespace Lumenar::Client
