// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/TopicTable.h"

#include <utility>

namespace Lumenar {

bool TopicTable::Published(const std::string& name, const SamplePtr& sample, std::vector<SamplePtr>& freed) {
  const Topics::iterator found = FindOrAdd(name, freed);
  if (found == topics_.end()) return false;
  Topic& topic = found->second;
  ++topic.published;
  DropLast(topic, freed);
  topic.last = sample;
  bytes_ += SampleBytes(*sample);
  if (topic.subscribers == 0) unwatched_.splice(unwatched_.end(), unwatched_, topic.place);
  ForgetBeyondLimits(found, freed);
  if (bytes_ > limits_.bytes) DropLast(topic, freed);
  return true;
}

bool TopicTable::Subscribed(const std::string& name, std::vector<SamplePtr>& freed) {
  const Topics::iterator found = FindOrAdd(name, freed);
  if (found == topics_.end()) return false;
  if (found->second.subscribers++ == 0) unwatched_.erase(found->second.place);
  return true;
}

void TopicTable::Unsubscribed(const std::string& name, std::vector<SamplePtr>& freed) {
  const Topics::iterator found = topics_.find(name);
  if (found == topics_.end() || found->second.subscribers == 0 || --found->second.subscribers > 0) return;
  if (found->second.published == 0) {
    topics_.erase(found);
    return;
  }
  found->second.place = unwatched_.insert(unwatched_.end(), found);
  ForgetBeyondLimits(found, freed);
}

SamplePtr TopicTable::Last(const std::string& name) const {
  const auto found = topics_.find(name);
  return found == topics_.end() ? nullptr : found->second.last;
}

std::vector<TopicTable::Status> TopicTable::All() const {
  std::vector<Status> all;
  all.reserve(topics_.size());
  for (const auto& [name, topic] : topics_) all.push_back({name, topic.published, topic.subscribers});
  return all;
}

TopicTable::Topics::iterator TopicTable::FindOrAdd(const std::string& name, std::vector<SamplePtr>& freed) {
  const Topics::iterator found = topics_.find(name);
  if (found != topics_.end()) return found;
  if (topics_.size() >= limits_.topics) {
    if (unwatched_.empty()) return topics_.end();
    Forget(unwatched_.front(), freed);
  }
  const Topics::iterator added = topics_.emplace(name, Topic()).first;
  added->second.place = unwatched_.insert(unwatched_.end(), added);
  return added;
}

void TopicTable::Forget(Topics::iterator topic, std::vector<SamplePtr>& freed) {
  DropLast(topic->second, freed);
  unwatched_.erase(topic->second.place);
  topics_.erase(topic);
}

void TopicTable::DropLast(Topic& topic, std::vector<SamplePtr>& freed) {
  if (topic.last == nullptr) return;
  bytes_ -= SampleBytes(*topic.last);
  freed.push_back(std::exchange(topic.last, nullptr));
}

/// Of the topics without subscribers all may go but the one that is in use at the moment.
void TopicTable::ForgetBeyondLimits(Topics::iterator newest, std::vector<SamplePtr>& freed) {
  while (IsBeyondLimits() && !unwatched_.empty() && unwatched_.front() != newest) Forget(unwatched_.front(), freed);
}

}  // namespace Lumenar
