// SPDX-License-Identifier: Apache-2.0
#include "platform/servants/CountedServant.h"

#include "platform/orb/ORB_base.h"

namespace Corvanta {

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

}  // namespace Corvanta
