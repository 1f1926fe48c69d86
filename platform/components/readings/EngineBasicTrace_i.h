// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include "EngineReading.hh"
#include "platform/components/readings/EngineReadingTemplate.h"

namespace Corvanta {

/// A reading whose value is a trace of samples.
class EngineBasicTrace_i : public EngineReadingTemplate<BASIC_TRACE::BT_DATA, EngineBasicTrace> {
 public:
  /// Errors   CORBA system exceptions.
  EngineBasicTrace_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration, const char* name,
                     const BASIC_TRACE::BT_DATA& initial);

  /// Stores and publishes.
  EngineBasicTrace_i& operator=(const BASIC_TRACE::BT_DATA& value) {
    value_->Assign(value);
    return *this;
  }

  /// The same without a copy of the samples: `value` is given up, and comes back with the buffer of the last value.
  EngineBasicTrace_i& operator=(BASIC_TRACE::BT_DATA&& value) {
    value_->Assign(std::move(value));
    return *this;
  }

  /// A deep copy of the present value, newly allocated; the caller deletes it.
  BASIC_TRACE::BT_DATA* Get() const { return value_->NewCopy(); }
};

}  // namespace Corvanta
