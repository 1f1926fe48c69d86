// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/LookQueue.h"

#include <utility>

namespace Lumenar {

void LookQueue::At(const EndpointPtr& endpoint, SteadyTime moment) {
  endpoint->LookAgainAt(moment);
  moments_.emplace(moment, endpoint);
}

void LookQueue::Now(const EndpointPtr& endpoint) {
  if (endpoint->BeginLookNow()) first_.push_back(endpoint);
}

void LookQueue::Again(const EndpointPtr& endpoint) {
  endpoint->LookOn();
  due_.push_back(endpoint);
}

void LookQueue::Advance(SteadyTime now) {
  while (!moments_.empty() && moments_.begin()->first <= now) {
    const EndpointPtr endpoint = moments_.begin()->second;
    moments_.erase(moments_.begin());
    if (endpoint->BeginDueLook(now)) due_.push_back(endpoint);
  }
}

std::optional<SteadyTime> LookQueue::NextMoment() const {
  if (moments_.empty()) return std::nullopt;
  return moments_.begin()->first;
}

LookQueue::EndpointPtr LookQueue::Take() {
  if (!first_.empty()) return TakeFirst();
  const EndpointPtr endpoint = std::move(due_.front());
  due_.pop_front();
  return endpoint;
}

/// The newest and the oldest in turn: neither does one that comes behind many mute ones wait for all of them, nor the
/// other way round.
LookQueue::EndpointPtr LookQueue::TakeFirst() {
  newest_first_ = !newest_first_;
  const EndpointPtr endpoint = std::move(newest_first_ ? first_.back() : first_.front());
  newest_first_ ? first_.pop_back() : first_.pop_front();
  return endpoint;
}

}  // namespace Lumenar
