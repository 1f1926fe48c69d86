// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "services/topic_manager/Backoff.h"
#include "services/topic_manager/DeliveryLimits.h"

namespace Lumenar {

struct Subscription;

/// A process that has subscribers, as its answers and its silences show it. Starts nothing: it says what is to be done.
///
/// A process that does not answer is held: its subscriptions are parked, and one at a time tries whether it answers
/// again. Those of a process that has never answered are parked as well, until it answers a look. Owns no subscription:
/// they share the endpoint.
/// Threads   the caller's lock.
class Endpoint {
 public:
  enum class State {
    Open,    ///< its subscriptions get their samples
    Held,    ///< nothing is sent to it until the pause is over
    TryDue,  ///< the pause is over, and nobody was parked to try: the next one that has a sample does
    Tried,   ///< one of its subscriptions tries whether it answers
  };

  /// What a look in vain means.
  struct LookVerdict {
    bool is_given_up = false;  ///< its time is over
    bool is_to_be_held = false;
    SteadyTime next_look{};
  };

  /// The limits outlive it.
  Endpoint(std::string address, const DeliveryLimits& limits) : address_(std::move(address)), limits_(limits) {}
  Endpoint(const Endpoint&) = delete;
  Endpoint& operator=(const Endpoint&) = delete;

  const std::string& Address() const noexcept { return address_; }

  /// The handles of its subscriptions; none once the last was removed.
  const std::set<long>& Handles() const noexcept { return handles_; }
  void Enter(long handle) { handles_.insert(handle); }
  void Leave(long handle) { handles_.erase(handle); }

  bool IsHeld() const noexcept { return state_ != State::Open; }
  bool IsTriedBy(long handle) const noexcept { return state_ == State::Tried && tried_by_ == handle; }

  /// A delivery or a long look ran into its time limit, and nothing has answered since.
  bool IsStalled() const noexcept { return stalled_; }

  /// It has to be looked at before anything is sent to it.
  bool IsUnknown() const;
  SteadyTime LastAnswer() const noexcept { return last_answer_; }

  /// More deliveries are stuck than a process that answers leaves.
  bool IsStuck(SteadyTime now) const;

  /// Deliveries have been left without any answer for so long that it is given up.
  bool IsSilentForTooLong(SteadyTime now) const;

  /// Whether samples for several of its subscriptions may go in one call.
  bool MayGroup(SteadyTime now) const { return !IsHeld() && single_until_ <= now; }

  /// Whether a subscription that has a sample passes the hold: it is the one that tries the process, or becomes it.
  bool Passes(long handle);

  // Deliveries under way.
  void Began(SteadyTime now) { in_flight_.insert(now); }
  void Ended(SteadyTime begun) { in_flight_.erase(in_flight_.find(begun)); }
  void GroupTookLong(SteadyTime now) { single_until_ = now + limits_.single_pause; }

  /// Somebody of the process answered, be it that the subscriber is gone.
  void Answered(SteadyTime now);

  /// A delivery begun then ran into its time limit, and nothing of the process answered meanwhile.
  void FellSilent(SteadyTime begun);

  /// The moment until which it is held after a delivery that ran into its time limit; later with each.
  SteadyTime EndOfPause(SteadyTime now);

  // The hold. Who releases it takes those that were parked meanwhile, by NextParked.
  void Hold(SteadyTime until);
  bool IsTryDue(SteadyTime now) const;
  void LetTry(long handle);
  void AwaitTry() noexcept { state_ = State::TryDue; }
  void Release();
  void Park(const boost::shared_ptr<Subscription>& subscription) { parked_.push_back(subscription); }

  /// The subscription that was parked first, which the caller finds another place for; null when there is none.
  boost::shared_ptr<Subscription> NextParked();

  // Looks. A process waits for a moment, for its turn, or is being looked at.
  void LookAgainAt(SteadyTime moment);

  /// Whether it is to be looked at without waiting for its moment, which is then noted; one that was looked at in vain
  /// waits for its moment, however many samples there are for it.
  bool BeginLookNow();

  /// Whether its moment has come, which is then noted.
  bool BeginDueLook(SteadyTime now);

  /// Its next look follows this one at once, with no moment to wait for.
  void LookOn() noexcept { looking_ = true; }

  /// The subscription at which the next look goes: each in turn.
  long NextToLookAt();
  std::chrono::milliseconds NextLookLimit() { return look_limit_.Next(limits_.first_look, limits_.longest_look); }

  /// A look begun then found nobody, within its limit when the process hangs.
  LookVerdict LookedInVain(SteadyTime begun, std::chrono::milliseconds limit, bool hangs, SteadyTime now);

 private:
  const std::string address_;
  const DeliveryLimits& limits_;
  std::set<long> handles_;
  std::multiset<SteadyTime> in_flight_;  ///< when the deliveries under way began
  SteadyTime last_answer_{};

  State state_ = State::Open;
  long tried_by_ = 0;
  SteadyTime held_until_{};
  bool stalled_ = false;
  std::optional<SteadyTime> silent_since_;  ///< the first of the deliveries that nothing has answered since
  SteadyTime single_until_{};  ///< a call for several took long: until then each subscription has calls of its own
  Backoff backoff_;
  std::deque<boost::weak_ptr<Subscription>> parked_;

  SteadyTime next_look_{};
  bool looking_ = false;                         ///< a look is under way, or waits for its turn
  long looked_at_ = 0;                           ///< the handle that was looked at last
  std::optional<SteadyTime> unreachable_since_;  ///< the first of the looks that found nobody
  Backoff look_backoff_;
  Backoff look_limit_;  ///< of its next look
};

}  // namespace Lumenar
