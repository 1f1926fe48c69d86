// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <set>
#include <vector>

#include "platform/records/SampleRecord.h"

namespace Lumenar {

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

}  // namespace Lumenar
