// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "client/Connection.h"
#include "platform/dds/DDS_BaseObj.h"
#include "platform/orb/GivingBack.h"
#include "platform/records/SampleRecord.h"

namespace Lumenar::Client {

/// Samples of one source that its reader was too slow for.
struct LostSamples {
  std::size_t source = 0;
  std::uint64_t samples = 0;
};

/// One sample as it came.
struct Delivery {
  std::size_t source = 0;  ///< index of its reading, in order of Add
  std::chrono::system_clock::time_point time;
  Corvanta::SampleRecord record;
  std::vector<LostSamples> lost = {};  ///< what was lost between the delivery before and this one
};

/// The samples of some readings, in the order of their arrival, from the moment of Add on.
///
/// A reader that is too slow loses the oldest samples, counted, never the newest. Ends its subscriptions when
/// destroyed, and by itself when the ORB shuts down. Must go before its Connection.
/// Threads  any; Add one at a time, and not beside Handles.
class Subscription {
 public:
  explicit Subscription(Connection& connection);
  ~Subscription();
  Subscription(const Subscription&) = delete;
  Subscription& operator=(const Subscription&) = delete;

  /// Errors   Error Unreachable when the topic manager does not answer.
  void Add(const Reading& reading);

  /// The next sample; nothing when `limit`, a year at most, ran out or the subscription ended.
  std::optional<Delivery> Next(std::chrono::milliseconds limit);

  /// After the end, what had come and was not read yet, one by one; nothing when that was all.
  std::optional<Delivery> Unread();

  /// Wakes the reader for good. The ORB's shutdown does it too.
  void End() noexcept;
  bool Ended() const;

  /// The sources whose subscriptions the topic manager had lost and has been given again since this was asked last;
  /// what was published meanwhile did not come.
  std::vector<std::size_t> TakeRenewed();

  /// Samples lost because Next was not called often enough.
  unsigned long long Lost() const;

  /// The topic manager's handles of the subscriptions now, in order of Add.
  std::vector<std::int32_t> Handles() const;

  /// Something to do, in place of what was set before, when a sample has come and when the subscription ends: for
  /// readers that cannot wait in Next. It runs on the thread that delivers, so it must neither block nor call this
  /// object; once this has returned, the one before does not run any more.
  void OnArrival(std::function<void()> arrived);

 private:
  class Queue;
  class Subscriber;
  struct Entry;
  void Drop(Entry& entry, const Corvanta::GivingBack& giving_back) noexcept;

  void RequireManager();

  std::shared_ptr<Queue> queue_;
  Connection& connection_;
  Corvanta::ORB_base& orb_;
  Corvanta::DdsBaseAccess& topics_;
  std::vector<Entry> entries_;
  long shutdown_token_ = 0;
};

}  // namespace Lumenar::Client
