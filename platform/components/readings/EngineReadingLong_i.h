// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "EngineReading.hh"
#include "platform/components/readings/EngineReadingTemplate.h"

namespace Corvanta {

/// A reading whose value is a whole number.
class EngineReadingLong_i : public EngineReadingTemplate<int, EngineReadingLong> {
 public:
  /// Errors   CORBA system exceptions.
  EngineReadingLong_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration, const char* name, int initial);

  /// Stores and publishes.
  EngineReadingLong_i& operator=(int value) {
    value_->Assign(value);
    return *this;
  }

  int Get() const { return value_->Get(); }
};

}  // namespace Corvanta
