// SPDX-License-Identifier: Apache-2.0
#include "platform/servants/servants.h"

#include <utility>

#include "platform/orb/ORB_base.h"

namespace Corvanta {
namespace {

thread_local bool may_wait = true;

}  // namespace

void CountedServant::_add_ref() { references_.fetch_add(1, std::memory_order_relaxed); }

void CountedServant::_remove_ref() {
  if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

CORBA::ULong CountedServant::_refcount_value() { return references_.load(std::memory_order_relaxed); }

void CountedServant::Close() noexcept {
  State open = State::Open;
  state_.compare_exchange_strong(open, State::Closed, std::memory_order_acq_rel);
}

void CountedServant::Withdraw() noexcept {
  if (state_.exchange(State::Withdrawn, std::memory_order_acq_rel) != State::Withdrawn)
    ORB_base::DeactivateObject(this);
}

UpcallGate::WithoutWaiting::WithoutWaiting() noexcept : before_(std::exchange(may_wait, false)) {}

UpcallGate::WithoutWaiting::~WithoutWaiting() { may_wait = before_; }

void UpcallGate::Open() {
  Lumenar::Lock lock(mutex_);
  if (state_ != kBuilding) return;
  object_->_add_ref();
  state_.store(kOpen, std::memory_order_release);
  changed_.NotifyAll();
}

void UpcallGate::Close() noexcept {
  bool was_open_and_empty = false;
  {
    Lumenar::Lock lock(mutex_);
    if (state_ == kBuilding) state_ = kClosed;
    else if (IsOpen(state_)) was_open_and_empty = state_.fetch_add(kClosed - kOpen) == kOpen;
    changed_.NotifyAll();
  }
  if (was_open_and_empty) object_->_remove_ref();
}

/// False when the gate is closed.
bool UpcallGate::Enter() {
  if (state_.load(std::memory_order_acquire) == kBuilding) WaitUntilBuilt();
  std::uint64_t state = state_.load(std::memory_order_acquire);
  while (IsOpen(state)) {
    if (!state_.compare_exchange_weak(state, state + kCaller, std::memory_order_acquire)) continue;
    may_wait = true;
    return true;
  }
  return false;
}

/// The last to leave a closed gate gives back its reference, with which the gate may go as well.
void UpcallGate::Leave() noexcept {
  if (state_.fetch_sub(kCaller, std::memory_order_acq_rel) == kClosed + kCaller) object_->_remove_ref();
}

void UpcallGate::WaitUntilBuilt() {
  Lumenar::Lock lock(mutex_);
  if (state_ == kBuilding && !may_wait) throw WouldWait();
  while (state_ == kBuilding) changed_.Wait(mutex_);
}

}  // namespace Corvanta
