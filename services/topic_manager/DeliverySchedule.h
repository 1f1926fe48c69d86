// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "services/topic_manager/LookQueue.h"
#include "services/topic_manager/Subscription.h"

namespace Lumenar {

/// Decides which sample goes to which subscriber next. Pure bookkeeping: it starts nothing and asks no clock.
///
/// A subscription has one delivery under way at most, so that its samples stay in order. A subscriber that ran into the
/// time limit loses that sample and pauses, 0.1 s doubling to 2 s. When nothing of its process answered meanwhile, the
/// whole process is held and tried by one subscription at a time; the same, sooner, when several deliveries to a
/// process are stuck, so that a stopped process does not occupy a worker for each of its subscriptions. A subscriber
/// that cannot be reached is tried for 3 s and then dropped; one that no longer exists, at once; one that never answers
/// (its machine was switched off, say), after 10 minutes, with all others of its process.
///
/// Each process is looked at once a minute besides, whatever its topics do: one of its subscribers is asked whether it
/// is there, each in turn. So those that died on a silent topic are dropped, too. A process that has never answered is
/// looked at before its first sample is sent; so is, while many calls are stuck, each that has not answered since they
/// began. The first look at a process that does not answer is short, the next ones are longer. Only so many looks, and
/// tries of held processes, are under way at a time: whoever answers finds workers, however many do not.
/// Threads   the caller's lock.
class DeliverySchedule {
 public:
  using Limits = DeliveryLimits;

  struct Delivery {
    SubscriptionPtr subscription;
    SamplePtr sample;  ///< null for a look at the process
    SteadyTime begun;
    bool leads = true;                       ///< speaks for the call; the others of a group go along
    bool grouped = false;                    ///< one of several in a call
    bool tries = false;                      ///< whether a held process answers
    std::chrono::milliseconds look_limit{};  ///< of a look
  };

  explicit DeliverySchedule(Limits limits) : limits_(limits) {}
  DeliverySchedule(const DeliverySchedule&) = delete;
  DeliverySchedule& operator=(const DeliverySchedule&) = delete;

  void Add(long handle, const std::string& topic, const std::string& address, boost::shared_ptr<Subscriber> subscriber,
           SteadyTime now);

  /// False for an unknown handle. No delivery of the subscription begins any more; its waiting samples move to `freed`.
  bool Remove(long handle, std::vector<SamplePtr>& freed);

  /// Queues a sample for all subscribers of its topic.
  void Publish(const std::string& topic, const SamplePtr& sample, std::vector<SamplePtr>& freed);

  /// The next delivery, which has then begun; nothing when no subscription is ready.
  std::optional<Delivery> Next(SteadyTime now);

  /// As Next, together with others that are ready in the same process, when it takes samples for several in one call
  /// and none of them has to wait for a call of its own. The first leads. Empty when no subscription is ready.
  std::vector<Delivery> NextGroup(SteadyTime now);

  /// The next look at a process, which has then begun; nothing when none is due, or enough are under way.
  std::optional<Delivery> NextLook(SteadyTime now);

  /// Ends a delivery or a look; the one that leads a group last. The subscriptions that are dropped for it; they are
  /// removed.
  std::vector<SubscriptionPtr> Finish(const Delivery& delivery, Outcome outcome, SteadyTime now,
                                      std::vector<SamplePtr>& freed);

  /// Wakes what waits for a moment up to `now`.
  void Advance(SteadyTime now);

  /// When Advance has something to do next.
  std::optional<SteadyTime> NextMoment() const;

  bool HasReady() const { return !ready_.empty() || HasLook(); }

  /// The deliveries under way that are stuck.
  std::size_t Stuck(SteadyTime now) const;

  const std::map<long, SubscriptionPtr>& Subscriptions() const { return subscriptions_; }

 private:
  using EndpointPtr = boost::shared_ptr<Endpoint>;

  bool HasLook() const { return looks_in_flight_ < limits_.looks && !looks_.Empty(); }
  bool IsDoubtful(const Endpoint& endpoint, SteadyTime now) const;
  std::vector<SubscriptionPtr> FinishLook(const Delivery& look, Outcome outcome, SteadyTime now);
  std::vector<SubscriptionPtr> LookedInVain(const Delivery& look, Outcome outcome, SteadyTime now);
  std::vector<SubscriptionPtr> AllOf(const Endpoint& endpoint) const;
  bool MustWait(const SubscriptionPtr& subscription);
  void EndTry();
  /// Nothing of it is under way any more: it waits for a sample, or goes on with one that waits.
  void WaitOrGoOn(const SubscriptionPtr& subscription) {
    subscription->place = Subscription::Place::Idle;
    if (!subscription->queue.Empty()) Schedule(subscription);
  }
  void Schedule(const SubscriptionPtr& subscription);
  void MakeReady(const SubscriptionPtr& subscription);
  void Park(const SubscriptionPtr& subscription);
  void Pause(const SubscriptionPtr& subscription, SteadyTime until);
  void ParkUntilLook(const SubscriptionPtr& subscription);
  bool MustPark(const SubscriptionPtr& subscription, SteadyTime now);
  Delivery Begin(const SubscriptionPtr& subscription, SteadyTime now);
  void EndCall(const Delivery& delivery, Outcome outcome, SteadyTime now);
  void EndCallAnswered(const Delivery& call, Outcome outcome, SteadyTime now);
  void EndCallUnanswered(const Delivery& call, SteadyTime now);
  void Hold(const EndpointPtr& endpoint, SteadyTime until);
  void Release(const EndpointPtr& endpoint);
  void Try(Endpoint& endpoint);
  std::vector<SubscriptionPtr> Lost(const Delivery& delivery, Outcome outcome, SteadyTime now,
                                    std::vector<SamplePtr>& freed);
  bool Settle(const Delivery& delivery, Outcome outcome, SteadyTime now, std::vector<SamplePtr>& freed);
  static void PutBack(const Delivery& delivery, std::vector<SamplePtr>& freed);
  bool SettleTimedOut(const Delivery& delivery, SteadyTime now);
  bool SettleUnreachable(const Delivery& delivery, Outcome outcome, SteadyTime now, std::vector<SamplePtr>& freed);

  const Limits limits_;  // the endpoints refer to it
  std::map<long, SubscriptionPtr> subscriptions_;
  std::unordered_map<std::string, std::map<long, SubscriptionPtr>> by_topic_;  ///< by handle
  std::map<std::string, EndpointPtr> endpoints_;
  std::deque<SubscriptionPtr> ready_;
  std::multimap<SteadyTime, SubscriptionPtr> pauses_;
  std::multimap<SteadyTime, EndpointPtr> holds_;
  std::multiset<SteadyTime> in_flight_;
  LookQueue looks_;
  std::size_t looks_in_flight_ = 0;
  std::deque<SubscriptionPtr> waiting_;  ///< for their turn to try their processes
  std::size_t tries_in_flight_ = 0;
};

}  // namespace Lumenar
