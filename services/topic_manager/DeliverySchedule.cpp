// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/DeliverySchedule.h"

#include <algorithm>
#include <functional>

namespace Lumenar {

using Place = Subscription::Place;

DeliverySchedule::~DeliverySchedule() {
  for (const auto& [address, endpoint] : endpoints_) endpoint->parked.clear();
}

void DeliverySchedule::Add(long handle, const std::string& topic, const std::string& address,
                           boost::shared_ptr<Subscriber> subscriber, SteadyTime now) {
  EndpointPtr& endpoint = endpoints_[address];
  if (endpoint == nullptr) {
    endpoint = boost::shared_ptr<Endpoint>(new Endpoint(address));
    // Anywhere in the first period, so that many that come together are not looked at together ever after.
    const auto period = static_cast<std::size_t>(limits_.look_period.count());
    if (period > 0) LookAfter(endpoint, now + std::chrono::milliseconds(std::hash<std::string>()(address) % period));
  }
  endpoint->handles.insert(handle);
  const SubscriptionPtr subscription(new Subscription(handle, topic, std::move(subscriber), endpoint, limits_.queue));
  subscriptions_.emplace(handle, subscription);
  by_topic_[topic].emplace(handle, subscription);
}

bool DeliverySchedule::Remove(long handle, std::vector<SamplePtr>& freed) {
  const auto found = subscriptions_.find(handle);
  if (found == subscriptions_.end()) return false;
  const SubscriptionPtr subscription = found->second;
  subscriptions_.erase(found);

  const bool was_ready = subscription->place == Place::Ready || subscription->place == Place::Waiting;
  subscription->place = Place::Removed;
  while (SamplePtr sample = subscription->queue.Pop()) freed.push_back(std::move(sample));

  const auto topic = by_topic_.find(subscription->topic);
  topic->second.erase(handle);
  if (topic->second.empty()) by_topic_.erase(topic);

  Endpoint& endpoint = *subscription->endpoint;
  endpoint.handles.erase(handle);
  if (endpoint.handles.empty()) {
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
  for (const auto& [handle, subscription] : found->second) {
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
  if (IsUnknown(*subscription->endpoint)) {
    Park(subscription);
    LookNow(subscription->endpoint);
  } else if (!subscription->endpoint->held || PassesHold(*subscription)) {
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
    if (subscription->place != Place::Ready) continue;
    if (MustPark(*subscription, now)) {
      Park(subscription);
      continue;
    }
    if (MustWait(subscription)) continue;
    if (IsDoubtful(*subscription->endpoint, now)) {
      Park(subscription);
      LookNow(subscription->endpoint);
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
    const bool goes_along =
        subscription->place == Place::Ready && subscription->endpoint == endpoint && MayGroup(*subscription, now);
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
  return !endpoint.held && endpoint.single_until <= now && !subscription.single &&
         subscription.subscriber->TakesGroups();
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

/// Whether a subscription that tries a held process has to wait, because enough of these tries are under way.
bool DeliverySchedule::MustWait(const SubscriptionPtr& subscription) {
  if (!subscription->endpoint->held || tries_in_flight_ < limits_.tries) return false;
  subscription->place = Place::Waiting;
  waiting_.push_back(subscription);
  return true;
}

void DeliverySchedule::EndTry() {
  --tries_in_flight_;
  while (!waiting_.empty()) {
    const SubscriptionPtr subscription = std::move(waiting_.front());
    waiting_.pop_front();
    if (subscription->place != Place::Waiting) continue;
    MakeReady(subscription);
    return;
  }
}

DeliverySchedule::Delivery DeliverySchedule::Begin(const SubscriptionPtr& subscription, SteadyTime now) {
  const bool tries = subscription->endpoint->held;
  if (tries) ++tries_in_flight_;
  subscription->place = Place::Delivering;
  subscription->endpoint->in_flight.insert(now);
  in_flight_.insert(now);
  return {subscription, subscription->queue.Pop(), now, true, false, tries};
}

/// Whether a process has to be looked at before anything is sent to it.
bool DeliverySchedule::IsUnknown(const Endpoint& endpoint) const {
  return endpoint.last_answer == SteadyTime{} && limits_.look_period.count() > 0;
}

/// Whether a process may be one of many that hang: it has not answered since half of the calls began that are stuck
/// now.
bool DeliverySchedule::IsDoubtful(const Endpoint& endpoint, SteadyTime now) const {
  if (endpoint.held || limits_.look_period.count() == 0 || in_flight_.size() < limits_.stuck_calls) return false;
  const std::size_t stuck = Stuck(now);
  return stuck >= limits_.stuck_calls &&
         endpoint.last_answer < *std::next(in_flight_.begin(), static_cast<std::ptrdiff_t>(stuck / 2));
}

void DeliverySchedule::LookAfter(const EndpointPtr& endpoint, SteadyTime moment) {
  endpoint->looking = false;
  endpoint->next_look = moment;
  looks_.emplace(moment, endpoint);
}

/// A process that was looked at in vain waits for its moment, however many samples there are for it.
void DeliverySchedule::LookNow(const EndpointPtr& endpoint) {
  if (endpoint->looking || endpoint->silent_since || endpoint->unreachable_since) return;
  endpoint->looking = true;
  first_looks_.push_back(endpoint);
}

/// The newest and the oldest in turn: neither does one that comes behind many mute ones wait for all of them, nor the
/// other way round.
DeliverySchedule::EndpointPtr DeliverySchedule::TakeFirstLook() {
  newest_first_ = !newest_first_;
  EndpointPtr& end = newest_first_ ? first_looks_.back() : first_looks_.front();
  const EndpointPtr endpoint = std::move(end);
  newest_first_ ? first_looks_.pop_back() : first_looks_.pop_front();
  return endpoint;
}

DeliverySchedule::EndpointPtr DeliverySchedule::TakeLook() {
  if (!first_looks_.empty()) return TakeFirstLook();
  const EndpointPtr endpoint = std::move(due_looks_.front());
  due_looks_.pop_front();
  return endpoint;
}

std::optional<DeliverySchedule::Delivery> DeliverySchedule::NextLook(SteadyTime now) {
  while (HasLook()) {
    const EndpointPtr endpoint = TakeLook();
    if (endpoint->handles.empty()) continue;
    auto handle = endpoint->handles.upper_bound(endpoint->looked_at);
    if (handle == endpoint->handles.end()) handle = endpoint->handles.begin();
    endpoint->looked_at = *handle;
    ++looks_in_flight_;
    in_flight_.insert(now);
    Delivery look{subscriptions_.at(*handle), nullptr, now};
    look.look_limit = endpoint->look_limit.Next(limits_.first_look, limits_.longest_look);
    return look;
  }
  return std::nullopt;
}

std::vector<SubscriptionPtr> DeliverySchedule::FinishLook(const Delivery& look, Outcome outcome, SteadyTime now) {
  const EndpointPtr& endpoint = look.subscription->endpoint;
  --looks_in_flight_;
  in_flight_.erase(in_flight_.find(look.begun));
  if (endpoint->handles.empty()) return {};  // all were removed meanwhile
  if (outcome != Outcome::Delivered && outcome != Outcome::Gone) return LookedInVain(look, outcome, now);
  EndpointAnswered(endpoint, outcome, now);
  if (outcome == Outcome::Delivered) {
    LookAfter(endpoint, now + limits_.look_period);
    return {};
  }
  endpoint->looking = true;  // another process may have taken the address of all of them
  due_looks_.push_back(endpoint);
  if (look.subscription->place == Place::Removed) return {};
  return {look.subscription};
}

/// The subscriptions that have to be dropped since nobody answered a look: all of the process, when its time is over.
std::vector<SubscriptionPtr> DeliverySchedule::LookedInVain(const Delivery& look, Outcome outcome, SteadyTime now) {
  const EndpointPtr& endpoint = look.subscription->endpoint;
  const bool hangs = outcome == Outcome::TimedOut;
  const bool for_long = hangs && look.look_limit >= limits_.longest_look;
  std::optional<SteadyTime>& since = hangs ? endpoint->silent_since : endpoint->unreachable_since;
  if (for_long) endpoint->stalled = true;
  if (hangs) endpoint->unreachable_since.reset();
  if (!since) since = look.begun;
  const SteadyTime end = *since + (hangs ? limits_.silence_limit : limits_.unreachable_limit);
  if (now >= end) return AllOf(*endpoint);
  const bool known = for_long && !IsUnknown(*endpoint);  // its next samples try it
  if (known && !endpoint->held) Hold(endpoint, now);
  const auto pause =
      known ? limits_.look_period : endpoint->look_backoff.Next(limits_.first_pause, limits_.longest_pause);
  LookAfter(endpoint, std::min(end, now + pause));
  return {};
}

std::vector<SubscriptionPtr> DeliverySchedule::AllOf(const Endpoint& endpoint) const {
  std::vector<SubscriptionPtr> all;
  for (const long handle : endpoint.handles) all.push_back(subscriptions_.at(handle));
  return all;
}

std::vector<SubscriptionPtr> DeliverySchedule::Finish(const Delivery& delivery, Outcome outcome, SteadyTime now,
                                                      std::vector<SamplePtr>& freed) {
  if (delivery.sample != nullptr && delivery.leads) EndCall(delivery, outcome, now);
  const std::vector<SubscriptionPtr> lost =
      delivery.sample == nullptr ? FinishLook(delivery, outcome, now) : Lost(delivery, outcome, now, freed);
  for (const SubscriptionPtr& subscription : lost) Remove(subscription->handle, freed);
  return lost;
}

/// What the outcome of a call means for the process.
void DeliverySchedule::EndCall(const Delivery& delivery, Outcome outcome, SteadyTime now) {
  const EndpointPtr& endpoint = delivery.subscription->endpoint;
  endpoint->in_flight.erase(endpoint->in_flight.find(delivery.begun));
  in_flight_.erase(in_flight_.find(delivery.begun));
  if (delivery.tries) EndTry();
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
  return AllOf(*endpoint);
}

/// What the outcome means for the subscription itself; true when it has to be dropped.
bool DeliverySchedule::Settle(const Delivery& delivery, Outcome outcome, SteadyTime now,
                              std::vector<SamplePtr>& freed) {
  Subscription& subscription = *delivery.subscription;
  switch (outcome) {
    case Outcome::Gone: return true;
    case Outcome::Unreachable:
    case Outcome::Interrupted: return SettleUnreachable(delivery, outcome, now, freed);
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
  if (outcome != Outcome::Unreachable && outcome != Outcome::Interrupted) {
    endpoint->last_answer = now;
    endpoint->unreachable_since.reset();
    endpoint->look_backoff.Reset();
    endpoint->look_limit.Reset();
  }
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
  const bool was_held = endpoint->held;
  endpoint->held = endpoint->stalled = endpoint->probe_due = false;
  endpoint->silent_since.reset();
  endpoint->probe = nullptr;
  endpoint->backoff.Reset();
  for (std::size_t i = 0; was_held && i < waiting_.size(); ++i) {
    if (waiting_[i]->endpoint == endpoint && waiting_[i]->place == Place::Waiting) MakeReady(waiting_[i]);
  }
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
  while (!looks_.empty() && looks_.begin()->first <= now) {
    const EndpointPtr endpoint = looks_.begin()->second;
    looks_.erase(looks_.begin());
    if (endpoint->looking || endpoint->next_look > now || endpoint->handles.empty()) continue;
    endpoint->looking = true;
    due_looks_.push_back(endpoint);
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
  if (!looks_.empty()) moment = moment ? std::min(*moment, looks_.begin()->first) : looks_.begin()->first;
  return moment;
}

std::size_t DeliverySchedule::Stuck(SteadyTime now) const {
  return static_cast<std::size_t>(std::distance(in_flight_.begin(), in_flight_.lower_bound(now - limits_.patience)));
}

}  // namespace Lumenar
