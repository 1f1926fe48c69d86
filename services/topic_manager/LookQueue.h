// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <map>
#include <optional>

#include "services/topic_manager/Endpoint.h"

namespace Lumenar {

/// The processes that are to be looked at, in their order: those that have to answer before anything is sent to them,
/// then those whose moment has come.
/// Threads   the caller's lock.
class LookQueue {
 public:
  using EndpointPtr = boost::shared_ptr<Endpoint>;

  /// A look when the moment comes.
  void At(const EndpointPtr& endpoint, SteadyTime moment);

  /// A look at a process that samples wait for, unless one is under way, or was in vain.
  void Now(const EndpointPtr& endpoint);

  /// Another look at a process that was looked at just now.
  void Again(const EndpointPtr& endpoint);

  /// Wakes those whose moment has come.
  void Advance(SteadyTime now);

  /// When Advance has something to do next.
  std::optional<SteadyTime> NextMoment() const;

  bool Empty() const { return first_.empty() && due_.empty(); }

  /// The next process, which may have no subscription any more; the queue must not be empty.
  EndpointPtr Take();

 private:
  EndpointPtr TakeFirst();

  std::multimap<SteadyTime, EndpointPtr> moments_;
  std::deque<EndpointPtr> first_;  ///< not looked at yet, so that those that answer go before all the others
  bool newest_first_ = false;
  std::deque<EndpointPtr> due_;
};

}  // namespace Lumenar
