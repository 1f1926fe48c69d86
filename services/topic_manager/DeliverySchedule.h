#pragma once

#include <map>
#include <unordered_map>
#include <vector>

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
/// Threads   the caller's lock.
class DeliverySchedule {
 public:
  struct Limits {
    SampleQueue::Limits queue;
    std::chrono::milliseconds patience{20};             ///< a delivery that takes longer counts as stuck
    std::size_t stuck_deliveries = 4;                   ///< so many stuck at a process hold it
    std::chrono::milliseconds stuck_pause{500};         ///< until a process held so is tried
    std::chrono::milliseconds first_pause{100};
    std::chrono::milliseconds longest_pause{2000};
    std::chrono::milliseconds unreachable_limit{3000};  ///< then an unreachable subscriber is dropped
    std::chrono::milliseconds silence_limit{600000};    ///< then one that does not answer is dropped
    std::size_t group = 8;                              ///< so many subscriptions in one call; more of them leave threads idle
    std::size_t group_bytes = 128u << 10;               ///< and so much to be worked on in it
    std::chrono::milliseconds single_pause{1000};       ///< without calls for several, after one that took longer than patience
  };

  struct Delivery {
    SubscriptionPtr subscription;
    SamplePtr sample;
    SteadyTime begun;
    bool leads = true;     ///< speaks for the call; the others of a group go along
    bool grouped = false;  ///< one of several in a call
  };

  explicit DeliverySchedule(Limits limits) : limits_(limits) {}
  ~DeliverySchedule();
  DeliverySchedule(const DeliverySchedule&) = delete;
  DeliverySchedule& operator=(const DeliverySchedule&) = delete;

  void Add(long handle, const std::string& topic, const std::string& address, boost::shared_ptr<Subscriber> subscriber);

  /// False for an unknown handle. No delivery of the subscription begins any more; its waiting samples move to `freed`.
  bool Remove(long handle, std::vector<SamplePtr>& freed);

  /// Queues a sample for all subscribers of its topic.
  void Publish(const std::string& topic, const SamplePtr& sample, std::vector<SamplePtr>& freed);

  /// The next delivery, which has then begun; nothing when no subscription is ready.
  std::optional<Delivery> Next(SteadyTime now);

  /// As Next, together with others that are ready in the same process, when it takes samples for several in one call and none of
  /// them has to wait for a call of its own. The first leads. Empty when no subscription is ready.
  std::vector<Delivery> NextGroup(SteadyTime now);

  /// Ends a delivery; the one that leads a group last. The subscriptions that are dropped for it; they are removed.
  std::vector<SubscriptionPtr> Finish(const Delivery& delivery, Outcome outcome, SteadyTime now,
                                      std::vector<SamplePtr>& freed);

  /// Wakes what waits for a moment up to `now`.
  void Advance(SteadyTime now);

  /// When Advance has something to do next.
  std::optional<SteadyTime> NextMoment() const;

  bool HasReady() const { return !ready_.empty(); }

  /// The deliveries under way that are stuck.
  std::size_t Stuck(SteadyTime now) const;

  std::size_t SubscriberCount(const std::string& topic) const;
  const std::map<long, SubscriptionPtr>& Subscriptions() const { return subscriptions_; }

 private:
  using EndpointPtr = boost::shared_ptr<Endpoint>;

  void Schedule(const SubscriptionPtr& subscription);
  void MakeReady(const SubscriptionPtr& subscription);
  void Park(const SubscriptionPtr& subscription);
  void Pause(const SubscriptionPtr& subscription, SteadyTime until);
  static bool PassesHold(const Subscription& subscription);
  bool MustPark(const Subscription& subscription, SteadyTime now);
  Delivery Begin(const SubscriptionPtr& subscription, SteadyTime now);
  bool MayGroup(const Subscription& subscription, SteadyTime now) const;
  void EndCall(const Delivery& delivery, Outcome outcome, SteadyTime now);
  void EndpointAnswered(const EndpointPtr& endpoint, Outcome outcome, SteadyTime now);
  void EndpointTimedOut(const EndpointPtr& endpoint, const Delivery& delivery, SteadyTime now);
  void Hold(const EndpointPtr& endpoint, SteadyTime until);
  void Release(const EndpointPtr& endpoint);
  void Probe(const EndpointPtr& endpoint);
  std::vector<SubscriptionPtr> Lost(const Delivery& delivery, Outcome outcome, SteadyTime now,
                                    std::vector<SamplePtr>& freed);
  bool Settle(const Delivery& delivery, Outcome outcome, SteadyTime now, std::vector<SamplePtr>& freed);
  static void PutBack(const Delivery& delivery, std::vector<SamplePtr>& freed);
  bool SettleUnreachable(const Delivery& delivery, Outcome outcome, SteadyTime now, std::vector<SamplePtr>& freed);

  const Limits limits_;
  std::map<long, SubscriptionPtr> subscriptions_;
  std::unordered_map<std::string, std::vector<SubscriptionPtr>> by_topic_;
  std::map<std::string, EndpointPtr> endpoints_;
  std::deque<SubscriptionPtr> ready_;
  std::multimap<SteadyTime, SubscriptionPtr> pauses_;
  std::multimap<SteadyTime, EndpointPtr> holds_;
  std::multiset<SteadyTime> in_flight_;
};

}  // namespace Lumenar
