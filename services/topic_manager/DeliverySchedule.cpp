// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/DeliverySchedule.h"

#include <algorithm>
#include <functional>

namespace Lumenar {

using Place = Subscription::Place;

void DeliverySchedule::Add(long handle, const std::string& topic, const std::string& address,
                           boost::shared_ptr<Subscriber> subscriber, SteadyTime now) {
  EndpointPtr& endpoint = endpoints_[address];
  if (endpoint == nullptr) {
    endpoint = EndpointPtr(new Endpoint(address, limits_));
    // Anywhere in the first period, so that many that come together are not looked at together ever after.
    const auto period = static_cast<std::size_t>(limits_.look_period.count());
    if (period > 0) looks_.At(endpoint, now + std::chrono::milliseconds(std::hash<std::string>()(address) % period));
  }
  endpoint->Enter(handle);
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
  endpoint.Leave(handle);
  if (endpoint.Handles().empty()) endpoints_.erase(endpoint.Address());
  // A try under way still speaks for its process when it ends; one that has not begun makes room for another.
  if (was_ready && endpoint.IsTriedBy(handle)) Try(endpoint);
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

/// Finds the place of a subscription that has a sample and no reason of its own to wait.
void DeliverySchedule::Schedule(const SubscriptionPtr& subscription) {
  Endpoint& endpoint = *subscription->endpoint;
  if (endpoint.IsUnknown()) {
    ParkUntilLook(subscription);
  } else if (!endpoint.IsHeld() || endpoint.Passes(subscription->handle)) {
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
  subscription->endpoint->Park(subscription);
}

/// Until its process, which has to be looked at first, has answered.
void DeliverySchedule::ParkUntilLook(const SubscriptionPtr& subscription) {
  Park(subscription);
  looks_.Now(subscription->endpoint);
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
    if (MustPark(subscription, now)) {
      Park(subscription);
      continue;
    }
    if (MustWait(subscription)) continue;
    if (IsDoubtful(*subscription->endpoint, now)) {
      ParkUntilLook(subscription);
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
  if (!group.front().subscription->MayGroup(now)) return group;
  std::size_t room = limits_.group_bytes - std::min(limits_.group_bytes, SampleBytes(*group.front().sample));
  for (std::size_t i = 0; i < std::min(ready_.size(), kLookedAt) && group.size() < limits_.group;) {
    const SubscriptionPtr subscription = ready_[i];
    const bool goes_along =
        subscription->place == Place::Ready && subscription->endpoint == endpoint && subscription->MayGroup(now);
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

/// Whether the process of a ready subscription stopped answering since it became ready.
bool DeliverySchedule::MustPark(const SubscriptionPtr& subscription, SteadyTime now) {
  const EndpointPtr& endpoint = subscription->endpoint;
  if (endpoint->IsHeld()) return !endpoint->Passes(subscription->handle);
  if (!endpoint->IsStuck(now)) return false;
  Hold(endpoint, now + limits_.stuck_pause);
  return true;
}

/// Whether a subscription that tries a held process has to wait, because enough of these tries are under way.
bool DeliverySchedule::MustWait(const SubscriptionPtr& subscription) {
  if (!subscription->endpoint->IsHeld() || tries_in_flight_ < limits_.tries) return false;
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
  const bool tries = subscription->endpoint->IsHeld();
  if (tries) ++tries_in_flight_;
  subscription->place = Place::Delivering;
  subscription->endpoint->Began(now);
  in_flight_.insert(now);
  return {subscription, subscription->queue.Pop(), now, true, false, tries};
}

/// Whether a process may be one of many that hang: it has not answered since half of the calls began that are stuck
/// now.
bool DeliverySchedule::IsDoubtful(const Endpoint& endpoint, SteadyTime now) const {
  if (endpoint.IsHeld() || limits_.look_period.count() == 0 || in_flight_.size() < limits_.stuck_calls) return false;
  const std::size_t stuck = Stuck(now);
  if (stuck < limits_.stuck_calls) return false;
  const SteadyTime half_of_them = *std::next(in_flight_.begin(), static_cast<std::ptrdiff_t>(stuck / 2));
  return endpoint.LastAnswer() < half_of_them;
}

std::optional<DeliverySchedule::Delivery> DeliverySchedule::NextLook(SteadyTime now) {
  while (HasLook()) {
    const EndpointPtr endpoint = looks_.Take();
    if (endpoint->Handles().empty()) continue;
    ++looks_in_flight_;
    in_flight_.insert(now);
    Delivery look{subscriptions_.at(endpoint->NextToLookAt()), nullptr, now};
    look.look_limit = endpoint->NextLookLimit();
    return look;
  }
  return std::nullopt;
}

std::vector<SubscriptionPtr> DeliverySchedule::FinishLook(const Delivery& look, Outcome outcome, SteadyTime now) {
  const EndpointPtr& endpoint = look.subscription->endpoint;
  --looks_in_flight_;
  in_flight_.erase(in_flight_.find(look.begun));
  if (endpoint->Handles().empty()) return {};  // all were removed meanwhile
  if (outcome != Outcome::Delivered && outcome != Outcome::Gone) return LookedInVain(look, outcome, now);
  EndCallAnswered(look, outcome, now);
  if (outcome == Outcome::Delivered) {
    looks_.At(endpoint, now + limits_.look_period);
    return {};
  }
  looks_.Again(endpoint);  // another process may have taken the address of all of them
  if (look.subscription->place == Place::Removed) return {};
  return {look.subscription};
}

/// The subscriptions that have to be dropped since nobody answered a look: all of the process, when its time is over.
std::vector<SubscriptionPtr> DeliverySchedule::LookedInVain(const Delivery& look, Outcome outcome, SteadyTime now) {
  const EndpointPtr& endpoint = look.subscription->endpoint;
  const Endpoint::LookVerdict verdict =
      endpoint->LookedInVain(look.begun, look.look_limit, outcome == Outcome::TimedOut, now);
  if (verdict.is_given_up) return AllOf(*endpoint);
  if (verdict.is_to_be_held) Hold(endpoint, now);
  looks_.At(endpoint, verdict.next_look);
  return {};
}

std::vector<SubscriptionPtr> DeliverySchedule::AllOf(const Endpoint& endpoint) const {
  std::vector<SubscriptionPtr> all;
  for (const long handle : endpoint.Handles()) all.push_back(subscriptions_.at(handle));
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
  Endpoint& endpoint = *delivery.subscription->endpoint;
  endpoint.Ended(delivery.begun);
  in_flight_.erase(in_flight_.find(delivery.begun));
  if (delivery.tries) EndTry();
  if (delivery.grouped && now - delivery.begun > limits_.patience) endpoint.GroupTookLong(now);
  if (outcome == Outcome::TimedOut) {
    EndCallUnanswered(delivery, now);
  } else {
    EndCallAnswered(delivery, outcome, now);
  }
}

/// The subscriptions whose subscriber has to be given up: that of the delivery, or all of a process that was silent for
/// too long.
std::vector<SubscriptionPtr> DeliverySchedule::Lost(const Delivery& delivery, Outcome outcome, SteadyTime now,
                                                    std::vector<SamplePtr>& freed) {
  const Endpoint& endpoint = *delivery.subscription->endpoint;
  std::vector<SubscriptionPtr> lost;
  if (delivery.subscription->place != Place::Removed && Settle(delivery, outcome, now, freed)) {
    lost.push_back(delivery.subscription);
  }
  return endpoint.IsSilentForTooLong(now) ? AllOf(endpoint) : lost;
}

/// What the outcome means for the subscription itself; true when it has to be dropped.
bool DeliverySchedule::Settle(const Delivery& delivery, Outcome outcome, SteadyTime now,
                              std::vector<SamplePtr>& freed) {
  Subscription& subscription = *delivery.subscription;
  switch (outcome) {
    case Outcome::Gone: return true;
    case Outcome::Unreachable:
    case Outcome::Interrupted: return SettleUnreachable(delivery, outcome, now, freed);
    case Outcome::TimedOut: return SettleTimedOut(delivery, now);
    case Outcome::Delivered:
      ++subscription.delivered;
      subscription.stalled = subscription.single = false;
      subscription.silent_since.reset();
      subscription.unreachable_since.reset();
      subscription.backoff.Reset();
      WaitOrGoOn(delivery.subscription);
      return false;
    case Outcome::NotTaken:
      PutBack(delivery, freed);
      subscription.single = true;
      WaitOrGoOn(delivery.subscription);
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

bool DeliverySchedule::SettleTimedOut(const Delivery& delivery, SteadyTime now) {
  Subscription& subscription = *delivery.subscription;
  ++subscription.dropped;
  subscription.stalled = true;
  subscription.unreachable_since.reset();
  if (!subscription.silent_since) subscription.silent_since = delivery.begun;
  if (now - *subscription.silent_since >= limits_.silence_limit) return true;
  Pause(delivery.subscription, now + subscription.backoff.Next(limits_.first_pause, limits_.longest_pause));
  return false;
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

void DeliverySchedule::EndCallAnswered(const Delivery& delivery, Outcome outcome, SteadyTime now) {
  const EndpointPtr& endpoint = delivery.subscription->endpoint;
  if (outcome != Outcome::Unreachable && outcome != Outcome::Interrupted) endpoint->Answered(now);
  // One that cannot be reached is released as well: it fails fast, and each subscription has its own limit for that.
  Release(endpoint);
}

void DeliverySchedule::EndCallUnanswered(const Delivery& delivery, SteadyTime now) {
  const EndpointPtr& endpoint = delivery.subscription->endpoint;
  const bool tried = endpoint->IsTriedBy(delivery.subscription->handle);
  if (endpoint->LastAnswer() > delivery.begun) {  // the process lives: only this subscriber hangs
    if (tried) Release(endpoint);
    return;
  }
  endpoint->FellSilent(delivery.begun);
  if (!endpoint->IsHeld() || tried) Hold(endpoint, endpoint->EndOfPause(now));
}

void DeliverySchedule::Hold(const EndpointPtr& endpoint, SteadyTime until) {
  endpoint->Hold(until);
  holds_.emplace(until, endpoint);
}

void DeliverySchedule::Release(const EndpointPtr& endpoint) {
  const bool was_held = endpoint->IsHeld();
  endpoint->Release();
  for (std::size_t i = 0; was_held && i < waiting_.size(); ++i) {
    if (waiting_[i]->endpoint == endpoint && waiting_[i]->place == Place::Waiting) MakeReady(waiting_[i]);
  }
  while (const SubscriptionPtr subscription = endpoint->NextParked()) MakeReady(subscription);
}

/// Lets the first parked subscription try whether a held process answers.
void DeliverySchedule::Try(Endpoint& endpoint) {
  const SubscriptionPtr subscription = endpoint.NextParked();
  if (subscription == nullptr) return endpoint.AwaitTry();
  endpoint.LetTry(subscription->handle);
  MakeReady(subscription);
}

void DeliverySchedule::Advance(SteadyTime now) {
  while (!holds_.empty() && holds_.begin()->first <= now) {
    const EndpointPtr endpoint = holds_.begin()->second;
    holds_.erase(holds_.begin());
    if (endpoint->IsTryDue(now)) Try(*endpoint);
  }
  looks_.Advance(now);
  while (!pauses_.empty() && pauses_.begin()->first <= now) {
    const SubscriptionPtr subscription = pauses_.begin()->second;
    pauses_.erase(pauses_.begin());
    if (subscription->place == Place::Pausing) WaitOrGoOn(subscription);
  }
}

std::optional<SteadyTime> DeliverySchedule::NextMoment() const {
  std::optional<SteadyTime> moment = looks_.NextMoment();
  if (!holds_.empty()) moment = moment ? std::min(*moment, holds_.begin()->first) : holds_.begin()->first;
  if (!pauses_.empty()) moment = moment ? std::min(*moment, pauses_.begin()->first) : pauses_.begin()->first;
  return moment;
}

std::size_t DeliverySchedule::Stuck(SteadyTime now) const {
  return static_cast<std::size_t>(std::distance(in_flight_.begin(), in_flight_.lower_bound(now - limits_.patience)));
}

}  // namespace Lumenar
