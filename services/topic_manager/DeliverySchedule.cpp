#include "services/topic_manager/DeliverySchedule.h"

#include <algorithm>

namespace Lumenar {

using Place = Subscription::Place;

DeliverySchedule::~DeliverySchedule() {
  for (const auto& [address, endpoint] : endpoints_) endpoint->parked.clear();
}

void DeliverySchedule::Add(long handle, const std::string& topic, const std::string& address,
                           boost::shared_ptr<Subscriber> subscriber) {
  EndpointPtr& endpoint = endpoints_[address];
  if (endpoint == nullptr) endpoint = boost::shared_ptr<Endpoint>(new Endpoint(address));
  ++endpoint->subscriptions;
  const SubscriptionPtr subscription(new Subscription(handle, topic, std::move(subscriber), endpoint, limits_.queue));
  subscriptions_.emplace(handle, subscription);
  by_topic_[topic].push_back(subscription);
}

bool DeliverySchedule::Remove(long handle, std::vector<SamplePtr>& freed) {
  const auto found = subscriptions_.find(handle);
  if (found == subscriptions_.end()) return false;
  const SubscriptionPtr subscription = found->second;
  subscriptions_.erase(found);

  const bool was_ready = subscription->place == Place::Ready;
  subscription->place = Place::Removed;
  while (SamplePtr sample = subscription->queue.Pop()) freed.push_back(std::move(sample));

  const auto topic = by_topic_.find(subscription->topic);
  topic->second.erase(std::find(topic->second.begin(), topic->second.end(), subscription));
  if (topic->second.empty()) by_topic_.erase(topic);

  Endpoint& endpoint = *subscription->endpoint;
  if (--endpoint.subscriptions == 0) {
    endpoint.parked.clear();  // they hold the endpoint in turn
    endpoints_.erase(endpoint.address);
  }
  // A probe under way still speaks for its process when it ends; one that has not begun makes room for another.
  if (was_ready && endpoint.probe == subscription.get()) Probe(subscription->endpoint);
  return true;
}

void DeliverySchedule::Publish(const std::string& topic, const SamplePtr& sample, std::vector<SamplePtr>& freed) {
  const auto found = by_topic_.find(topic);
  if (found == by_topic_.end()) return;
  for (const SubscriptionPtr& subscription : found->second) {
    const std::size_t before = freed.size();
    subscription->queue.Push(sample, freed);
    subscription->dropped += freed.size() - before;
    if (subscription->place == Place::Idle) Schedule(subscription);
  }
}

/// Whether a held process lets this subscription pass, as the one that tries it.
bool DeliverySchedule::PassesHold(const Subscription& subscription) {
  Endpoint& endpoint = *subscription.endpoint;
  if (endpoint.probe_due) {
    endpoint.probe_due = false;
    endpoint.probe = &subscription;
  }
  return endpoint.probe == &subscription;
}

/// Finds the place of a subscription that has a sample and no reason of its own to wait.
void DeliverySchedule::Schedule(const SubscriptionPtr& subscription) {
  if (!subscription->endpoint->held || PassesHold(*subscription)) {
    MakeReady(subscription);
  } else {
    Park(subscription);
  }
}

void DeliverySchedule::MakeReady(const SubscriptionPtr& subscription) {
  subscription->place = Place::Ready;
  ready_.push_back(subscription);
}

void DeliverySchedule::Park(const SubscriptionPtr& subscription) {
  subscription->place = Place::Parked;
  subscription->endpoint->parked.push_back(subscription);
}

void DeliverySchedule::Pause(const SubscriptionPtr& subscription, SteadyTime until) {
  subscription->place = Place::Pausing;
  pauses_.emplace(until, subscription);
}

std::optional<DeliverySchedule::Delivery> DeliverySchedule::Next(SteadyTime now) {
  while (!ready_.empty()) {
    const SubscriptionPtr subscription = std::move(ready_.front());
    ready_.pop_front();
    if (subscription->place == Place::Removed) continue;
    if (MustPark(*subscription, now)) {
      Park(subscription);
      continue;
    }
    return Begin(subscription, now);
  }
  return std::nullopt;
}

std::vector<DeliverySchedule::Delivery> DeliverySchedule::NextGroup(SteadyTime now) {
  constexpr std::size_t kLookedAt = 64;  // of those that are ready: a long list is not searched for each call
  std::vector<Delivery> group;
  std::optional<Delivery> leader = Next(now);
  if (!leader) return group;
  group.push_back(std::move(*leader));
  const EndpointPtr endpoint = group.front().subscription->endpoint;
  if (!MayGroup(*group.front().subscription, now)) return group;
  std::size_t room = limits_.group_bytes - std::min(limits_.group_bytes, SampleBytes(*group.front().sample));
  for (std::size_t i = 0; i < std::min(ready_.size(), kLookedAt) && group.size() < limits_.group;) {
    const SubscriptionPtr subscription = ready_[i];
    const bool goes_along = subscription->place == Place::Ready && subscription->endpoint == endpoint && MayGroup(*subscription, now);
    const std::size_t bytes = goes_along ? SampleBytes(*subscription->queue.Front()) : 0;
    if (!goes_along || bytes > room) {
      ++i;
      continue;
    }
    room -= bytes;
    ready_.erase(ready_.begin() + static_cast<std::ptrdiff_t>(i));
    subscription->place = Place::Delivering;
    group.push_back({subscription, subscription->queue.Pop(), now, false, true});
  }
  group.front().grouped = group.size() > 1;
  return group;
}

bool DeliverySchedule::MayGroup(const Subscription& subscription, SteadyTime now) const {
  const Endpoint& endpoint = *subscription.endpoint;
  return !endpoint.held && endpoint.single_until <= now && !subscription.single && subscription.subscriber->TakesGroups();
}

/// Whether the process of a ready subscription stopped answering since it became ready.
bool DeliverySchedule::MustPark(const Subscription& subscription, SteadyTime now) {
  Endpoint& endpoint = *subscription.endpoint;
  if (endpoint.held) return !PassesHold(subscription);
  const auto silent = endpoint.in_flight.upper_bound(endpoint.last_answer);
  const auto count = static_cast<std::size_t>(std::distance(silent, endpoint.in_flight.end()));
  if (count < limits_.stuck_deliveries || now - *silent <= limits_.patience) return false;
  Hold(subscription.endpoint, now + limits_.stuck_pause);
  return true;
}

DeliverySchedule::Delivery DeliverySchedule::Begin(const SubscriptionPtr& subscription, SteadyTime now) {
  subscription->place = Place::Delivering;
  subscription->endpoint->in_flight.insert(now);
  in_flight_.insert(now);
  return {subscription, subscription->queue.Pop(), now};
}

std::vector<SubscriptionPtr> DeliverySchedule::Finish(const Delivery& delivery, Outcome outcome, SteadyTime now,
                                                      std::vector<SamplePtr>& freed) {
  if (delivery.leads) EndCall(delivery, outcome, now);
  const std::vector<SubscriptionPtr> lost = Lost(delivery, outcome, now, freed);
  for (const SubscriptionPtr& subscription : lost) Remove(subscription->handle, freed);
  return lost;
}

/// What the outcome of a call means for the process.
void DeliverySchedule::EndCall(const Delivery& delivery, Outcome outcome, SteadyTime now) {
  const EndpointPtr& endpoint = delivery.subscription->endpoint;
  endpoint->in_flight.erase(endpoint->in_flight.find(delivery.begun));
  in_flight_.erase(in_flight_.find(delivery.begun));
  if (delivery.grouped && now - delivery.begun > limits_.patience) endpoint->single_until = now + limits_.single_pause;
  if (outcome == Outcome::TimedOut) {
    EndpointTimedOut(endpoint, delivery, now);
  } else {
    EndpointAnswered(endpoint, outcome, now);
  }
}

/// The subscriptions whose subscriber has to be given up: that of the delivery, or all of a process that was silent for
/// too long.
std::vector<SubscriptionPtr> DeliverySchedule::Lost(const Delivery& delivery, Outcome outcome, SteadyTime now,
                                                    std::vector<SamplePtr>& freed) {
  const Endpoint* endpoint = delivery.subscription->endpoint.get();
  std::vector<SubscriptionPtr> lost;
  if (delivery.subscription->place != Place::Removed && Settle(delivery, outcome, now, freed)) {
    lost.push_back(delivery.subscription);
  }
  if (!endpoint->silent_since || now - *endpoint->silent_since < limits_.silence_limit) return lost;
  lost.clear();
  for (const auto& [handle, subscription] : subscriptions_) {
    if (subscription->endpoint.get() == endpoint) lost.push_back(subscription);
  }
  return lost;
}

/// What the outcome means for the subscription itself; true when it has to be dropped.
bool DeliverySchedule::Settle(const Delivery& delivery, Outcome outcome, SteadyTime now,
                              std::vector<SamplePtr>& freed) {
  Subscription& subscription = *delivery.subscription;
  switch (outcome) {
    case Outcome::Gone:
      return true;
    case Outcome::Unreachable:
    case Outcome::Interrupted:
      return SettleUnreachable(delivery, outcome, now, freed);
    case Outcome::TimedOut:
      ++subscription.dropped;
      subscription.stalled = true;
      subscription.unreachable_since.reset();
      if (!subscription.silent_since) subscription.silent_since = delivery.begun;
      if (now - *subscription.silent_since >= limits_.silence_limit) return true;
      Pause(delivery.subscription, now + subscription.backoff.Next(limits_.first_pause, limits_.longest_pause));
      return false;
    case Outcome::Delivered:
      ++subscription.delivered;
      subscription.stalled = subscription.single = false;
      subscription.silent_since.reset();
      subscription.unreachable_since.reset();
      subscription.backoff.Reset();
      subscription.place = Place::Idle;
      if (!subscription.queue.Empty()) Schedule(delivery.subscription);
      return false;
    case Outcome::NotTaken:
      PutBack(delivery, freed);
      subscription.single = true;
      subscription.place = Place::Idle;
      if (!subscription.queue.Empty()) Schedule(delivery.subscription);
      return false;
  }
  return false;
}

void DeliverySchedule::PutBack(const Delivery& delivery, std::vector<SamplePtr>& freed) {
  Subscription& subscription = *delivery.subscription;
  const std::size_t before = freed.size();
  subscription.queue.PutBack(delivery.sample, freed);
  subscription.dropped += freed.size() - before;
}

bool DeliverySchedule::SettleUnreachable(const Delivery& delivery, Outcome outcome, SteadyTime now,
                                         std::vector<SamplePtr>& freed) {
  Subscription& subscription = *delivery.subscription;
  subscription.silent_since.reset();
  if (outcome == Outcome::Interrupted) {
    ++subscription.dropped;
  } else {
    PutBack(delivery, freed);
  }
  if (subscription.queue.Empty()) {  // nothing to try it with: the time begins with the next sample
    subscription.unreachable_since.reset();
    subscription.backoff.Reset();
    subscription.place = Place::Idle;
    return false;
  }
  if (!subscription.unreachable_since) subscription.unreachable_since = now;
  const SteadyTime end = *subscription.unreachable_since + limits_.unreachable_limit;
  if (now >= end) return true;
  Pause(delivery.subscription,
        std::min(end, now + subscription.backoff.Next(limits_.first_pause, limits_.longest_pause)));
  return false;
}

void DeliverySchedule::EndpointAnswered(const EndpointPtr& endpoint, Outcome outcome, SteadyTime now) {
  if (outcome != Outcome::Unreachable && outcome != Outcome::Interrupted) endpoint->last_answer = now;
  // One that cannot be reached is released as well: it fails fast, and each subscription has its own limit for that.
  Release(endpoint);
}

void DeliverySchedule::EndpointTimedOut(const EndpointPtr& endpoint, const Delivery& delivery, SteadyTime now) {
  const bool was_probe = endpoint->probe == delivery.subscription.get();
  if (endpoint->last_answer > delivery.begun) {  // the process lives: only this subscriber hangs
    if (was_probe) Release(endpoint);
    return;
  }
  endpoint->stalled = true;
  if (!endpoint->silent_since) endpoint->silent_since = delivery.begun;
  if (!endpoint->held || was_probe) {
    Hold(endpoint, now + endpoint->backoff.Next(limits_.first_pause, limits_.longest_pause));
  }
}

void DeliverySchedule::Hold(const EndpointPtr& endpoint, SteadyTime until) {
  endpoint->held = true;
  endpoint->held_until = until;
  endpoint->probe = nullptr;
  endpoint->probe_due = false;
  holds_.emplace(until, endpoint);
}

void DeliverySchedule::Release(const EndpointPtr& endpoint) {
  endpoint->held = endpoint->stalled = endpoint->probe_due = false;
  endpoint->silent_since.reset();
  endpoint->probe = nullptr;
  endpoint->backoff.Reset();
  for (const SubscriptionPtr& subscription : endpoint->parked) {
    if (subscription->place == Place::Parked) MakeReady(subscription);
  }
  endpoint->parked.clear();
}

/// Lets the first parked subscription try whether a held process answers.
void DeliverySchedule::Probe(const EndpointPtr& endpoint) {
  endpoint->probe = nullptr;
  while (!endpoint->parked.empty()) {
    const SubscriptionPtr subscription = std::move(endpoint->parked.front());
    endpoint->parked.pop_front();
    if (subscription->place != Place::Parked) continue;
    endpoint->probe = subscription.get();
    MakeReady(subscription);
    return;
  }
  endpoint->probe_due = true;
}

void DeliverySchedule::Advance(SteadyTime now) {
  while (!holds_.empty() && holds_.begin()->first <= now) {
    const EndpointPtr endpoint = holds_.begin()->second;
    holds_.erase(holds_.begin());
    const bool stale = endpoint->held_until > now;  // released and held again meanwhile
    if (endpoint->held && !stale && endpoint->probe == nullptr) Probe(endpoint);
  }
  while (!pauses_.empty() && pauses_.begin()->first <= now) {
    const SubscriptionPtr subscription = pauses_.begin()->second;
    pauses_.erase(pauses_.begin());
    if (subscription->place != Place::Pausing) continue;
    subscription->place = Place::Idle;
    if (!subscription->queue.Empty()) Schedule(subscription);
  }
}

std::optional<SteadyTime> DeliverySchedule::NextMoment() const {
  std::optional<SteadyTime> moment;
  if (!holds_.empty()) moment = holds_.begin()->first;
  if (!pauses_.empty()) moment = moment ? std::min(*moment, pauses_.begin()->first) : pauses_.begin()->first;
  return moment;
}

std::size_t DeliverySchedule::Stuck(SteadyTime now) const {
  return static_cast<std::size_t>(std::distance(in_flight_.begin(), in_flight_.lower_bound(now - limits_.patience)));
}

std::size_t DeliverySchedule::SubscriberCount(const std::string& topic) const {
  const auto found = by_topic_.find(topic);
  return found == by_topic_.end() ? 0 : found->second.size();
}

}  // namespace Lumenar
