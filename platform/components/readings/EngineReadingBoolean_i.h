// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "EngineReading.hh"
#include "platform/components/readings/EngineReadingTemplate.h"

namespace Corvanta {

/// A reading whose value is true or false.
class EngineReadingBoolean_i : public EngineReadingTemplate<bool, EngineReadingBoolean> {
 public:
  /// Errors   CORBA system exceptions.
  EngineReadingBoolean_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration, const char* name, bool initial);

  /// Stores and publishes.
  EngineReadingBoolean_i& operator=(bool value) {
    value_->Assign(value);
    return *this;
  }

  bool Get() const { return value_->Get(); }
};

}  // namespace Corvanta
