// SPDX-License-Identifier: Apache-2.0
#include "platform/servants/CountedServant.h"

namespace Corvanta {

void CountedServant::_add_ref() { references_.fetch_add(1, std::memory_order_relaxed); }

void CountedServant::_remove_ref() {
  if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

CORBA::ULong CountedServant::_refcount_value() { return references_.load(std::memory_order_relaxed); }

}  // namespace Corvanta
