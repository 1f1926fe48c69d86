// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "services/topic_manager/SampleQueue.h"

namespace Lumenar {

using SteadyTime = std::chrono::steady_clock::time_point;

/// What became of one delivery.
enum class Outcome {
  Delivered,    ///< the subscriber answered, be it with an exception of its own
  TimedOut,     ///< no answer within the limit; the sample may arrive yet, so it is not sent again
  Unreachable,  ///< nobody is there; the sample was not delivered
  Interrupted,  ///< the connection broke; the sample may have been delivered, so it is not sent again
  Gone,         ///< the process is there, the subscriber is not
  NotTaken,     ///< it did not take the sample in a call for several: it gets it in one of its own
};

/// Where the samples of a subscription go.
class Subscriber {
 public:
  virtual ~Subscriber() = default;

  /// Blocks until the subscriber answered or the time limit ran out.
  virtual Outcome Deliver(const Corvanta::SampleRecord& sample) = 0;

  /// Whether the subscriber is there, asked within a time limit: Delivered, TimedOut, Unreachable or Gone.
  virtual Outcome Look(std::chrono::milliseconds /*limit*/) { return Outcome::Delivered; }

  /// One sample for some subscriptions of this subscriber's process.
  struct Shared {
    const Corvanta::SampleRecord* sample;
    std::vector<long> handles;
  };

  /// Whether a call to this subscriber can take samples for others of its process along.
  virtual bool TakesGroups() const { return false; }

  /// As Deliver, for several at once: the handles that did not take their sample go to `not_taken`; all the others
  /// share the outcome. What it throws it throws before anything is sent.
  virtual Outcome DeliverGroup(const std::vector<Shared>&, std::set<long>& /*not_taken*/) { return Outcome::NotTaken; }
};

/// A pause that doubles with each failure.
class Backoff {
 public:
  std::chrono::milliseconds Next(std::chrono::milliseconds first, std::chrono::milliseconds longest) {
    pause_ = pause_.count() == 0 ? first : std::min(2 * pause_, longest);
    return pause_;
  }
  void Reset() { pause_ = {}; }

 private:
  std::chrono::milliseconds pause_{0};
};

struct Subscription;
using SubscriptionPtr = boost::shared_ptr<Subscription>;

/// A process that has subscribers. A process that does not answer is held: its subscriptions are parked, and one at a
/// time tries whether it answers again. Those of a process that has never answered are parked as well, until it answers
/// a look.
struct Endpoint {
  explicit Endpoint(std::string its_address) : address(std::move(its_address)) {}

  const std::string address;
  std::set<long> handles;               ///< of its subscriptions
  std::multiset<SteadyTime> in_flight;  ///< when the deliveries under way began
  SteadyTime last_answer{};
  bool held = false;
  bool stalled = false;                    ///< held because a delivery ran into its time limit
  std::optional<SteadyTime> silent_since;  ///< the first of the deliveries that nothing has answered since
  SteadyTime held_until{};
  bool probe_due = false;  ///< the pause is over, and nobody was parked to try
  const Subscription* probe = nullptr;
  SteadyTime single_until{};  ///< a call for several took long: until then each subscription has calls of its own
  Backoff backoff;
  std::deque<SubscriptionPtr> parked;

  SteadyTime next_look{};
  bool looking = false;                         ///< a look is under way, or waits for its turn
  long looked_at = 0;                           ///< the handle that was looked at last
  std::optional<SteadyTime> unreachable_since;  ///< the first of the looks that found nobody
  Backoff look_backoff;
  Backoff look_limit;  ///< of its next look
};

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

}  // namespace Lumenar
