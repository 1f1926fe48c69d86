// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "DDS.hh"
#include "client/Subscription.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {

/// Samples that did not come, or may not have come, to a subscription.
struct Loss {
  std::optional<std::size_t> source;  ///< of the subscription; nothing: of all
  std::uint64_t samples = 0;          ///< 0: nobody knows whether any
  std::string why;                    ///< of those that nobody knows of
  std::int64_t since_ns = 0;          ///< up to here nothing was missing
};

/// Asks the topic manager now and then what became of the samples of a subscription: those that it dropped, those that
/// were on their way when it was started again, those that were published while it had forgotten the subscription. An
/// engine may have its subscriptions back later than this one: what it lost until the look after is told by that look.
/// Threads   one.
class LossWatch {
 public:
  /// From now on; all sources have been added. Both must outlive it.
  /// Errors   Client::Error when the manager does not answer.
  LossWatch(const Session& session, Client::Subscription& subscription);

  /// Whether it is time to look again: each second, and seldomer where a look takes long.
  bool IsDue() const { return std::chrono::steady_clock::now() >= next_look_; }

  /// What was lost since the last look. A manager that does not answer is asked again the next time.
  std::vector<Loss> Look();

  /// The same for the last time: a manager that does not answer may have lost samples.
  std::vector<Loss> LastLook();

 private:
  struct Dropped {
    std::int32_t handle = 0;
    std::uint64_t samples = 0;
  };

  std::vector<Loss> LookAtAll();
  void TakeRenewed(std::vector<Loss>& losses);
  bool TakeDropped(const Corvanta::SubscriptionStatusSeq& all, std::vector<Loss>& losses);
  bool WasRestarted(std::uint64_t epoch);

  const Session& session_;
  Client::Subscription& subscription_;
  std::map<std::size_t, Dropped> dropped_;  // by source
  std::optional<std::uint64_t> epoch_;      // of the manager's subscriptions
  bool others_come_back_ = false;           // the manager had been started again at the last look
  std::int64_t good_ns_;                    // all subscriptions stood then, and nothing was missing that was not told
  std::chrono::steady_clock::time_point next_look_;
};

/// The time now, in nanoseconds since the epoch.
std::int64_t NowNs();

}  // namespace Lumenar::Mathctl
