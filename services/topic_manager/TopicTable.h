// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "services/topic_manager/Sample.h"

namespace Lumenar {

/// The topics with their last samples. Bounded in number and in memory: for a new topic or sample the topics go that
/// nobody subscribes to, the longest unpublished first. Those have a limit of their own: readings that come and go
/// leave their topics behind, and nothing else says that a topic is of no use any more.
/// Threads   the caller's lock.
class TopicTable {
 public:
  struct Limits {
    std::size_t topics =
        311000;  ///< as many as there may be subscriptions, each to another topic, and those without subscribers
    std::size_t bytes = 128u << 20;   ///< of last samples
    std::size_t unsubscribed = 1000;  ///< of the topics, those without subscribers
  };

  struct Status {
    std::string topic;
    std::uint64_t published;
    std::size_t subscribers;
  };

  explicit TopicTable(Limits limits) : limits_(limits) {}

  /// Notes a publication; false when the table is full of topics with subscribers. What is no longer held goes to
  /// `freed`, so that the caller frees it outside its lock.
  bool Published(const std::string& topic, const SamplePtr& sample, std::vector<SamplePtr>& freed);

  /// Notes a subscription; false when the table is full.
  bool Subscribed(const std::string& topic, std::vector<SamplePtr>& freed);
  void Unsubscribed(const std::string& topic, std::vector<SamplePtr>& freed);

  /// Null when there was no sample, or when it had to go.
  SamplePtr Last(const std::string& topic) const;

  std::vector<Status> All() const;
  std::size_t Bytes() const { return bytes_; }

 private:
  struct Topic;
  using Topics = std::map<std::string, Topic>;
  struct Topic {
    SamplePtr last;
    std::uint64_t published = 0;
    std::size_t subscribers = 0;
    std::list<Topics::iterator>::iterator place;  ///< in unwatched_, while there are no subscribers
  };

  Topics::iterator FindOrAdd(const std::string& topic, std::vector<SamplePtr>& freed);
  void Forget(Topics::iterator topic, std::vector<SamplePtr>& freed);
  void DropLast(Topic& topic, std::vector<SamplePtr>& freed);
  void ForgetBeyondLimits(Topics::iterator newest, std::vector<SamplePtr>& freed);
  bool IsBeyondLimits() const { return bytes_ > limits_.bytes || unwatched_.size() > limits_.unsubscribed; }

  Limits limits_;
  Topics topics_;
  std::list<Topics::iterator> unwatched_;  ///< topics without subscribers, the longest unpublished first
  std::size_t bytes_ = 0;
};

}  // namespace Lumenar
