// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/Endpoint.h"

#include <algorithm>
#include <iterator>

#include "services/topic_manager/Subscription.h"

namespace Lumenar {

bool Endpoint::IsUnknown() const { return last_answer_ == SteadyTime{} && limits_.look_period.count() > 0; }

bool Endpoint::IsStuck(SteadyTime now) const {
  const auto silent = in_flight_.upper_bound(last_answer_);
  const auto count = static_cast<std::size_t>(std::distance(silent, in_flight_.end()));
  return count >= limits_.stuck_deliveries && now - *silent > limits_.patience;
}

bool Endpoint::IsSilentForTooLong(SteadyTime now) const {
  return silent_since_ && now - *silent_since_ >= limits_.silence_limit;
}

bool Endpoint::Passes(long handle) {
  if (state_ == State::TryDue) LetTry(handle);
  return IsTriedBy(handle);
}

void Endpoint::Answered(SteadyTime now) {
  last_answer_ = now;
  unreachable_since_.reset();
  look_backoff_.Reset();
  look_limit_.Reset();
}

void Endpoint::FellSilent(SteadyTime begun) {
  stalled_ = true;
  if (!silent_since_) silent_since_ = begun;
}

SteadyTime Endpoint::EndOfPause(SteadyTime now) {
  return now + backoff_.Next(limits_.first_pause, limits_.longest_pause);
}

void Endpoint::Hold(SteadyTime until) {
  state_ = State::Held;
  held_until_ = until;
}

/// One that was released and held again meanwhile has another moment.
bool Endpoint::IsTryDue(SteadyTime now) const {
  return (state_ == State::Held || state_ == State::TryDue) && held_until_ <= now;
}

void Endpoint::LetTry(long handle) {
  state_ = State::Tried;
  tried_by_ = handle;
}

void Endpoint::Release() {
  state_ = State::Open;
  stalled_ = false;
  silent_since_.reset();
  backoff_.Reset();
}

boost::shared_ptr<Subscription> Endpoint::NextParked() {
  while (!parked_.empty()) {
    const boost::shared_ptr<Subscription> subscription = parked_.front().lock();
    parked_.pop_front();
    if (subscription != nullptr && subscription->place == Subscription::Place::Parked) return subscription;
  }
  return nullptr;
}

void Endpoint::LookAgainAt(SteadyTime moment) {
  looking_ = false;
  next_look_ = moment;
}

bool Endpoint::BeginLookNow() {
  if (looking_ || silent_since_ || unreachable_since_) return false;
  looking_ = true;
  return true;
}

bool Endpoint::BeginDueLook(SteadyTime now) {
  if (looking_ || next_look_ > now || handles_.empty()) return false;
  looking_ = true;
  return true;
}

long Endpoint::NextToLookAt() {
  auto handle = handles_.upper_bound(looked_at_);
  if (handle == handles_.end()) handle = handles_.begin();
  looked_at_ = *handle;
  return looked_at_;
}

Endpoint::LookVerdict Endpoint::LookedInVain(SteadyTime begun, std::chrono::milliseconds limit, bool hangs,
                                             SteadyTime now) {
  const bool for_long = hangs && limit >= limits_.longest_look;
  std::optional<SteadyTime>& since = hangs ? silent_since_ : unreachable_since_;
  if (for_long) stalled_ = true;
  if (hangs) unreachable_since_.reset();
  if (!since) since = begun;
  LookVerdict verdict;
  const SteadyTime end = *since + (hangs ? limits_.silence_limit : limits_.unreachable_limit);
  verdict.is_given_up = now >= end;
  if (verdict.is_given_up) return verdict;
  const bool known = for_long && !IsUnknown();  // its next samples try it
  verdict.is_to_be_held = known && !IsHeld();
  const auto pause = known ? limits_.look_period : look_backoff_.Next(limits_.first_pause, limits_.longest_pause);
  verdict.next_look = std::min(end, now + pause);
  return verdict;
}

}  // namespace Lumenar
