// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "services/topic_manager/Endpoint.h"
#include "services/topic_manager/SampleQueue.h"
#include "services/topic_manager/Subscriber.h"

namespace Lumenar {

/// One subscription with its queue.
struct Subscription {
  enum class Place {
    Idle,        ///< nothing to deliver
    Ready,       ///< in the list of those that a worker may take
    Delivering,  ///< with a worker
    Pausing,     ///< waits for its own pause to end
    Parked,      ///< waits for its process
    Waiting,     ///< is to try its process, when fewer such tries are under way
    Removed,
  };

  Subscription(long its_handle, std::string its_topic, boost::shared_ptr<Subscriber> its_subscriber,
               boost::shared_ptr<Endpoint> its_endpoint, SampleQueue::Limits limits)
      : handle(its_handle),
        topic(std::move(its_topic)),
        subscriber(std::move(its_subscriber)),
        endpoint(std::move(its_endpoint)),
        queue(limits) {}

  /// Whether its next sample may go along in a call for several.
  bool MayGroup(SteadyTime now) const { return endpoint->MayGroup(now) && !single && subscriber->TakesGroups(); }

  const long handle;
  const std::string topic;
  const boost::shared_ptr<Subscriber> subscriber;
  const boost::shared_ptr<Endpoint> endpoint;

  SampleQueue queue;
  Place place = Place::Idle;
  bool stalled = false;
  bool single = false;  ///< its next sample comes in a call of its own
  Backoff backoff;
  std::optional<SteadyTime> silent_since;
  std::optional<SteadyTime> unreachable_since;
  std::uint64_t delivered = 0;
  std::uint64_t dropped = 0;
};

using SubscriptionPtr = boost::shared_ptr<Subscription>;

}  // namespace Lumenar
