// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "DDS.hh"
#include "platform/orb/ORB_wrapper.h"

namespace Lumenar::Model {

/// Knows from the topic manager's own counters whether samples are under way. Since the engine publishes its results
/// inside the call that delivers a sample, nothing is under way any more when every subscription has had what was
/// published since.
class TopicTraffic {
 public:
  explicit TopicTraffic(Corvanta::ORB_wrapper& orb) : orb_(orb) {}

  /// Looks the topic manager up again and begins to count. To be called while nothing is under way.
  void Restart();

  /// Takes in subscriptions that are new. To be called while nothing is under way to them.
  void Register();

  bool IsQuiet() const;

 private:
  using Published = std::map<std::string, std::uint64_t>;
  Published PublishedNow() const;
  static std::uint64_t Had(const Corvanta::SubscriptionStatus& status) { return status.delivered + status.dropped; }

  Corvanta::ORB_wrapper& orb_;
  Corvanta::DDS_Manager_var manager_;
  std::map<long, std::uint64_t> missed_;  ///< by handle: what was published before it stood
};

}  // namespace Lumenar::Model
